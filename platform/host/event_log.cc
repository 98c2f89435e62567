#include <syslog.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/evlog.h"
#include "platform/host/failure.h"
#include "platform/host/trace_ring.h"

namespace swplat {
namespace {

constexpr uint32_t kComponentKind = 1;
constexpr uint32_t kTraceComponentKind = 2;

constexpr uint32_t kErrorLevel = 2;

// Where incidents go in a process that has opened no trace buffer.
constexpr const char *kIncidentBuffer = "incidents";
constexpr uint32_t kIncidentBufferSize = 16 * 1024;

constexpr size_t kLongestIncident = 1024;

// Names become parts of file names.
bool isBufferName(const char *name) {
  return name != nullptr && *name != '\0' && *name != '.' && std::strchr(name, '/') == nullptr;
}

// Trace buffers and components; a handle is the number of the entry, from 1 on. Entries stay.
class EventLog {
 public:
  static EventLog &instance() {
    // Never destroyed: traces are written until the very end of the process.
    static EventLog *const log = new EventLog;
    return *log;
  }

  uint32_t openBuffer(const std::string &name, uint32_t size) {
    const std::lock_guard<std::mutex> guard(mutex_);
    for (size_t index = 0; index < buffers_.size(); ++index) {
      if (buffers_[index]->name() == name) {
        return static_cast<uint32_t>(index + 1);
      }
    }
    buffers_.push_back(std::make_unique<TraceRing>(name, size));
    return static_cast<uint32_t>(buffers_.size());
  }

  // Returns null for an unknown handle.
  TraceRing *buffer(uint32_t handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    return handle == 0 || handle > buffers_.size() ? nullptr : buffers_[handle - 1].get();
  }

  uint32_t addComponent(const void *descriptor, const char *name) {
    const std::lock_guard<std::mutex> guard(mutex_);
    for (size_t index = 0; index < components_.size(); ++index) {
      if (components_[index].descriptor == descriptor) {
        return static_cast<uint32_t>(index + 1);
      }
    }
    components_.push_back({descriptor, name == nullptr ? "" : name});
    return static_cast<uint32_t>(components_.size());
  }

  // Writes an incident of a registered component everywhere.
  void record(uint32_t component, const std::string &text) {
    std::vector<TraceRing *> rings;
    std::string line;
    {
      const std::lock_guard<std::mutex> guard(mutex_);
      if (component == 0 || component > components_.size()) {
        return;
      }
      line = components_[component - 1].name + ": " + text;
      if (buffers_.empty()) {
        buffers_.push_back(std::make_unique<TraceRing>(kIncidentBuffer, kIncidentBufferSize));
      }
      for (const std::unique_ptr<TraceRing> &ring : buffers_) {
        rings.push_back(ring.get());
      }
    }
    syslog(LOG_ERR, "%s", line.c_str());
    for (TraceRing *const ring : rings) {
      ring->write(kErrorLevel, line);
    }
  }

 private:
  struct Component {
    const void *descriptor;
    std::string name;
  };

  std::mutex mutex_;
  std::vector<std::unique_ptr<TraceRing>> buffers_;
  std::vector<Component> components_;
};

const char *componentName(uint32_t kind, const void *descriptor) {
  return kind == kComponentKind ? static_cast<const EvlogComponentDesc *>(descriptor)->name
                                : static_cast<const EvlogTraceComponentDesc *>(descriptor)->name;
}

}  // namespace
}  // namespace swplat

extern "C" {

EvlogTraceComponentDesc _evlog_trace_ComponentDesc = {"trace", 1, 0, 1};
uint32_t _evlog_trace_ComponentHandle = 0;

uint32_t evlogInitTraceBuffer(const char *name, uint32_t size, uint32_t /*flags*/) noexcept {
  if (!swplat::isBufferName(name) || size == 0) {
    return 0;
  }
  return swplat::resultOr(
      uint32_t{0}, [name, size] { return swplat::EventLog::instance().openBuffer(name, size); });
}

void evlogTraceLog(uint32_t handle, uint32_t level, const char *text, uint32_t length) noexcept {
  swplat::resultOr(0, [=] {
    swplat::TraceRing *const ring = swplat::EventLog::instance().buffer(handle);
    if (ring != nullptr && text != nullptr) {
      ring->write(level, std::string_view(text, length));
    }
    return 0;
  });
}

int32_t evlogRegisterComponent(uint32_t kind, void *descriptor, uint32_t *handle) noexcept {
  if ((kind != swplat::kComponentKind && kind != swplat::kTraceComponentKind) ||
      descriptor == nullptr || handle == nullptr) {
    return -1;
  }
  return swplat::resultOr(int32_t{-1}, [=] {
    *handle = swplat::EventLog::instance().addComponent(descriptor,
                                                        swplat::componentName(kind, descriptor));
    return 0;
  });
}

void evlogNotifyIncident(uint32_t handle, const char *file, uint32_t line, const char *function,
                         const char *format, ...) noexcept {
  std::array<char, swplat::kLongestIncident> message;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message.data(), message.size(), format, arguments);
  va_end(arguments);
  swplat::resultOr(0, [&] {
    const std::string place = std::string(file == nullptr ? "" : file) + ":" +
                              std::to_string(line) + " " + (function == nullptr ? "" : function);
    swplat::EventLog::instance().record(handle, place + ": " + message.data());
    return 0;
  });
}

}  // extern "C"
