// Counters of dynamic rules.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/dynrules/counter_bodies.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

namespace acl {
namespace {

using CounterRequest = std::array<std::byte, CounterBody::size>;

// A caller's description of a counter. The names may be null.
struct Counter {
  const char *ruleName, *counterName;
  std::uint32_t vlan, port, direction, appId;
};

// The request that asks for a counter, or the one that clears it: they differ in their code alone.
CounterRequest counterRequest(std::uint16_t code, const Counter &counter,
                              std::uint32_t context) noexcept {
  using Body = CounterBody;
  CounterRequest bytes;
  BodyWriter<Body> body(bytes);
  body.put(Body::code, code);
  body.put(Body::context, context);
  body.put(Body::appId, counter.appId);
  body.put(Body::port, counter.port);
  body.put(Body::vlan, counter.vlan);
  body.put(Body::direction, static_cast<std::uint8_t>(counter.direction));
  body.put(Body::ruleName, counter.ruleName);
  body.put(Body::counterName, counter.counterName);
  return bytes;
}

void copyName(char (&field)[kNameWidth], const char *name) noexcept {
  copyText(reinterpret_cast<std::byte *>(field), kNameWidth, name);
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibGetDynRuleCounter(const char *ruleName, const char *counterName,
                                     std::uint32_t vlan, std::uint32_t port,
                                     std::uint32_t direction, std::uint32_t appId,
                                     std::uint32_t context) noexcept {
  const auto request = acl::counterRequest(acl::kMsgGetDynRuleCounter,
                                           {.ruleName = ruleName,
                                            .counterName = counterName,
                                            .vlan = vlan,
                                            .port = port,
                                            .direction = direction,
                                            .appId = appId},
                                           context);
  // Two blanks before "direction", and the direction whole: what is sent of it is its low byte.
  aclTrace(
      acl::kRequestTraceLevel,
      Sprintf(" %s: Get counter for dynamic acl rule %.32s counter name %.32s on vlan %d port "
              "%d:%d  direction %d\n",
              acl::applicationName(appId), acl::tracedName(ruleName), acl::tracedName(counterName),
              vlan, acl::slotOf(port), acl::portNumberOf(port), direction));
  return aclLibSendMsg(acl::kTlvRequest, request.data(), request.size());
}

std::int32_t aclLibClearCounter(const AclCounterClearRecord *record,
                                std::uint32_t context) noexcept {
  if (record == nullptr) return acl::kInvalidArgument;
  const auto request = acl::counterRequest(acl::kMsgClearCounter,
                                           {.ruleName = record->ruleName,
                                            .counterName = record->counterName,
                                            .vlan = record->vlan,
                                            .port = record->port,
                                            .direction = record->direction,
                                            .appId = record->appId},
                                           context);
  // The names are shifted against the words before them, and the counter's stands twice: readers of
  // traces know the line so.
  aclTrace(acl::kRequestTraceLevel,
           Sprintf(" %s: Clear counter for application %.32s rule %.32s counter %.32s port %d:%d "
                   "vlan %d direction %d\n",
                   acl::applicationName(record->appId), record->ruleName, record->counterName,
                   record->counterName, acl::slotOf(record->port), acl::portNumberOf(record->port),
                   record->vlan, record->direction));
  return aclLibSendMsg(acl::kTlvRequest, request.data(), request.size());
}

std::int32_t aclLibClearCounterWrapper(const char *ruleName, const char *counterName,
                                       std::uint32_t vlan, std::uint32_t port,
                                       std::uint32_t direction, std::uint32_t appId,
                                       std::uint32_t context) noexcept {
  AclCounterClearRecord record{};
  record.appId = appId;
  record.port = port;
  record.vlan = vlan;
  record.direction = static_cast<std::uint8_t>(direction);
  acl::copyName(record.ruleName, ruleName);
  acl::copyName(record.counterName, counterName);
  return aclLibClearCounter(&record, context);
}

}  // extern "C"
