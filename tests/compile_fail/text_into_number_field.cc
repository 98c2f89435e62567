// expected: no matching (member )?function for call
#include "tests/compile_fail/two_bodies.h"

void fill(acl::BodyWriter<FirstBody> &writer) {
#ifdef WITH_MISTAKE
  writer.put(FirstBody::port, "edge");
#else
  writer.put(FirstBody::name, "edge");
#endif
}
