/*
 * Evaluates an access list without asking the ACL manager.
 *
 * Adds three dynamic rules and asks the manager to install them for this application. The answers
 * describe the rules, and the library files the descriptions in its rule table; from then on
 * addresses are decided locally, and each rule counts what it has decided.
 *
 * Exit status: 0 when every address was decided as expected, else 1.
 */
#include <arpa/inet.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include "example_client.h"
#include "example_rules.h"

enum { APPLICATION = 2, BEHIND = 2, VALUE_UNDER_MASK = 3, NOT_SET = 0 };

/* The access list, in the order of evaluation. */
static const struct {
  const char *name, *prefix;
  int bits;
  int32_t action;
} kAccessList[] = {
    {"permit-printer", "198.51.100.7", 32, ACCEPT},
    {"deny-guests", "198.51.100.0", 24, DENY},
    {"permit-campus", "198.51.0.0", 16, ACCEPT},
};
enum { RULES = sizeof(kAccessList) / sizeof(kAccessList[0]) };

static int installRule(int i) {
  const AclPolicyHandle encoded =
      encodeSourceRule(kAccessList[i].prefix, kAccessList[i].bits, NULL, kAccessList[i].action);
  if (encoded == 0) return 1;
  const char *name = kAccessList[i].name;
  const char *behind = i == 0 ? NULL : kAccessList[i - 1].name;
  printf("%s: %s/%d\n", name, kAccessList[i].prefix, kAccessList[i].bits);
  return awaitAnswers("add the rule",
                      aclLibAddDynRule(name, encodedRuleOf(encoded), APPLICATION, 0), 1) |
         awaitAnswers("install it",
                      aclLibConfigAppRule(0, name, behind, 0, BEHIND, 0) == 1 ? 0 : -1, 1);
}

/* Decides one source address. Returns 0 when the decision is the expected one. */
static int decide(const char *address, uint32_t expected) {
  AclEvalPacket packet;
  uint32_t network, action = NOT_SET;
  memset(&packet, 0, sizeof(packet));
  inet_pton(AF_INET, address, &network);
  const uint32_t value = ntohl(network); /* fields of the table are in host byte order */
  memcpy(packet.field, &value, sizeof(value));
  const char *rule = aclLibEvaluateRule(0, VALUE_UNDER_MASK, &packet, &action);
  printf("%-14s %s (%s)\n", address, action == ACCEPT ? "permit" : "deny",
         rule == NULL ? "no rule matches" : rule);
  return action != expected;
}

int main(void) {
  if (connectToManager("local_evaluation", NULL) != 0) return 1;
  int bad = 0;
  for (int i = 0; i < RULES; i++) bad |= installRule(i);

  char summary[31];
  aclLibCopyRuleToDisplay(summary);
  puts(summary);
  bad |= decide("198.51.100.7", ACCEPT);
  bad |= decide("198.51.100.8", DENY);
  bad |= decide("198.51.7.7", ACCEPT);
  bad |= decide("203.0.113.1", DENY);
  for (const char *name = aclLibGetFirstRule(); name != NULL; name = aclLibFindNextRule(name)) {
    uint64_t permitted, denied;
    aclLibGetRuleStats(name, &permitted, &denied);
    printf("%-14s %" PRIu64 " permitted, %" PRIu64 " denied\n", name, permitted, denied);
  }

  bad |= awaitAnswers("remove them all", aclLibUnconfigAppRule(0, NULL, 0) == 1 ? 0 : -1, RULES);
  for (int i = 0; i < RULES; i++) {
    printf("rule %s:\n", kAccessList[i].name);
    bad |= awaitAnswers("delete it", aclLibDelDynRule(kAccessList[i].name, APPLICATION), 1);
  }
  return finish("local_evaluation", bad);
}
