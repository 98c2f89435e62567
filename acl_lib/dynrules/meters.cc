// Meters of the applications.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/dynrules/meter_bodies.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

namespace acl {
namespace {

using MeterRequest = std::array<std::byte, MeterBody::size>;

// The request that creates a meter, or the one that deletes it: they differ in their code alone.
MeterRequest meterRequest(std::uint16_t code, const char *meterName,
                          const AclMeterOwner &owner) noexcept {
  using Body = MeterBody;
  MeterRequest bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, code);
  body.put(Body::meterContext, owner.meterContext);
  body.put(Body::meterName, meterName);
  body.put(Body::appId, std::uint32_t{owner.appId});
  return bytes;
}

// Sends a request of the calls that do not wait. Unlike the other requests', their result does not
// tell what went wrong: every failure is kFailed.
template <std::size_t Size>
std::int32_t sendMeterRequest(const std::array<std::byte, Size> &request) noexcept {
  return aclLibSendMsg(kTlvRequest, request.data(), Size) == kSuccess ? kSuccess : kFailed;
}

// Returns the manager's status. Binding and unbinding write no trace line.
std::int32_t exchangeBinding(std::uint32_t subCode, const char *meterName,
                             std::uint32_t target) noexcept {
  using Body = MeterBindingBody;
  std::array<std::byte, Body::size> bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, kMsgSynchronousMeter);
  body.put(Body::subCode, subCode);
  body.put(Body::target, static_cast<std::uint8_t>(target));
  body.put(Body::meterName, meterName);
  return aclLibSendAndRecvFromAclMgr(bytes.data(), bytes.size());
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibCreateMeter(const char *meterName, const AclMeterOwner *owner) noexcept {
  const auto request = acl::meterRequest(acl::kMsgCreateMeter, meterName, *owner);
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Add client meter %.32s \n", acl::applicationName(owner->appId),
                   acl::tracedName(meterName)));
  return acl::sendMeterRequest(request);
}

std::int32_t aclLibDeleteMeter(const char *meterName, const AclMeterOwner *owner) noexcept {
  const auto request = acl::meterRequest(acl::kMsgDeleteMeter, meterName, *owner);
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Delete client meter %.32s \n", acl::applicationName(owner->appId),
                   acl::tracedName(meterName)));
  return acl::sendMeterRequest(request);
}

std::int32_t aclLibConfigMeter(const char *meterName, std::uint32_t cirRate,
                               std::uint32_t cirBurstSize, std::uint32_t peakRate,
                               std::uint32_t burstSize, std::uint32_t outAction,
                               std::uint32_t dscpVal, std::uint32_t extra,
                               const AclMeterOwner *owner) noexcept {
  using Body = acl::MeterConfigBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgConfigMeter);
  body.put(Body::fixedWord, Body::kFixedWord);
  body.put(Body::meterContext, owner->meterContext);
  body.put(Body::meterName, meterName);
  body.put(Body::appId, std::uint32_t{owner->appId});
  // Sent twice: in the head, as with all requests about meters, and in front of the rates.
  body.put(Body::secondMeterContext, owner->meterContext);
  body.put(Body::cirRate, cirRate);
  body.put(Body::cirBurstSize, cirBurstSize);
  body.put(Body::peakRate, peakRate);
  body.put(Body::burstSize, burstSize);
  body.put(Body::outAction, outAction);
  body.put(Body::dscpVal, dscpVal);
  body.put(Body::extra, extra);
  // The line has all numbers but `extra`.
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Configure client meter %.32s: cirRate %u cirBurstSize %u peakRate %u "
                   "burstSize %u outAction %u dscpVal %u\n",
                   acl::applicationName(owner->appId), acl::tracedName(meterName), cirRate,
                   cirBurstSize, peakRate, burstSize, outAction, dscpVal));
  return acl::sendMeterRequest(bytes);
}

std::int32_t aclLibBindMeter(const char *meterName, std::uint32_t target) noexcept {
  return acl::exchangeBinding(acl::kMsgBindMeter, meterName, target);
}

std::int32_t aclLibUnbindMeter(const char *meterName, std::uint32_t target) noexcept {
  return acl::exchangeBinding(acl::kMsgUnbindMeter, meterName, target);
}

}  // extern "C"
