// Actions that fold into a group action instead of being entries of their own.
//
// A group action (type 9) carries one word with the verdict, sampling, mirroring and the queue.
// Where one leads a rule's actions, later actions of those kinds change its word.
#ifndef ACL_LIB_ENCODING_ACTION_GROUP_H
#define ACL_LIB_ENCODING_ACTION_GROUP_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib/encoding/action_codes.h"

namespace acl {

// How one action changes the word of a group.
struct GroupFold {
  std::uint32_t bit;    // says that the pair counts; 0 for an action that does not fold
  std::uint32_t value;  // the pair's other bit; for the queue, its number
  std::uint32_t set;    // 1 sets that other bit, 0 clears it
};

// One row per action type; the types behind the last row do not fold. The queue's number comes with
// the action's data.
inline constexpr auto kGroupFolds = [] {
  using namespace action;
  std::array<GroupFold, kQos + 1> folds{};
  folds[kAccept] = {kGroupVerdictPresent, kGroupDeny, 0};
  folds[kDeny] = {kGroupVerdictPresent, kGroupDeny, 1};
  folds[kSampleOn] = {kGroupSamplePresent, kGroupSampleOn, 1};
  folds[kSampleOff] = {kGroupSamplePresent, kGroupSampleOn, 0};
  folds[kMirrorOn] = {kGroupMirrorPresent, kGroupMirrorOn, 1};
  folds[kMirrorOff] = {kGroupMirrorPresent, kGroupMirrorOn, 0};
  folds[kQos] = {kGroupQueuePresent, 0, 1};
  return folds;
}();

// Tells whether an action folds. The whole 32-bit type counts, although entries store 16 bits of
// it.
constexpr bool isGroupable(std::uint32_t type) noexcept {
  return type < kGroupFolds.size() && kGroupFolds[type].bit != 0;
}

// Returns how an action folds; bit 0 when it does not.
//   data  the action's data, of which the queue action's first byte is read; null reads as 0
GroupFold groupFoldOf(std::uint32_t type, const void *data) noexcept;

// Folds a groupable action into a group action.
//   groupEntry  entry of type 9 with at least 4 bytes of data
void foldIntoGroup(std::byte *groupEntry, std::uint32_t type, const void *data) noexcept;

}  // namespace acl

#endif  // ACL_LIB_ENCODING_ACTION_GROUP_H
