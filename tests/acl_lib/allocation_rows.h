// The rows of a table of calls, and what becomes of each call when memory or packets run out.
#ifndef TESTS_ACL_LIB_ALLOCATION_ROWS_H
#define TESTS_ACL_LIB_ALLOCATION_ROWS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/acl_lib/arranged_library.h"

namespace acl_test {

// What becomes of a call when something that it asks for is not there.
enum class Ending {
  kRefuses,  // it has the given result and changes nothing
  kFails,    // it has the given result; what it has changed before stays
  kGoesOn,   // it does without and has its usual result, with an effect that shows what is missing
  kAborts,   // it ends the process
};

// Says in words what a call has come to, apart from its result.
using Observe = std::string (*)();

struct Outcome {
  Ending ending;
  std::int64_t result;
  Observe observe;
  const char *effect;  // what `observe` says afterwards
};

constexpr Outcome refuses(std::int64_t result) {
  return {Ending::kRefuses, result, nullptr, nullptr};
}
constexpr Outcome fails(std::int64_t result) {
  return {Ending::kFails, result, nullptr, nullptr};
}
constexpr Outcome goesOn(Observe observe, const char *effect) {
  return {Ending::kGoesOn, 0, observe, effect};
}
constexpr Outcome aborts() {
  return {Ending::kAborts, 0, nullptr, nullptr};
}

// The outcomes when the first, the second, ... is not there; the last one stands for all that
// follow. Empty: the call asks for none.
using Outcomes = std::vector<Outcome>;

inline const Outcome &outcomeOf(const Outcomes &outcomes, std::size_t number) {
  return outcomes[std::min(number, outcomes.size()) - 1];
}

// A result as a number: 1 for a pointer that is not null, 0 for a call that returns nothing.
template <typename Call>
std::int64_t numberFrom(Call call) {
  using Result = decltype(call());
  if constexpr (std::is_void_v<Result>) {
    call();
    return 0;
  } else if constexpr (std::is_pointer_v<Result>) {
    return call() != nullptr ? 1 : 0;
  } else {
    return call();
  }
}

struct Row {
  const char *name;
  std::function<std::int64_t()> call;  // makes the call once, in an arranged library
  std::int64_t expected;               // its usual result
  Outcomes memory;
  Outcomes packets;
  void (*prepare)();  // brings the library into the state that the row is about; or null
};

template <typename Call>
Row needsPackets(const char *name, Call call, std::int64_t expected, Outcomes memory,
                 Outcomes packets, void (*prepare)() = nullptr) {
  return {
      name,   [call] { return numberFrom(call); }, expected, std::move(memory), std::move(packets),
      prepare};
}

template <typename Call>
Row needsMemory(const char *name, Call call, std::int64_t expected, Outcomes memory,
                void (*prepare)() = nullptr) {
  return needsPackets(name, call, expected, std::move(memory), {}, prepare);
}

template <typename Call>
Row needsNothing(const char *name, Call call, std::int64_t expected = 0) {
  return needsPackets(name, call, expected, {}, {});
}

// A handle that sends its packet needs another one to go on with.
template <typename Call>
Row sendsAPacket(const char *name, Call call, std::int64_t expected = 0, Outcomes memory = {}) {
  return needsPackets(name, call, expected, std::move(memory), {aborts()});
}

inline void PrintTo(const Row &row, std::ostream *out) {
  *out << row.name;
}

inline std::string rowName(const testing::TestParamInfo<Row> &info) {
  std::string name = info.param.name;
  name += '_';
  return name + std::to_string(info.index);
}

// The library that the calls of the table meet.
inline ArrangedLibrary *arranged = nullptr;

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_ALLOCATION_ROWS_H
