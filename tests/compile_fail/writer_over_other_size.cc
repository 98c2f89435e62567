// expected: no matching (function|constructor|conversion)
#include "tests/compile_fail/two_bodies.h"

void fill(std::span<std::byte, 128> bytes) {
#ifdef WITH_MISTAKE
  acl::BodyWriter<FirstBody>{bytes.first<32>()};
#else
  acl::BodyWriter<FirstBody>{bytes.first<64>()};
#endif
}
