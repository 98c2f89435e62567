// Policies as the manager keeps them: plain values that know nothing of messages.
#ifndef MANAGER_MODEL_POLICY_H
#define MANAGER_MODEL_POLICY_H

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace aclmgr {

// A match condition or an action of a rule.
struct Entry {
  std::uint32_t type = 0;        // code of its kind, see condition_codes.h and action_codes.h
  std::vector<std::byte> value;  // exactly as many bytes as the kind has, in network order

  bool operator==(const Entry &) const = default;
};

// One rule: what it matches, in the order given, and what is done then.
struct Rule {
  std::string name;
  std::uint32_t id = 0;  // the client's index of the rule
  std::vector<Entry> conditions;
  std::vector<Entry> actions;

  bool operator==(const Rule &) const = default;
};

struct Policy {
  std::string name;
  std::uint16_t attribute = 0;  // the client's second count; kept, without meaning here
  std::vector<Rule> rules;
  std::size_t encodedBytes = 0;  // of the rules, as they came

  // The same rules may have come in more bytes or in fewer.
  bool operator==(const Policy &other) const {
    return name == other.name && attribute == other.attribute && rules == other.rules;
  }
};

// Where a policy is applied.
struct BindingPoint {
  std::uint32_t port = 0;  // slot in bits 16 to 23, port number in bits 0 to 15
  std::uint32_t vlan = 0;
  std::uint8_t direction = 0;

  auto operator<=>(const BindingPoint &) const = default;
};

// The policy that is applied at a point.
struct Binding {
  std::string policyName;
  std::uint8_t applyFlags = 0;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_POLICY_H
