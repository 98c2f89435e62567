// What the tests of the rule table share.
#ifndef TESTS_ACL_LIB_CLIENT_RULE_TABLE_TEST_H
#define TESTS_ACL_LIB_CLIENT_RULE_TABLE_TEST_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "tests/acl_lib/library_test.h"

namespace acl_test {

inline constexpr std::int32_t kBefore = 1;
inline constexpr std::int32_t kAfter = 2;

inline constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
inline constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

inline const std::string k32Characters = "abcdefghijklmnopqrstuvwxyz012345";
inline const std::string k40Characters = k32Characters + "-and-end";

// The entries in ring order. The links in both directions, and the count, are checked on the way.
inline std::vector<AclClientEntry *> ringEntries() {
  std::vector<AclClientEntry *> entries;
  AclClientEntry *const first = gClientEntryList.first;
  if (AclClientEntry *entry = first) {
    do {
      entries.push_back(entry);
      EXPECT_EQ(entry->next->prev, entry);
      EXPECT_EQ(entry->prev->next, entry);
      entry = entry->next;
    } while (entry != first);
  }
  EXPECT_EQ(gClientEntryList.count, static_cast<std::int32_t>(entries.size()));
  return entries;
}

inline std::vector<std::string> ringNames() {
  std::vector<std::string> names;
  for (const AclClientEntry *entry : ringEntries()) names.emplace_back(entry->name);
  return names;
}

// The number of an entry in ring order, -1 for null.
inline int ringPosition(const AclClientEntry *entry) {
  if (entry == nullptr) return -1;
  int position = 0;
  for (const AclClientEntry *other = gClientEntryList.first; other != entry; other = other->next) {
    ++position;
  }
  return position;
}

// Makes a table of these rules, in this order; a name may stand there several times.
inline void createRules(std::initializer_list<const char *> names) {
  for (auto name = std::rbegin(names); name != std::rend(names); ++name) {
    ASSERT_EQ(aclLibCreateRule(*name, nullptr, kBefore), 1);
  }
}

inline AclRuleTerm actionTerm(std::uint32_t type) {
  AclRuleTerm term{};
  term.type = type;
  return term;
}

inline AclRuleTerm valueTerm(std::uint32_t value, std::uint32_t mask, std::uint32_t wildcard = 0) {
  AclRuleTerm term = actionTerm(3);
  std::memcpy(term.matchData, &value, sizeof(value));
  std::memcpy(term.matchData + 4, &mask, sizeof(mask));
  term.wildcard = wildcard;
  return term;
}

inline AclRuleTerm addressTerm(const Bytes &address, std::uint32_t prefixLen,
                               std::uint32_t wildcard = 0) {
  AclRuleTerm term = actionTerm(4);
  std::memcpy(term.matchData, address.data(), address.size());
  term.prefixLen = prefixLen;
  term.wildcard = wildcard;
  return term;
}

// Adds a rule of these terms behind all others.
inline AclClientEntry *appendRule(const char *name, std::initializer_list<AclRuleTerm> terms) {
  const char *last = gClientEntryList.first != nullptr ? gClientEntryList.first->prev->name : "";
  EXPECT_EQ(aclLibCreateRule(name, last, kAfter), 1);
  AclClientEntry *entry = gClientEntryList.first->prev;
  std::copy(terms.begin(), terms.end(), entry->terms);
  entry->termCount = static_cast<std::int32_t>(terms.size());
  return entry;
}

// Runs a sending call while the message bus returns `result`. Returns the call's result. A packet
// that the bus refuses with any but the two results that the library frees it for is freed here.
template <typename SendingCall>
std::int32_t withBusResult(std::int32_t result, SendingCall call) {
  PktBuf *packet = aclHandle->packet;
  fake().queueResults("msgbusSend", {result});
  const std::int32_t returned = call();
  if (result < 0 && result != -116 && result != -1 && result != -115) pktbufFree(packet);
  return returned;
}

class RuleTableTest : public LibraryTest {
 protected:
  static std::string displayed() {
    char text[31];
    std::memset(text, '#', sizeof(text));
    displayResult() = aclLibCopyRuleToDisplay(text);
    return text;
  }
  static std::int32_t &displayResult() {
    static std::int32_t result;
    return result;
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_CLIENT_RULE_TABLE_TEST_H
