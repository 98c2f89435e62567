// All meters of the switch, and what they are bound to.
#ifndef MANAGER_MODEL_METER_STORE_H
#define MANAGER_MODEL_METER_STORE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "manager/model/status.h"

namespace aclmgr {

// Meters that are kept: bounds what clients can make the manager remember.
inline constexpr std::size_t kMaxMeters = 4096;

// What a meter lets through; kept as the client gave it.
struct MeterRates {
  std::uint32_t cirRate = 0;  // committed
  std::uint32_t cirBurstSize = 0;
  std::uint32_t peakRate = 0;
  std::uint32_t burstSize = 0;  // peak
  std::uint32_t outAction = 0;  // what is done with packets beyond
  std::uint32_t dscpVal = 0;
  std::uint32_t extra = 0;

  bool operator==(const MeterRates &) const = default;
};

// A rate limiter that rules refer to by its name.
struct Meter {
  std::uint32_t owner = 0;          // the application that created it
  std::uint32_t context = 0;        // the owner's own
  std::optional<MeterRates> rates;  // none until it is configured
  std::set<std::uint8_t> targets;   // what it is bound to
};

// Names are those of the whole switch. Every operation either succeeds and returns kOk, or returns
// why not and changes nothing (also when it throws std::bad_alloc). Not thread-safe.
class MeterStore {
 public:
  explicit MeterStore(std::size_t limit = kMaxMeters) noexcept : limit_(limit) {}

  // Creates a meter. The same owner and context again is kOk; a meter of the name with others is
  // kInstanceExist. kNoMemory when there are as many as may be.
  Status create(std::string_view name, std::uint32_t owner, std::uint32_t context);

  // Sets the rates of a meter. kMeterNotFound, also for a meter of another owner.
  Status configure(std::string_view name, std::uint32_t owner, const MeterRates &rates);

  // Forgets a meter. kMeterNotFound, also for a meter of another owner; kInstanceInUse while it is
  // bound to anything.
  Status remove(std::string_view name, std::uint32_t owner);

  // Binds a meter to a target, whoever asks. kMeterNotFound; kMeterBound when it is bound to it.
  Status bind(std::string_view name, std::uint8_t target);

  // The reverse. kMeterNotFound; kMeterNotBound when it is not bound to that target.
  Status unbind(std::string_view name, std::uint8_t target);

  // Forgets every meter of an owner, bound or not. Returns how many there were.
  std::size_t removeAllOf(std::uint32_t owner) noexcept;

  // Returns the meter, borrowed until the next change; null when there is none.
  const Meter *find(std::string_view name) const;

  std::size_t size() const noexcept { return meters_.size(); }

 private:
  Meter *meterOf(std::string_view name);

  std::size_t limit_;
  std::map<std::string, Meter, std::less<>> meters_;
};

}  // namespace aclmgr

#endif  // MANAGER_MODEL_METER_STORE_H
