// expected: static assertion failed
#include "acl_lib/encoding/message_body.h"

struct Body {
#ifdef WITH_MISTAKE
  static constexpr std::size_t size = 7;
#else
  static constexpr std::size_t size = 8;
#endif

  static constexpr acl::Field<Body, std::uint16_t> code{0, "code"};
  static constexpr acl::Field<Body, std::uint32_t> port{4, "port"};

  static constexpr acl::FieldTable table{code, port};
};
static_assert(acl::isWellFormed<Body>());
