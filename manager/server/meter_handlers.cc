#include "manager/server/handler_tables.h"

#include <fmt/format.h>

#include <array>

#include "acl_lib/dynrules/meter_bodies.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/decode/meter_requests.h"
#include "manager/server/reply_bodies.h"
#include "manager/server/reply_maker.h"
#include "manager/server/request_log.h"

namespace aclmgr {
namespace {

template <typename Request>
std::vector<std::byte> meterReply(std::span<const std::byte> request, Status status) {
  ReplyMaker<Request, MeterReplyBody> reply(request, status);
  reply.echo(Request::meterContext, MeterReplyBody::meterContext);
  reply.echo(Request::meterName, MeterReplyBody::meterName);
  reply.echo(Request::appId, MeterReplyBody::appId);
  return reply.take();
}

std::vector<std::byte> meterBindingReply(std::span<const std::byte> request, Status status) {
  using Body = acl::MeterBindingBody;
  ReplyMaker<Body, Body> reply(request, status);
  reply.echo(Body::subCode, Body::subCode);
  reply.echo(Body::target, Body::target);
  reply.echo(Body::meterName, Body::meterName);
  return reply.take();
}

std::string meterText(std::string_view name, std::uint32_t appId) {
  return fmt::format("meter {}, application {}", quoted(name), appId);
}

std::optional<Answer> handleCreateMeter(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodeMeter(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const MeterRequest &asked = decoded.value();
  text.fields =
      fmt::format("{}, context {}", meterText(asked.meterName, asked.appId), asked.context);
  return Answer{state.meters.create(asked.meterName, asked.appId, asked.context), ""};
}

std::optional<Answer> handleConfigMeter(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodeConfigMeter(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const ConfigMeterRequest &asked = decoded.value();
  const MeterRates &rates = asked.rates;
  text.fields = fmt::format(
      "{}, cirRate {} cirBurstSize {} peakRate {} burstSize {} outAction {} dscpVal {} extra {}",
      meterText(asked.meterName, asked.appId), rates.cirRate, rates.cirBurstSize, rates.peakRate,
      rates.burstSize, rates.outAction, rates.dscpVal, rates.extra);
  return Answer{state.meters.configure(asked.meterName, asked.appId, rates), ""};
}

std::optional<Answer> handleDeleteMeter(ManagerState &state, const Request &request,
                                        RequestText &text) {
  const auto decoded = decodeMeter(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const MeterRequest &asked = decoded.value();
  text.fields = meterText(asked.meterName, asked.appId);
  const Status status = state.meters.remove(asked.meterName, asked.appId);
  if (status != Status::kInstanceInUse) return Answer{status, ""};
  const Meter &meter = *state.meters.find(asked.meterName);
  return Answer{status, fmt::format("bound to target {}", *meter.targets.begin())};
}

std::optional<Answer> handleMeterBinding(ManagerState &state, const Request &request,
                                         RequestText &text) {
  const auto decoded = decodeMeterBinding(request.body);
  if (!decoded) return answerOf(decoded.refusal());
  const MeterBindingRequest &asked = decoded.value();
  text.fields = fmt::format("meter {}, {} target {}", quoted(asked.meterName),
                            asked.bind ? "bind to" : "unbind from", asked.target);
  return Answer{asked.bind ? state.meters.bind(asked.meterName, asked.target)
                           : state.meters.unbind(asked.meterName, asked.target),
                ""};
}

constexpr auto kHandlers = std::to_array<Handler>({
    {acl::kMsgCreateMeter, "ACL_MSG_CREATE_METER", handleCreateMeter, meterReply<acl::MeterBody>},
    {acl::kMsgConfigMeter, "ACL_MSG_CONFIG_METER", handleConfigMeter,
     meterReply<acl::MeterConfigBody>},
    {acl::kMsgDeleteMeter, "ACL_MSG_DELETE_METER", handleDeleteMeter, meterReply<acl::MeterBody>},
    {acl::kMsgSynchronousMeter, "ACL_MSG_SYNCHRONOUS_METER", handleMeterBinding, meterBindingReply},
});

}  // namespace

std::span<const Handler> meterHandlers() noexcept {
  return kHandlers;
}

}  // namespace aclmgr
