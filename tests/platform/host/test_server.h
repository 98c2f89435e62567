// A server that records what it is told.
#ifndef TESTS_PLATFORM_HOST_TEST_SERVER_H
#define TESTS_PLATFORM_HOST_TEST_SERVER_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "swplat/server.h"

namespace host_test {

inline constexpr uint8_t kSlot = 1;

class TestServer {
 public:
  // Called on the server's thread for each packet, after it was recorded.
  using Answer = std::function<void(TestServer &, uint32_t connection, const std::string &packet)>;

  // Opens the component in slot 1. Nothing is accepted or read before start().
  explicit TestServer(const std::string &component, Answer answer = nullptr);
  ~TestServer() { close(); }
  TestServer(const TestServer &) = delete;
  TestServer &operator=(const TestServer &) = delete;

  // Runs the server on a thread until pause() or close().
  void start();
  void pause();
  void close();

  SwplatServer *get() { return server_; }
  int32_t send(uint32_t connection, const std::string &packet);

  // What was recorded so far.
  std::vector<uint32_t> connected();
  std::vector<uint32_t> disconnected();
  std::vector<std::string> received();
  SwplatCredentials lastCredentials();

  // Waits until so many clients have connected in all. Returns the latest one's number, 0 when that
  // does not happen within seconds.
  uint32_t waitForConnection(size_t count = 1);
  bool waitForPackets(size_t count);

 private:
  static void onConnected(void *context, uint32_t connection, const SwplatCredentials *credentials);
  static void onReceived(void *context, uint32_t connection, const uint8_t *data, uint32_t length);
  static void onDisconnected(void *context, uint32_t connection);

  Answer answer_;
  std::mutex mutex_;
  std::vector<uint32_t> connected_, disconnected_;
  std::vector<std::string> received_;
  SwplatCredentials credentials_ = {};
  SwplatServer *server_;
  std::thread thread_;
};

}  // namespace host_test

#endif  // TESTS_PLATFORM_HOST_TEST_SERVER_H
