/*
 * A dynamic rule and its counter.
 *
 * Adds a rule that drops what comes from a blocked network, binds it to a port and VLAN, reads its
 * counter, clears it, takes the rule off and deletes it. Shows on the way what the manager says to
 * a rule that is deleted while it is bound.
 *
 * Exit status: 0 when every request was answered as expected, else 1.
 */
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "example_client.h"
#include "example_rules.h"

enum {
  APPLICATION = 12, /* a row of aclGlobalApps */
  COUNTER_REPLY = 0x3011,
  COUNTER_NAME = 634,
  COUNTER_HIGH = 680,
  COUNTER_LOW = 684,
  CONTEXT = 1,
  INGRESS = 0,
  PORT = (1 << 16) | 24, /* slot 1, port 24 */
  VLAN = 100,
  IN_USE = -20
};

static void showCounter(void *body) {
  if (numberAt(body, 0, 2) != COUNTER_REPLY) return;
  const uint64_t value =
      (uint64_t)numberAt(body, COUNTER_HIGH, 4) << 32 | numberAt(body, COUNTER_LOW, 4);
  printf("  counter \"%.33s\": %" PRIu64 " packets\n", (const char *)body + COUNTER_NAME, value);
}

int main(void) {
  const char *const rule = "block-guests", *const counter = "guests-dropped";
  if (connectToManager("dynamic_rule", showCounter) != 0) return 1;

  const AclPolicyHandle encoded = encodeSourceRule("198.51.100.0", 24, counter, DENY);
  if (encoded == 0) return 1;
  int bad = awaitAnswers("add the rule",
                         aclLibAddDynRule(rule, encodedRuleOf(encoded), APPLICATION, CONTEXT), 1);

  AclDynRuleRecord record;
  memset(&record, 0, sizeof(record));
  record.appId = APPLICATION;
  snprintf(record.ruleName, sizeof(record.ruleName), "%s", rule);
  record.port = PORT;
  record.vlan = VLAN;
  record.direction = INGRESS;
  bad |= awaitAnswers("bind it to port 1:24, VLAN 100", aclLibConfigDynRule(&record), 1);
  bad |= awaitAnswers(
      "read its counter",
      aclLibGetDynRuleCounter(rule, counter, VLAN, PORT, INGRESS, APPLICATION, CONTEXT), 1);
  bad |= awaitAnswers(
      "clear its counter",
      aclLibClearCounterWrapper(rule, counter, VLAN, PORT, INGRESS, APPLICATION, CONTEXT), 1);
  bad |= awaitStatus("delete it while it is bound", aclLibDelDynRule(rule, APPLICATION), IN_USE);
  bad |= awaitAnswers("take it off", aclLibUnconfigDynRule(&record), 1);
  bad |= awaitAnswers("delete it", aclLibDelDynRule(rule, APPLICATION), 1);
  return finish("dynamic_rule", bad);
}
