#include "tests/platform/host/test_server.h"

#include <gtest/gtest.h>

#include "tests/platform/host/test_directory.h"

namespace host_test {

TestServer::TestServer(const std::string &component, Answer answer) : answer_(std::move(answer)) {
  const SwplatServerHandlers handlers = {onConnected, onReceived, onDisconnected};
  server_ = swplatServerOpen(component.c_str(), kSlot, &handlers, this);
  EXPECT_NE(server_, nullptr);
}

void TestServer::start() {
  thread_ = std::thread([this] { EXPECT_EQ(swplatServerRun(server_), 0); });
}

void TestServer::pause() {
  if (thread_.joinable()) {
    swplatServerStop(server_);
    thread_.join();
  }
}

void TestServer::close() {
  pause();
  swplatServerClose(server_);
  server_ = nullptr;
}

int32_t TestServer::send(uint32_t connection, const std::string &packet) {
  return swplatServerSend(server_, connection, packet.data(), static_cast<uint32_t>(packet.size()));
}

std::vector<uint32_t> TestServer::connected() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return connected_;
}

std::vector<uint32_t> TestServer::disconnected() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return disconnected_;
}

std::vector<std::string> TestServer::received() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return received_;
}

SwplatCredentials TestServer::lastCredentials() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return credentials_;
}

uint32_t TestServer::waitForConnection(size_t count) {
  return waitUntil([&] { return connected().size() >= count; }) ? connected().back() : 0;
}

bool TestServer::waitForPackets(size_t count) {
  return waitUntil([&] { return received().size() >= count; });
}

void TestServer::onConnected(void *context, uint32_t connection,
                             const SwplatCredentials *credentials) {
  auto *const self = static_cast<TestServer *>(context);
  const std::lock_guard<std::mutex> guard(self->mutex_);
  self->connected_.push_back(connection);
  self->credentials_ = *credentials;
}

void TestServer::onReceived(void *context, uint32_t connection, const uint8_t *data,
                            uint32_t length) {
  auto *const self = static_cast<TestServer *>(context);
  const std::string packet(reinterpret_cast<const char *>(data), length);
  {
    const std::lock_guard<std::mutex> guard(self->mutex_);
    self->received_.push_back(packet);
  }
  if (self->answer_) {
    self->answer_(*self, connection, packet);
  }
}

void TestServer::onDisconnected(void *context, uint32_t connection) {
  auto *const self = static_cast<TestServer *>(context);
  const std::lock_guard<std::mutex> guard(self->mutex_);
  self->disconnected_.push_back(connection);
}

}  // namespace host_test
