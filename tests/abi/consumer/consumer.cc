// A program of somebody else's, in C++: a refused handle, and exported data.
#include <acl_lib.h>
#include <platform/process.h>
#include <swplat/server.h>

#include <cstdio>

static_assert(noexcept(aclLibNewPolicy("edge-in")));

int main() {
  const bool handles =
      aclLibEndRule(aclLibNewPolicy("edge-in")) == 0 && aclLibClearRule(AclPolicyHandle{0}) == -2;
  const bool data = gAclMaskBit[8] == 0xFF && aclHandle == nullptr;
  std::printf("%s %s\n", platGetProcessName(), swplatRuntimeDirectory());
  return handles && data ? 0 : 1;
}
