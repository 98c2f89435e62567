// expected: no matching function
#include "tests/compile_fail/two_bodies.h"

void fill(acl::BodyWriter<FirstBody> &writer) {
  writer.put(FirstBody::port, std::uint32_t{1});
}
