// expected: no matching (member )?function for call
#include "tests/compile_fail/two_bodies.h"

void fill(acl::BodyWriter<FirstBody> &writer, std::span<const std::byte, 16> bytes) {
#ifdef WITH_MISTAKE
  writer.put(FirstBody::address, std::span<const std::byte, 8>(bytes.first<8>()));
#else
  writer.put(FirstBody::address, std::span<const std::byte, 6>(bytes.first<6>()));
#endif
}
