// The slices of the classifier, and who has reserved them.
#ifndef MANAGER_MODEL_SLICE_POOL_H
#define MANAGER_MODEL_SLICE_POOL_H

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>

#include "manager/model/status.h"

namespace aclmgr {

// Stages of the classifier, numbered from 0, and the slices that each has for all types together.
// Many classifiers of switches have these numbers; none asks a particular board.
inline constexpr std::uint32_t kClassifierStages = 4;
inline constexpr std::uint32_t kSlicesPerStage = 16;

// The types of slices that there are; clients have a name for each.
inline constexpr std::uint32_t kFirstSliceType = 2;
inline constexpr std::uint32_t kLastSliceType = 6;

// Slices that are reserved or given back together.
struct Slices {
  std::uint32_t stage = 0;
  std::uint32_t type = 0;
  bool doubleWide = false;  // each takes the room of two
  std::uint32_t count = 0;
};

// Every operation either succeeds and returns kOk, or returns why not and changes nothing (also
// when it throws std::bad_alloc). Not thread-safe.
class SlicePool {
 public:
  // Reserves slices for an application, beside those that it has. kInvalidParameter for a stage or
  // type that there is not, or no slices; kNoHardwareResource when fewer are free.
  Status reserve(std::uint32_t appId, const Slices &slices);

  // Takes slices back. kInvalidParameter as above; kInstanceNotExist when the application has fewer
  // of this stage, type and width.
  Status giveBack(std::uint32_t appId, const Slices &slices);

  // Takes everything back from an application. Returns how many slices it had; one of double width
  // is one.
  std::size_t removeAllOf(std::uint32_t appId) noexcept;

  // Returns the room that is left in a stage that there is, in slices of single width.
  std::uint32_t freeIn(std::uint32_t stage) const { return free_.at(stage); }

 private:
  struct Key {
    std::uint32_t appId;
    std::uint32_t stage;
    std::uint32_t type;
    bool doubleWide;

    auto operator<=>(const Key &) const = default;
  };

  static constexpr std::array<std::uint32_t, kClassifierStages> allFree() noexcept {
    std::array<std::uint32_t, kClassifierStages> free{};
    free.fill(kSlicesPerStage);
    return free;
  }

  std::array<std::uint32_t, kClassifierStages> free_ = allFree();
  std::map<Key, std::uint32_t> reserved_;  // how many slices; none is 0
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_SLICE_POOL_H
