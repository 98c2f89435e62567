#include "manager/server/handlers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

#include "manager/server/app_policy_handlers.h"
#include "manager/server/app_rule_handlers.h"
#include "manager/server/client_handlers.h"
#include "manager/server/dynamic_rule_handlers.h"
#include "manager/server/meter_handlers.h"
#include "manager/server/policy_handlers.h"
#include "manager/server/slice_handlers.h"

namespace aclmgr {
namespace {

std::optional<Answer> refuseUnknownCode(ManagerState &, const Request &request, RequestText &text) {
  text.fields = fmt::format("{:#06x}", request.code);
  return Answer{Status::kInvalidMessage, "unknown code"};
}

constexpr Handler kUnknownCode{0, "unknown code", refuseUnknownCode, unknownCodeReply};

// The codes by what they are about.
constexpr auto kAreas = std::to_array<std::span<const Handler> (*)() noexcept>({
    policyHandlers,
    dynamicRuleHandlers,
    appRuleHandlers,
    meterHandlers,
    appPolicyHandlers,
    clientHandlers,
    sliceHandlers,
});

}  // namespace

Answer answerOf(const Refusal &refusal) {
  return {refusal.status, refusal.reason};
}

std::string portText(std::uint32_t port) {
  return fmt::format("{}:{}", port >> 16 & 0xFF, port & 0xFFFF);
}

const Handler &handlerOf(std::uint16_t code) noexcept {
  for (const auto area : kAreas) {
    const std::span<const Handler> rows = area();
    const auto row = std::ranges::find(rows, code, &Handler::code);
    if (row != rows.end()) return *row;
  }
  return kUnknownCode;
}

}  // namespace aclmgr
