#include "manager/model/slice_pool.h"

#include <iterator>

namespace aclmgr {
namespace {

bool areKnown(const Slices &slices) noexcept {
  return slices.stage < kClassifierStages && slices.type >= kFirstSliceType &&
         slices.type <= kLastSliceType && slices.count != 0;
}

constexpr std::uint32_t roomOfOne(bool doubleWide) noexcept {
  return doubleWide ? 2 : 1;
}

}  // namespace

Status SlicePool::reserve(std::uint32_t appId, const Slices &slices) {
  if (!areKnown(slices)) return Status::kInvalidParameter;
  const std::uint32_t room = roomOfOne(slices.doubleWide);
  std::uint32_t &free = free_[slices.stage];
  if (slices.count > free / room) return Status::kNoHardwareResource;
  reserved_[{appId, slices.stage, slices.type, slices.doubleWide}] += slices.count;
  free -= slices.count * room;
  return Status::kOk;
}

Status SlicePool::giveBack(std::uint32_t appId, const Slices &slices) {
  if (!areKnown(slices)) return Status::kInvalidParameter;
  const auto held = reserved_.find({appId, slices.stage, slices.type, slices.doubleWide});
  if (held == reserved_.end() || held->second < slices.count) return Status::kInstanceNotExist;
  held->second -= slices.count;
  if (held->second == 0) reserved_.erase(held);
  free_[slices.stage] += slices.count * roomOfOne(slices.doubleWide);
  return Status::kOk;
}

std::size_t SlicePool::removeAllOf(std::uint32_t appId) noexcept {
  std::size_t count = 0;
  for (auto held = reserved_.begin(); held != reserved_.end();) {
    const auto &[key, slices] = *held;
    if (key.appId != appId) {
      ++held;
      continue;
    }
    count += slices;
    free_[key.stage] += slices * roomOfOne(key.doubleWide);
    held = reserved_.erase(held);
  }
  return count;
}

}  // namespace aclmgr
