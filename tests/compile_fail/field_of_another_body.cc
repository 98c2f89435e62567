// expected: no matching (member )?function for call
#include "tests/compile_fail/two_bodies.h"

void fill(acl::BodyWriter<FirstBody> &writer) {
#ifdef WITH_MISTAKE
  writer.put(SecondBody::port, std::uint32_t{1});
#else
  writer.put(FirstBody::port, std::uint32_t{1});
#endif
}
