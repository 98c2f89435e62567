#include "manager/decode/count_action.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/request_bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::hex;
using test_support::putAt;

constexpr std::uint32_t kCount = 12;
constexpr std::uint32_t kAccept = 1;

Entry countAction(std::string_view name) {
  Bytes value = hex("0007");
  value.resize(38, std::byte{0});
  putAt(value, 2, bytesOf(name));
  putAt(value, 35, hex("EEEEEE"));
  return {kCount, value};
}

TEST(CountAction, NameStandsAt2InTheOrderOfTheActions) {
  Rule rule;
  rule.actions = {countAction("hits"), {kAccept, {}}, countAction("bytes")};
  EXPECT_EQ(counterNamesOf(rule).value(), (std::vector<std::string>{"hits", "bytes"}));
}

TEST(CountAction, OtherActionsAndConditionsHaveNoCounters) {
  Rule rule;
  rule.conditions = {{12, Bytes(6)}};  // the condition with the code of a count action
  rule.actions = {{kAccept, {}}};
  EXPECT_TRUE(counterNamesOf(rule).value().empty());
}

TEST(CountAction, WithAnEmptyNameHasNoCounter) {
  Rule rule;
  rule.actions = {countAction("")};
  EXPECT_TRUE(counterNamesOf(rule).value().empty());
}

TEST(CountAction, NamesHave32CharactersAtMost) {
  Rule rule;
  rule.actions = {countAction(std::string(32, 'c'))};
  EXPECT_EQ(counterNamesOf(rule).value()[0], std::string(32, 'c'));
  rule.actions = {countAction(std::string(33, 'c'))};
  const auto names = counterNamesOf(rule);
  ASSERT_FALSE(names);
  EXPECT_EQ(names.refusal().status, Status::kInvalidRule);
  EXPECT_EQ(names.refusal().reason, "the name of a counter is not terminated");
}

}  // namespace
}  // namespace aclmgr
