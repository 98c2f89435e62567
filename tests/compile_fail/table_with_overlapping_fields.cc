// expected: static assertion failed
#include "acl_lib/encoding/message_body.h"

struct Body {
  static constexpr std::size_t size = 12;

  static constexpr acl::Field<Body, std::uint16_t> code{0, "code"};
#ifdef WITH_MISTAKE
  static constexpr acl::Field<Body, std::uint32_t> port{5, "port"};
#else
  static constexpr acl::Field<Body, std::uint32_t> port{4, "port"};
#endif
  static constexpr acl::Field<Body, std::uint32_t> vlan{8, "vlan"};

  static constexpr acl::FieldTable table{code, port, vlan};
};
static_assert(acl::isWellFormed<Body>());
