// The shared routine of all exported calls that add an entry to the open rule.
//
// Each call is a row, an EntryCall constant, and one statement that names its row. Rows are
// template arguments, so that everything about a call is known where it is compiled.
#ifndef ACL_LIB_ENCODING_ENTRY_CALL_H
#define ACL_LIB_ENCODING_ENTRY_CALL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "acl_lib.h"
#include "acl_lib/encoding/policy_handle.h"
#include "acl_lib/encoding/rule_appender.h"

namespace acl {

// Which type codes a call accepts, compared as whole 32-bit words.
class TypeSet {
 public:
  consteval TypeSet(std::initializer_list<std::uint32_t> types) : only_(*types.begin()) {
    for (const std::uint32_t type : types) {
      words_.at(type / kWordBits) |= std::uint64_t{1} << type % kWordBits;
    }
    isFixed_ = types.size() == 1;
  }
  static consteval TypeSet any() {
    TypeSet types{0};
    types.acceptsAll_ = true;
    types.isFixed_ = false;
    return types;
  }

  constexpr bool contains(std::uint32_t type) const noexcept {
    if (acceptsAll_) return true;
    // Both words by constant index: compilers then turn them into constants.
    if (type < kWordBits) return (words_[0] >> type & 1) != 0;
    return type < 2 * kWordBits && (words_[1] >> (type - kWordBits) & 1) != 0;
  }

  // True for a set of one type, which only() returns.
  constexpr bool isFixed() const noexcept { return isFixed_; }
  constexpr std::uint32_t only() const noexcept { return only_; }

 private:
  static constexpr std::uint32_t kWordBits = 64;

  std::array<std::uint64_t, 2> words_{};
  std::uint32_t only_;
  bool isFixed_ = false;
  bool acceptsAll_ = false;
};

inline constexpr TypeSet kAnyType = TypeSet::any();

// Result of the one call that chooses its type by a selector and refuses some of them.
inline constexpr std::int32_t kBadSelectorResult = -1;

// What a call returns for a type that it does not accept.
enum class TypeRefusal {
  kSilent,      // kInvalidArgument
  kReported,    // kInvalidArgument, with a line on standard output
  kBadSelector  // kBadSelectorResult
};

// One exported call.
struct EntryCall {
  const char *name;     // as exported, for messages
  TypeSet types;        // types it accepts
  std::uint32_t width;  // bytes of data
  TypeRefusal refusal = TypeRefusal::kSilent;
};

// Returns a call's result for a type outside its set, after reporting it where the call does.
[[gnu::cold]] std::int32_t refuseType(const EntryCall &call, std::uint32_t type) noexcept;

// Returns the open record when a quick look, one comparison for each handle, finds both right. Null
// when it does not: they may be right all the same, and checkOpenRule() decides. Prints nothing.
// Any thread.
inline std::byte *openRecordQuickly(AclPolicyHandle handle, std::uint32_t rule) noexcept {
  if (!isLivePolicyInFront(handle)) [[unlikely]]
    return nullptr;
  auto *policy = reinterpret_cast<AclPolicy *>(handle);
  if (policy->selfCheck != policy) [[unlikely]]
    return nullptr;
  std::byte *record = openRecord(*policy);
  if (record == nullptr) [[unlikely]]
    return nullptr;
  return loadBig<std::uint32_t>(record + kRuleIdOffset) == rule ? record : nullptr;
}

// Returns the open record when both handles are right; otherwise reports the wrong one and returns
// null. Without an open rule every rule handle is wrong.
[[gnu::cold]] std::byte *checkOpenRule(AclPolicyHandle handle, std::uint32_t rule,
                                       const char *callName) noexcept;

// Adds an entry whose handles have been checked.
template <const EntryCall &call, auto append>
[[gnu::always_inline]] inline std::int32_t addToRecord(std::byte *record, std::uint32_t type,
                                                       const void *data) noexcept {
  if (!call.types.contains(type)) [[unlikely]]
    return refuseType(call, type);
  if (call.width != 0 && data == nullptr) [[unlikely]]
    return kInvalidArgument;
  append(record, type, data);
  return kSuccess;
}

// A function of its own, so that the usual road needs no registers saved.
template <const EntryCall &call, auto append>
[[gnu::noinline, gnu::cold]] std::int32_t addEntrySlowly(AclPolicyHandle policy, std::uint32_t rule,
                                                         std::uint32_t type,
                                                         const void *data) noexcept {
  std::byte *record = checkOpenRule(policy, rule, call.name);
  return record == nullptr ? kInvalidArgument : addToRecord<call, append>(record, type, data);
}

// Checks policy, rule, type and data, in this order, then adds the entry.
template <const EntryCall &call, auto append>
std::int32_t addEntry(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                      const void *data) noexcept {
  std::byte *record = openRecordQuickly(policy, rule);
  if (record == nullptr) [[unlikely]] {
    return addEntrySlowly<call, append>(policy, rule, type, data);
  }
  return addToRecord<call, append>(record, type, data);
}

// Adds a condition of a type that the caller chose. `data` is ignored when the call has none.
template <const EntryCall &call>
std::int32_t addCondition(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                          const void *data) noexcept {
  return addEntry<call, appendCondition<call.width>>(policy, rule, type, data);
}

// Adds a condition of the call's own type.
template <const EntryCall &call>
std::int32_t addCondition(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  static_assert(call.types.isFixed());
  return addCondition<call>(policy, rule, call.types.only(), data);
}

// Adds an action of a type that the caller chose. `data` is ignored when the call has none.
template <const EntryCall &call>
std::int32_t addAction(AclPolicyHandle policy, std::uint32_t rule, std::uint32_t type,
                       const void *data) noexcept {
  return addEntry<call, appendAction<call.width>>(policy, rule, type, data);
}

// Adds an action of the call's own type.
template <const EntryCall &call>
std::int32_t addAction(AclPolicyHandle policy, std::uint32_t rule, const void *data) noexcept {
  static_assert(call.types.isFixed());
  return addAction<call>(policy, rule, call.types.only(), data);
}

}  // namespace acl

#endif  // ACL_LIB_ENCODING_ENTRY_CALL_H
