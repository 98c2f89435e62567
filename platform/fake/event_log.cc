// evlog.h on the fake platform.
#include <cstdarg>
#include <cstdio>

#include "platform/fake/fake_state.h"

EvlogTraceComponentDesc _evlog_trace_ComponentDesc = {"trace", 1, 0, 1};
std::uint32_t _evlog_trace_ComponentHandle = 0;

namespace swplat_fake {
namespace {

std::string formatted(const char *format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

std::uint32_t newHandle(Model &model) {
  return ++model.lastLogHandle;
}

}  // namespace

void resetTraceComponent() {
  _evlog_trace_ComponentDesc = {"trace", 1, 0, 1};
  _evlog_trace_ComponentHandle = 0;
}

std::vector<TraceLine> Platform::traceLines() const {
  return Access().record().traceLines;
}

std::vector<std::string> Platform::traceTexts() const {
  std::vector<std::string> texts;
  for (const TraceLine &line : traceLines()) texts.push_back(line.text);
  return texts;
}

std::vector<Incident> Platform::incidents() const {
  return Access().record().incidents;
}

}  // namespace swplat_fake

using swplat_fake::FunctionCall;

std::uint32_t evlogInitTraceBuffer(const char *name, std::uint32_t size,
                                   std::uint32_t flags) noexcept {
  FunctionCall call("evlogInitTraceBuffer", name, size, flags);
  if (const auto scripted = call.scripted()) return static_cast<std::uint32_t>(*scripted);
  std::uint32_t &handle = call.model().traceBuffers[name];
  if (handle == 0) handle = swplat_fake::newHandle(call.model());
  return handle;
}

void evlogTraceLog(std::uint32_t handle, std::uint32_t level, const char *text,
                   std::uint32_t length) noexcept {
  const swplat_fake::AllocationExemption exemption;
  const std::string line(text, length);
  FunctionCall call("evlogTraceLog", handle, level, line);
  call.record().traceLines.push_back({handle, level, line});
}

std::int32_t evlogRegisterComponent(std::uint32_t kind, void *descriptor,
                                    std::uint32_t *handle) noexcept {
  FunctionCall call("evlogRegisterComponent", kind, descriptor);
  const bool good = descriptor != nullptr && (kind == 1 || kind == 2);
  const auto result = call.resultOr<std::int32_t>(good ? 0 : -1);
  if (result != 0) return result;
  std::uint32_t &known = call.model().components[descriptor];
  if (known == 0) known = swplat_fake::newHandle(call.model());
  *handle = known;
  return 0;
}

void evlogNotifyIncident(std::uint32_t handle, const char *file, std::uint32_t line,
                         const char *function, const char *format, ...) noexcept {
  const swplat_fake::AllocationExemption exemption;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = swplat_fake::formatted(format, arguments);
  va_end(arguments);
  FunctionCall call("evlogNotifyIncident", handle, file, line, function, text);
  call.record().incidents.push_back({handle, file, line, function, text});
}
