#include "acl_lib/encoding/action_group.h"

#include "acl_lib.h"
#include "acl_lib/encoding/rule_format.h"

namespace acl {
namespace {

std::uint32_t folded(std::uint32_t word, const GroupFold &fold) noexcept {
  // The queue's number only: whether a queue is present was decided when the group was made.
  if (fold.bit == action::kGroupQueuePresent) {
    return (word & ~action::kGroupQueueMask) | (fold.value & action::kGroupQueueMask);
  }
  return fold.set == 0 ? (word | fold.bit) & ~fold.value : word | fold.bit | fold.value;
}

}  // namespace

GroupFold groupFoldOf(std::uint32_t type, const void *data) noexcept {
  if (!isGroupable(type)) return {};
  GroupFold fold = kGroupFolds[type];
  if (type == action::kQos && data != nullptr)
    fold.value = *static_cast<const std::uint8_t *>(data);
  return fold;
}

void foldIntoGroup(std::byte *groupEntry, std::uint32_t type, const void *data) noexcept {
  std::byte *groupWord = groupEntry + kEntryHeaderSize;
  storeBig(groupWord, folded(loadBig<std::uint32_t>(groupWord), groupFoldOf(type, data)));
}

}  // namespace acl

extern "C" {

void aclGetAction4Group(uint32_t type, const void *data, uint32_t *groupBit, uint32_t *groupValue,
                        uint32_t *setFlag) noexcept {
  const acl::GroupFold fold = acl::groupFoldOf(type, data);
  if (fold.bit == 0) return;
  *groupBit = fold.bit;
  *groupValue = fold.value;
  *setFlag = fold.set;
}

}  // extern "C"
