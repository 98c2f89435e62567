// board.h, procmon.h, cliagent.h and process.h on the fake platform.
#include <cstdarg>

#include "platform/common/text_ring.h"
#include "platform/fake/fake_state.h"

namespace swplat_fake {

std::vector<CliText> Platform::cliTexts() const {
  return Access().record().cliTexts;
}

std::vector<ReportedState> Platform::reportedStates() const {
  return Access().record().reportedStates;
}

void Platform::setSlot(std::uint32_t slot) {
  Access().model().slot = slot;
}

void Platform::setChassis(std::uint32_t chassis) {
  Access().model().chassis = chassis;
}

void Platform::setPlatformId(std::uint32_t platform) {
  Access().model().platform = platform;
}

void Platform::setDaemonState(std::string_view name, std::int32_t state) {
  Access().model().daemonStates[std::string(name)] = state;
}

void Platform::setEgressCapable(std::uint32_t slot, bool capable) {
  Access access;
  if (capable) {
    access.model().egressCapableSlots.insert(slot);
  } else {
    access.model().egressCapableSlots.erase(slot);
  }
}

void Platform::setProcessName(std::string_view name) {
  Access access;
  state().processName = &*state().processNames.emplace(name).first;
}

}  // namespace swplat_fake

using swplat_fake::FunctionCall;

std::uint32_t boardGetSlotSelf() noexcept {
  FunctionCall call("boardGetSlotSelf");
  return call.resultOr(call.model().slot);
}

std::uint32_t boardGetChassisId() noexcept {
  FunctionCall call("boardGetChassisId");
  return call.resultOr(call.model().chassis);
}

std::uint32_t boardGetPlatformId() noexcept {
  FunctionCall call("boardGetPlatformId");
  return call.resultOr(call.model().platform);
}

std::int32_t boardGetProcessState(const char *name) noexcept {
  FunctionCall call("boardGetProcessState", name);
  const auto found = call.model().daemonStates.find(std::string_view(name));
  return call.resultOr<std::int32_t>(found == call.model().daemonStates.end() ? 0 : found->second);
}

std::int32_t boardCardEgressAclCapable(std::uint32_t slot) noexcept {
  FunctionCall call("boardCardEgressAclCapable", slot);
  return call.resultOr<std::int32_t>(call.model().egressCapableSlots.contains(slot) ? 1 : 0);
}

std::int32_t procmonSetState(const char *name, std::int32_t state) noexcept {
  FunctionCall call("procmonSetState", name, state);
  const auto result = call.resultOr<std::int32_t>(0);
  if (result == 0) call.record().reportedStates.push_back({name, state});
  return result;
}

void cliagentNotifyCLI(std::int32_t handle, const char *text) noexcept {
  FunctionCall call("cliagentNotifyCLI", handle, text);
  call.record().cliTexts.push_back({handle, text});
}

const char *platGetProcessName() noexcept {
  FunctionCall call("platGetProcessName");
  const std::string *name = swplat_fake::state().processName;
  return name == nullptr ? "fake" : name->c_str();
}

const char *Sprintf(const char *format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  const char *text = swplat::formatText(format, arguments);
  va_end(arguments);
  FunctionCall call("Sprintf", format, text);
  return text;
}
