#include <limits>

#include "tests/acl_lib/library_test.h"

namespace {

TEST(RuleActionNames, EachActionHasItsName) {
  constexpr const char *kNames[] = {"prepend", "append",     "configure", "unconfigure",
                                    "delete",  "delete all", "prepend",   "append"};
  std::int32_t action = 0;
  for (const char *name : kNames) EXPECT_STREQ(aclGetRuleActionString(++action), name) << action;
}

TEST(RuleActionNames, Actions7And8AreNamedAs1And2) {
  EXPECT_STREQ(aclGetRuleActionString(7), aclGetRuleActionString(1));
  EXPECT_STREQ(aclGetRuleActionString(8), aclGetRuleActionString(2));
}

TEST(RuleActionNames, OtherActionsAreUnknown) {
  for (const std::int32_t action : {0, 9, -1, 10, 256 + 1, std::numeric_limits<std::int32_t>::min(),
                                    std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_STREQ(aclGetRuleActionString(action), "unknown action") << action;
  }
}

TEST(RuleActionNames, TextsAreConstant) {
  EXPECT_EQ(aclGetRuleActionString(3), aclGetRuleActionString(3));
}

}  // namespace
