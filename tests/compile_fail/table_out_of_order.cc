// expected: static assertion failed
#include "acl_lib/encoding/message_body.h"

struct Body {
  static constexpr std::size_t size = 8;

  static constexpr acl::Field<Body, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<Body, std::uint32_t> port{4, "port"};

#ifdef WITH_MISTAKE
  static constexpr acl::FieldTable table{port, code};
#else
  static constexpr acl::FieldTable table{code, port};
#endif
};
static_assert(acl::isWellFormed<Body>());
