// expected: no matching (function|constructor|conversion)
#include "tests/compile_fail/two_bodies.h"

std::uint32_t port(std::span<const std::byte, 64> bytes) {
#ifdef WITH_MISTAKE
  return acl::BodyReader<FirstBody>(bytes.first<63>()).get(FirstBody::port);
#else
  return acl::BodyReader<FirstBody>(bytes.first<64>()).get(FirstBody::port);
#endif
}
