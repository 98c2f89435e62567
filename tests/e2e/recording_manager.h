// Stands in for the ACL manager inside the test's process: serves the component "acl" over real
// sockets and keeps what arrives, byte by byte.
#ifndef TESTS_E2E_RECORDING_MANAGER_H
#define TESTS_E2E_RECORDING_MANAGER_H

#include <swplat/server.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace e2e {

class RecordingManager {
 public:
  using Body = std::vector<std::uint8_t>;

  RecordingManager();   // serves from now on
  ~RecordingManager();  // every connection is closed
  RecordingManager(const RecordingManager &) = delete;
  RecordingManager &operator=(const RecordingManager &) = delete;

  // Waits until `done` is true of the bodies of the requests received so far.
  bool waitFor(const std::function<bool(const std::vector<Body> &)> &done,
               std::chrono::seconds limit = std::chrono::seconds(60));
  std::vector<Body> bodies();
  void forget();

 private:
  static void onConnected(void *, std::uint32_t, const SwplatCredentials *) {}
  static void onReceived(void *self, std::uint32_t connection, const std::uint8_t *data,
                         std::uint32_t length);
  static void onDisconnected(void *, std::uint32_t) {}

  std::mutex lock_;
  std::condition_variable changed_;
  std::vector<Body> bodies_;
  SwplatServer *server_;
  std::thread thread_;
};

}  // namespace e2e

#endif  // TESTS_E2E_RECORDING_MANAGER_H
