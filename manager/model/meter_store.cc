#include "manager/model/meter_store.h"

#include <utility>

namespace aclmgr {

Meter *MeterStore::meterOf(std::string_view name) {
  const auto found = meters_.find(name);
  return found == meters_.end() ? nullptr : &found->second;
}

const Meter *MeterStore::find(std::string_view name) const {
  const auto found = meters_.find(name);
  return found == meters_.end() ? nullptr : &found->second;
}

Status MeterStore::create(std::string_view name, std::uint32_t owner, std::uint32_t context) {
  if (const Meter *existing = find(name)) {
    const bool isSame = existing->owner == owner && existing->context == context;
    return isSame ? Status::kOk : Status::kInstanceExist;
  }
  if (meters_.size() >= limit_) return Status::kNoMemory;
  meters_.emplace(std::string(name), Meter{owner, context, std::nullopt, {}});
  return Status::kOk;
}

Status MeterStore::configure(std::string_view name, std::uint32_t owner, const MeterRates &rates) {
  Meter *meter = meterOf(name);
  if (meter == nullptr || meter->owner != owner) return Status::kMeterNotFound;
  meter->rates = rates;
  return Status::kOk;
}

Status MeterStore::remove(std::string_view name, std::uint32_t owner) {
  const auto found = meters_.find(name);
  if (found == meters_.end() || found->second.owner != owner) return Status::kMeterNotFound;
  if (!found->second.targets.empty()) return Status::kInstanceInUse;
  meters_.erase(found);
  return Status::kOk;
}

Status MeterStore::bind(std::string_view name, std::uint8_t target) {
  Meter *meter = meterOf(name);
  if (meter == nullptr) return Status::kMeterNotFound;
  return meter->targets.insert(target).second ? Status::kOk : Status::kMeterBound;
}

Status MeterStore::unbind(std::string_view name, std::uint8_t target) {
  Meter *meter = meterOf(name);
  if (meter == nullptr) return Status::kMeterNotFound;
  return meter->targets.erase(target) != 0 ? Status::kOk : Status::kMeterNotBound;
}

std::size_t MeterStore::removeAllOf(std::uint32_t owner) noexcept {
  return std::erase_if(meters_, [owner](const auto &meter) { return meter.second.owner == owner; });
}

}  // namespace aclmgr
