// Request bodies about meters into requests.
#ifndef MANAGER_DECODE_METER_REQUESTS_H
#define MANAGER_DECODE_METER_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "manager/decode/outcome.h"
#include "manager/model/meter_store.h"

namespace aclmgr {

// A meter is created or deleted.
struct MeterRequest {
  std::string meterName;
  std::uint32_t appId;
  std::uint32_t context;
};

// A meter gets its rates.
struct ConfigMeterRequest {
  std::string meterName;
  std::uint32_t appId;
  MeterRates rates;
};

// A meter is bound to a target, or no longer.
struct MeterBindingRequest {
  std::string meterName;
  std::uint8_t target;
  bool bind;
};

// Each decodes the body of one request. kInvalidMessage, and why, for a body of another length than
// its table's, a name that is empty or not terminated, a fixed word of another value, or a sub-code
// that neither binds nor unbinds.
Outcome<MeterRequest> decodeMeter(std::span<const std::byte> body);
Outcome<ConfigMeterRequest> decodeConfigMeter(std::span<const std::byte> body);
Outcome<MeterBindingRequest> decodeMeterBinding(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_METER_REQUESTS_H
