#include "tests/e2e/recording_manager.h"

#include <platform/board.h>

#include <stdexcept>
#include <utility>

namespace e2e {

RecordingManager::RecordingManager() {
  const SwplatServerHandlers handlers{onConnected, onReceived, onDisconnected};
  server_ = swplatServerOpen("acl", boardGetSlotSelf(), &handlers, this);
  if (server_ == nullptr) throw std::runtime_error("cannot serve the component acl");
  thread_ = std::thread([this] { swplatServerRun(server_); });
}

RecordingManager::~RecordingManager() {
  swplatServerStop(server_);
  thread_.join();
  swplatServerClose(server_);
}

// Takes the objects of a packet apart by hand: type and length, then the value, padded to even.
void RecordingManager::onReceived(void *self, std::uint32_t, const std::uint8_t *data,
                                  std::uint32_t length) {
  auto &manager = *static_cast<RecordingManager *>(self);
  const std::lock_guard guard(manager.lock_);
  std::uint32_t at = 0;
  while (at + 4 <= length) {
    const std::uint32_t size = std::uint32_t{data[at + 2]} << 8 | data[at + 3];
    if (data[at] != 0x10 || data[at + 1] != 0x02 || at + 4 + size > length) break;
    manager.bodies_.emplace_back(data + at + 4, data + at + 4 + size);
    at += 4 + size + size % 2;
  }
  if (at != length) manager.bodies_.emplace_back();  // an empty body marks a malformed packet
  manager.changed_.notify_all();
}

bool RecordingManager::waitFor(const std::function<bool(const std::vector<Body> &)> &done,
                               std::chrono::seconds limit) {
  std::unique_lock guard(lock_);
  return changed_.wait_for(guard, limit, [&] { return done(bodies_); });
}

std::vector<RecordingManager::Body> RecordingManager::bodies() {
  const std::lock_guard guard(lock_);
  return bodies_;
}

void RecordingManager::forget() {
  const std::lock_guard guard(lock_);
  bodies_.clear();
}

}  // namespace e2e
