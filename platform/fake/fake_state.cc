#include "platform/fake/fake_state.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace swplat_fake {
namespace {

// Functions whose result a test can script.
constexpr auto kScriptable = std::to_array<std::string_view>({
    "boardCardEgressAclCapable",
    "boardGetChassisId",
    "boardGetPlatformId",
    "boardGetProcessState",
    "boardGetSlotSelf",
    "dirsvcGetEntryByAttr",
    "dispatchAddClient",
    "dispatchExecuteWorkItem",
    "dispatchWorkCancel",
    "evlogInitTraceBuffer",
    "evlogRegisterComponent",
    "kvtreeDelete",
    "kvtreeInsert",
    "msgbusConnectToPeer",
    "msgbusDeregisterPeer",
    "msgbusGetVqStatsCount",
    "msgbusInitClient",
    "msgbusRecv",
    "msgbusRegisterPeerByAddr",
    "msgbusSend",
    "msgbusSetPeerOption",
    "pktbufAllocPacket",
    "procmonSetState",
    "tlvAddObject",
    "tlvGetObject",
});

// Functions that can only be hooked: they give nothing, or no number.
constexpr auto kOthers = std::to_array<std::string_view>({
    "Sprintf",
    "cliagentNotifyCLI",
    "evlogNotifyIncident",
    "evlogTraceLog",
    "findNode",
    "kvtreeFirst",
    "kvtreeNext",
    "pktbufFree",
    "pktbufTrimPacket",
    "platGetProcessName",
    "tlvInit",
});

void checkScriptable(std::string_view function) {
  if (std::ranges::find(kScriptable, function) == kScriptable.end()) {
    throw std::invalid_argument("no result of '" + std::string(function) + "' can be scripted");
  }
}

void checkFunction(std::string_view function) {
  if (std::ranges::find(kOthers, function) == kOthers.end()) checkScriptable(function);
}

bool selected(std::string_view function, std::initializer_list<std::string_view> only) {
  return only.size() == 0 || std::ranges::any_of(only, [&](std::string_view name) {
           return name.ends_with('*') ? function.starts_with(name.substr(0, name.size() - 1))
                                      : function == name;
         });
}

}  // namespace

State &state() {
  // Never destroyed: threads of the tested code may outlive the test.
  static State *const state = new State;
  return *state;
}

Platform &fake() {
  static Platform platform;
  return platform;
}

std::optional<std::int64_t> FunctionCall::scripted() {
  const auto queued = model().queuedResults.find(function_);
  if (queued != model().queuedResults.end() && !queued->second.empty()) {
    const std::int64_t result = queued->second.front();
    queued->second.pop_front();
    return result;
  }
  const auto fixed = model().fixedResults.find(function_);
  if (fixed != model().fixedResults.end()) return fixed->second;
  return std::nullopt;
}

void FunctionCall::runHook() {
  std::function<void()> hook;
  {
    const std::lock_guard lock(state().mutex);
    const auto found = model().hooks.find(function_);
    if (found != model().hooks.end()) hook = found->second;
  }
  if (hook) hook();
}

void Platform::reset() {
  Access access;
  releasePackets(state());
  access.model() = Model();
  access.record() = Record();
  state().processName = nullptr;
  resetTraceComponent();
}

void Platform::forgetCalls() {
  Access().record() = Record();
}

std::vector<Call> Platform::calls(std::initializer_list<std::string_view> only) const {
  Access access;
  std::vector<Call> calls;
  std::ranges::copy_if(access.record().calls, std::back_inserter(calls),
                       [&](const Call &call) { return selected(call.function, only); });
  return calls;
}

std::vector<std::string> Platform::callNames(std::initializer_list<std::string_view> only) const {
  std::vector<std::string> names;
  for (const Call &call : calls(only)) names.push_back(call.function);
  return names;
}

std::vector<std::string> Platform::violations() const {
  return Access().model().violations;
}

void Platform::queueResults(std::string_view function,
                            std::initializer_list<std::int64_t> results) {
  checkScriptable(function);
  Access access;
  auto &queue = access.model().queuedResults[std::string(function)];
  queue.insert(queue.end(), results.begin(), results.end());
}

void Platform::setResult(std::string_view function, std::int64_t result) {
  checkScriptable(function);
  Access().model().fixedResults[std::string(function)] = result;
}

void Platform::clearResult(std::string_view function) {
  checkScriptable(function);
  Access access;
  access.model().queuedResults.erase(std::string(function));
  access.model().fixedResults.erase(std::string(function));
}

void Platform::setHook(std::string_view function, std::function<void()> hook) {
  checkFunction(function);
  Access().model().hooks[std::string(function)] = std::move(hook);
}

}  // namespace swplat_fake
