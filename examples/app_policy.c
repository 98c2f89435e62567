/*
 * An application policy, with sequence numbers.
 *
 * Adds two dynamic rules, asks the manager to install them as one set for a VLAN, and takes them
 * off again. Each request gets a sequence number; the library finds it again by the manager's
 * answer, which therefore carries the application's own code and cookie.
 *
 * Exit status: 0 when every request was answered as expected, else 1.
 */
#include <stdio.h>
#include <string.h>

#include "example_client.h"
#include "example_rules.h"

enum {
  APPLICATION = 13, /* a row of aclGlobalApps */
  APPLY = 0x300B,
  UNAPPLY = 0x300C,
  COOKIE = 588, /* where an answer has the application's cookie */
  KIND = 1,     /* of the binding, as the application counts them */
  TAG = 100,    /* which binding of that kind: a VLAN here */
  APPLY_COOKIE = 0xCAFE,
  UNAPPLY_COOKIE = 0xBEEF
};

static const char *const kRules[] = {"staff-permit", "guests-deny"};

static void showCookie(void *body) {
  const uint32_t code = numberAt(body, 0, 2);
  if (code != APPLY && code != UNAPPLY) return;
  printf("  it is for cookie 0x%x\n", (unsigned)numberAt(body, COOKIE, 4));
}

static int addRules(void) {
  const AclPolicyHandle permit = encodeSourceRule("192.0.2.0", 24, NULL, ACCEPT);
  const AclPolicyHandle deny = encodeSourceRule("198.51.100.0", 24, NULL, DENY);
  if (permit == 0 || deny == 0) return 1;
  return awaitAnswers("add rule staff-permit",
                      aclLibAddDynRule(kRules[0], encodedRuleOf(permit), APPLICATION, 1), 1) |
         awaitAnswers("add rule guests-deny",
                      aclLibAddDynRule(kRules[1], encodedRuleOf(deny), APPLICATION, 2), 1);
}

static AclAppPolicyRequest bothRules(void) {
  AclAppPolicyRequest request;
  memset(&request, 0, sizeof(request));
  snprintf(request.policyName, sizeof(request.policyName), "port-access");
  request.requestWord2 = TAG;
  request.ruleCount = 2;
  for (int i = 0; i < 2; i++) {
    snprintf(request.entries[i].ruleName, sizeof(request.entries[i].ruleName), "%s", kRules[i]);
  }
  return request;
}

int main(void) {
  if (connectToManager("app_policy", showCookie) != 0) return 1;
  int bad = addRules();
  const AclAppPolicyRequest request = bothRules();
  bad |= awaitAnswers("apply both rules",
                      aclLibApplyAppPolicy(&request, APPLICATION, KIND, APPLY_COOKIE), 1);
  printf("  the request had sequence number %u\n", (unsigned)aclReqSeqCounter);
  bad |= awaitAnswers("take them off",
                      aclLibUnApplyAppPolicy(&request, APPLICATION, KIND, UNAPPLY_COOKIE), 1);
  printf("  the request had sequence number %u\n", (unsigned)aclReqSeqCounter);
  for (int i = 0; i < 2; i++) {
    printf("rule %s:\n", kRules[i]);
    bad |= awaitAnswers("delete it", aclLibDelDynRule(kRules[i], APPLICATION), 1);
  }
  return finish("app_policy", bad);
}
