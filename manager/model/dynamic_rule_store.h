// All dynamic rules of the switch, and where they are bound.
#ifndef MANAGER_MODEL_DYNAMIC_RULE_STORE_H
#define MANAGER_MODEL_DYNAMIC_RULE_STORE_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "manager/model/dynamic_rule.h"
#include "manager/model/status.h"

namespace aclmgr {

// Dynamic rules that are kept: bounds what clients can make the manager remember.
inline constexpr std::size_t kMaxDynamicRules = 8192;

// Bindings of dynamic rules at all points together: the size of the table that they share.
inline constexpr std::size_t kMaxRuleBindings = 4096;

struct DynamicRuleLimits {
  std::size_t rules = kMaxDynamicRules;
  std::size_t bindings = kMaxRuleBindings;
};

// The priority that places a rule before the rule that it is placed beside, as in the rule tables
// of clients. Every other one places it behind.
inline constexpr std::int32_t kPlacedBefore = 1;

// Names are those of the whole switch; a rule belongs to the application that added it. Every
// operation either succeeds and returns kOk, or returns why not and changes nothing (also when it
// throws std::bad_alloc). Not thread-safe.
class DynamicRuleStore {
 public:
  explicit DynamicRuleStore(DynamicRuleLimits limits = {}) noexcept : limits_(limits) {}
  DynamicRuleStore(DynamicRuleStore &&) = default;
  DynamicRuleStore &operator=(DynamicRuleStore &&) = default;

  // Keeps a new rule. The very same rule of the same owner again is kOk; another one of the name is
  // kRuleExist. kNoMemory when there are as many as may be.
  Status add(DynamicRule rule);

  // Forgets a rule. kRuleNotExist, also for a rule of another owner; kRuleInUse while it is bound
  // anywhere, installed, or held.
  Status remove(std::string_view name, std::uint32_t owner);

  // Binds a rule at a point, with its counters at 0. Without a relative rule it comes before the
  // first rule there of a greater priority. Beside a relative rule it comes directly before it when
  // its priority is kPlacedBefore, directly behind it otherwise, and from then on counts as having
  // the priority of that rule. The very same binding again is kOk. kRuleNotExist, also when the
  // relative rule is not bound there; kRuleInUse when the rule is bound there with other
  // attributes; kNoHardwareResource when the table is full.
  Status bind(std::string_view name, const BindingPoint &point,
              const BindingAttributes &attributes);

  // Takes a rule off a point. kRuleNotExist; kInstanceNotExist when it is not bound there.
  Status unbind(std::string_view name, const BindingPoint &point);

  // Takes a rule off every point. kRuleNotExist; kInstanceNotExist when it is bound nowhere.
  Status unbindAll(std::string_view name);

  // Counts packets that the rule has matched at a point: all its counters there go up, modulo 2^64.
  // kRuleNotExist; kInstanceNotExist.
  Status count(std::string_view name, const BindingPoint &point, std::uint64_t packets);

  // Reads a counter into `value`, or sets it to 0. kRuleNotExist; kInstanceNotExist when the rule
  // is not bound there; kCounterNotExist.
  Status readCounter(std::string_view name, const BindingPoint &point, std::string_view counterName,
                     std::uint64_t &value) const;
  Status clearCounter(std::string_view name, const BindingPoint &point,
                      std::string_view counterName);

  // Marks a rule as installed for the local evaluation of the client at a connection, once however
  // often it is called. kRuleNotExist.
  Status install(std::string_view name, std::uint32_t connection);

  // Takes the mark of the connection away. kRuleNotExist; kInstanceNotExist when there is none.
  Status uninstall(std::string_view name, std::uint32_t connection);

  // Takes all marks of a connection away, since it is gone.
  void uninstallAllOf(std::uint32_t connection) noexcept;

  // Something else needs the rule: it is not removed until each hold() is undone by one release(),
  // which ignores rules that are not held. kRuleNotExist.
  Status hold(std::string_view name);
  void release(std::string_view name) noexcept;

  // Takes every rule of an owner off all points, uninstalls it for every connection and forgets it,
  // except that a rule that is held is kept. Returns how many rules of the owner there were.
  std::size_t removeAllOf(std::uint32_t owner) noexcept;

  // Returns the rule, borrowed until the next change; null when there is none.
  const DynamicRule *find(std::string_view name) const;

  // Returns the rule's place at a point, counted from 1; 0 when it is not bound there.
  std::uint32_t indexAt(std::string_view name, const BindingPoint &point) const;

  // Returns the first point that a rule is bound at, borrowed until the next change; null when it
  // is bound nowhere.
  const BindingPoint *firstPointOf(std::string_view name) const;

  // Whether a rule has the mark of any connection.
  bool isInstalled(std::string_view name) const;

  // Whether one more binding would be refused.
  bool tableIsFull() const noexcept { return bindingCount_ >= limits_.bindings; }

  std::size_t size() const noexcept { return rules_.size(); }
  std::size_t bindingCount() const noexcept { return bindingCount_; }

 private:
  using Bindings = std::list<RuleBinding>;  // of one point, in order
  using Places = std::map<BindingPoint, Bindings::iterator>;
  struct KeptRule {
    DynamicRule rule;
    Places places;                       // where it is bound
    std::set<std::uint32_t> installers;  // the connections that have it installed
    std::size_t holds = 0;
  };

  KeptRule *keptRule(std::string_view name);
  // Returns where a rule is bound at a point, if it is.
  std::optional<Bindings::iterator> placeOf(std::string_view name, const BindingPoint &point) const;
  // Returns why a rule that is not bound at a point is not.
  Status reasonOfNoBinding(std::string_view name) const;
  // Returns before which binding a new one comes, and sets its rank.
  //   beside  where its relative rule is bound, if it has one
  static Bindings::iterator nextOf(RuleBinding &binding, Bindings &bindings,
                                   std::optional<Bindings::iterator> beside);
  // Takes a rule off a point. Returns its next place.
  Places::iterator takeOff(KeptRule &kept, Places::iterator place) noexcept;
  void takeOffEverywhere(KeptRule &kept) noexcept;

  DynamicRuleLimits limits_;
  std::map<std::string, KeptRule, std::less<>> rules_;
  std::map<BindingPoint, Bindings> points_;  // none without a binding
  std::size_t bindingCount_ = 0;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_DYNAMIC_RULE_STORE_H
