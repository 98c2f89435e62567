#include "example_rules.h"

#include <arpa/inet.h>
#include <string.h>

enum { SOURCE_IPV4 = 0, RULE = 1, COUNTER_NUMBER = 1, COUNTER_NAME_OFFSET = 2 };

static void count(AclPolicyHandle policy, const char *name) {
  uint8_t description[38] = {0}; /* number (2 bytes), name (33 bytes) */
  const uint16_t number = htons(COUNTER_NUMBER);
  memcpy(description, &number, sizeof(number));
  strncpy((char *)description + COUNTER_NAME_OFFSET, name, 32);
  aclLibConfigActionCount(policy, RULE, description);
}

AclPolicyHandle encodeSourceRule(const char *prefix, int bits, const char *counter,
                                 int32_t action) {
  uint32_t source[2]; /* address, mask */
  const AclPolicyHandle policy = aclLibNewPolicy("encoded-rule");
  if (policy == 0 || aclLibNewRule(policy, "rule", RULE) != RULE) return 0;
  inet_pton(AF_INET, prefix, &source[0]);
  source[1] = htonl(bits == 0 ? 0 : 0xFFFFFFFFu << (32 - bits));
  aclLibAddRuleCondIPAddr(policy, RULE, SOURCE_IPV4, source);
  if (counter != NULL) count(policy, counter);
  aclLibConfigRuleAction(policy, RULE, action);
  aclLibEndRule(policy);
  return policy;
}

const void *encodedRuleOf(AclPolicyHandle policy) {
  return ((const AclPolicy *)policy)->ruleBuffer;
}
