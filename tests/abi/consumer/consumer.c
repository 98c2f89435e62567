/* A program of somebody else's, in C: encodes a policy and looks at the result. */
#include <acl_lib.h>
#include <platform/process.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  static const unsigned char kTcp[2] = {6, 0xFF};
  AclPolicyHandle handle = aclLibNewPolicy("edge-in");
  const AclPolicy *policy = (const AclPolicy *)handle;

  if (aclLibNewRule(handle, "tcp", 1) != 1 || aclLibAddRuleCondProtocol(handle, 1, kTcp) != 0 ||
      aclLibConfigRuleAction(handle, 1, 1) != 0 || aclLibEndRule(handle) != 0) {
    fprintf(stderr, "the policy was refused\n");
    return 1;
  }
  /* A header of 48 bytes, a condition of 4 + 4 and an action of 4. */
  if (policy->usedSize != 60 || strcmp(policy->policyName, "edge-in") != 0) {
    fprintf(stderr, "%u bytes encoded, expected 60\n", (unsigned)policy->usedSize);
    return 1;
  }
  printf("%s\n", Sprintf("%s: %u bytes", policy->policyName, (unsigned)policy->usedSize));
  return 0;
}
