// Two message bodies for the cases of this directory.
#ifndef TESTS_COMPILE_FAIL_TWO_BODIES_H
#define TESTS_COMPILE_FAIL_TWO_BODIES_H

#include "acl_lib/encoding/message_body.h"

struct FirstBody {
  static constexpr std::size_t size = 64;

  static constexpr acl::Field<FirstBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<FirstBody, std::uint32_t> port{4, "port"};
  static constexpr acl::Field<FirstBody, acl::Name> name{8, "name"};
  static constexpr acl::Field<FirstBody, acl::Bytes<6>> address{44, "address"};

  static constexpr acl::FieldTable table{code, port, name, address};
};
static_assert(acl::isWellFormed<FirstBody>());

struct SecondBody {
  static constexpr std::size_t size = 64;

  static constexpr acl::Field<SecondBody, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<SecondBody, std::uint32_t> port{4, "port"};

  static constexpr acl::FieldTable table{code, port};
};
static_assert(acl::isWellFormed<SecondBody>());

#endif  // TESTS_COMPILE_FAIL_TWO_BODIES_H
