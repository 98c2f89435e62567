#include "manager/decode/meter_requests.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>

#include "acl_lib/dynrules/meter_bodies.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {
namespace {

std::optional<Refusal> problemOfMeterName(std::string_view name) {
  return problemOfNameOf("meter", name, acl::MeterName::width);
}

}  // namespace

Outcome<MeterRequest> decodeMeter(std::span<const std::byte> body) {
  using Body = acl::MeterBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::meterName);
  if (const auto problem = problemOfMeterName(name)) return *problem;
  return MeterRequest{std::string(name), reader.value().get(Body::appId),
                      reader.value().get(Body::meterContext)};
}

Outcome<ConfigMeterRequest> decodeConfigMeter(std::span<const std::byte> body) {
  using Body = acl::MeterConfigBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view name = reader.get(Body::meterName);
  if (const auto problem = problemOfMeterName(name)) return *problem;
  if (const auto problem = problemOfFixedWord(reader.get(Body::fixedWord), Body::kFixedWord)) {
    return *problem;
  }
  return ConfigMeterRequest{.meterName = std::string(name),
                            .appId = reader.get(Body::appId),
                            .rates = {.cirRate = reader.get(Body::cirRate),
                                      .cirBurstSize = reader.get(Body::cirBurstSize),
                                      .peakRate = reader.get(Body::peakRate),
                                      .burstSize = reader.get(Body::burstSize),
                                      .outAction = reader.get(Body::outAction),
                                      .dscpVal = reader.get(Body::dscpVal),
                                      .extra = reader.get(Body::extra)}};
}

Outcome<MeterBindingRequest> decodeMeterBinding(std::span<const std::byte> body) {
  using Body = acl::MeterBindingBody;
  const auto decoded = readerOver<Body>(body);
  if (!decoded) return decoded.refusal();
  const acl::BodyReader<Body> reader = decoded.value();
  const std::string_view name = reader.get(Body::meterName);
  if (const auto problem = problemOfNameOf("meter", name)) return *problem;
  const std::uint32_t subCode = reader.get(Body::subCode);
  if (subCode != acl::kMsgBindMeter && subCode != acl::kMsgUnbindMeter) {
    return invalidMessage(fmt::format("unknown sub-code {:#06x}", subCode));
  }
  return MeterBindingRequest{std::string(name), reader.get(Body::target),
                             subCode == acl::kMsgBindMeter};
}

}  // namespace aclmgr
