#include <atomic>
#include <thread>

#include "tests/acl_lib/client/rule_table_test.h"

namespace {

using namespace acl_test;

constexpr unsigned kWriters = 2;
constexpr unsigned kRounds = 300;

class RuleTableThreadsTest : public LibraryTest {};

std::string nameOf(unsigned writer, unsigned number) {
  return std::to_string(writer) + "-" + std::to_string(number);
}

// Creates and deletes rules of its own beside "anchor", which always stays.
void createAndDelete(unsigned writer) {
  for (unsigned round = 0; round < kRounds; ++round) {
    const std::string name = nameOf(writer, round % 7);
    if (aclLibCreateRule(name.c_str(), "anchor", round % 2 == 0 ? kBefore : kAfter) != 1) {
      ADD_FAILURE() << "a rule could not be created";
    }
    if (round % 3 != 0) aclLibDeleteRule(name.c_str());
    if (round % 16 == 0) std::this_thread::yield();
  }
  for (unsigned number = 0; number < 7; ++number) {
    const std::string name = nameOf(writer, number);
    while (aclLibFindClientEntry(name.c_str()) != nullptr) aclLibDeleteRule(name.c_str());
  }
}

// What a thread may do while others change the table: of the rules it only follows "anchor".
void useTable() {
  const AclEvalPacket packet{};
  std::uint32_t action = 0;
  const char *name = aclLibEvaluateRule(0, 3, &packet, &action);
  if (name == nullptr || std::string(name) != "anchor") ADD_FAILURE() << "another rule decided";
  if (aclLibFindClientEntry("anchor") == nullptr) ADD_FAILURE() << "the anchor is lost";
  if (aclLibGetRuleCount() < 1) ADD_FAILURE() << "the anchor is not counted";
  std::uint64_t permits;
  std::uint64_t denies;
  if (aclLibGetRuleStats("anchor", &permits, &denies) != 1) ADD_FAILURE() << "no statistics";
  char text[31];
  aclLibCopyRuleToDisplay(text);
  aclLibGetFirstRule();
  aclLibFindNextRule("anchor");
  aclLibClearClientCounters();
}

TEST_F(RuleTableThreadsTest, RulesComeAndGoWhileOthersEvaluateAndFind) {
  appendRule("anchor", {valueTerm(0, 0), actionTerm(1)});
  std::atomic<bool> stop = false;
  std::thread reader([&stop] {
    do {
      useTable();
    } while (!stop);
  });
  std::vector<std::thread> writers;
  for (unsigned writer = 0; writer < kWriters; ++writer) {
    writers.emplace_back(createAndDelete, writer);
  }
  for (std::thread &writer : writers) writer.join();
  stop = true;
  reader.join();
  EXPECT_THAT(ringNames(), ElementsAre("anchor"));
}

TEST_F(RuleTableThreadsTest, TwoThreadsEmptyTheTableTogetherAndSendEveryRuleOnce) {
  connectHandle();
  constexpr int kRules = 200;
  for (int i = 0; i < kRules; ++i) aclLibCreateRule(std::to_string(i).c_str(), nullptr, kAfter);
  const auto empty = [] { EXPECT_EQ(aclLibUnconfigAppRule(0, nullptr, 0), 1); };
  std::thread other(empty);
  empty();
  other.join();
  EXPECT_EQ(gClientEntryList.first, nullptr);
  EXPECT_EQ(sentBodies().size(), static_cast<std::size_t>(kRules));
}

TEST_F(RuleTableThreadsTest, HitsOfSeveralThreadsAreAllCounted) {
  const AclClientEntry *entry = appendRule("r", {valueTerm(0, 0), actionTerm(2)});
  const auto evaluate = [] {
    const AclEvalPacket packet{};
    std::uint32_t action = 0;
    for (unsigned i = 0; i < 1000; ++i) aclLibEvaluateRule(0, 3, &packet, &action);
  };
  std::thread other(evaluate);
  evaluate();
  other.join();
  EXPECT_EQ(entry->denyHits, 2000U);
}

}  // namespace
