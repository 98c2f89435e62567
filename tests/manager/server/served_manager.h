// A manager that serves packets, without sockets.
#ifndef TESTS_MANAGER_SERVER_SERVED_MANAGER_H
#define TESTS_MANAGER_SERVER_SERVED_MANAGER_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "manager/server/manager.h"
#include "tests/manager/request_bytes.h"
#include "tests/support/bytes.h"
#include "tests/support/failing_allocator.h"

namespace test_support {

// Connections that only remember, and tell the manager of a disconnection at once.
class RecordingConnections final : public aclmgr::Connections {
 public:
  bool send(std::uint32_t connection, std::span<const std::byte> packet) override {
    const AllocationExemption exemption;
    if (full) return false;
    sent[connection].emplace_back(packet.begin(), packet.end());
    return true;
  }
  void disconnect(std::uint32_t connection) noexcept override {
    const AllocationExemption exemption;
    closed.push_back(connection);
    manager->disconnected(connection);
  }

  aclmgr::Manager *manager = nullptr;
  bool full = false;
  std::map<std::uint32_t, std::vector<Bytes>> sent;
  std::vector<std::uint32_t> closed;
};

// The packet of requests that are bodies.
inline Bytes packetOf(const std::vector<Bytes> &bodies) {
  Bytes packet;
  for (const Bytes &body : bodies) {
    packet = join(packet, hex("1002"), bigEndian(body.size(), 2), body, Bytes(body.size() % 2));
  }
  return packet;
}

// A manager with its connections and what it tells people.
class ServedManager {
 public:
  ServedManager() { connections.manager = &manager; }

  // What people have been told so far.
  std::string notices() {
    EXPECT_EQ(std::fseek(file_.get(), 0, SEEK_SET), 0);
    std::string text;
    for (int character; (character = std::fgetc(file_.get())) != EOF;) {
      text += static_cast<char>(character);
    }
    return text;
  }
  void forgetNotices() {
    EXPECT_EQ(ftruncate(fileno(file_.get()), 0), 0);
    EXPECT_EQ(std::fseek(file_.get(), 0, SEEK_SET), 0);
  }

 private:
  struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };

  std::unique_ptr<std::FILE, CloseFile> file_{std::tmpfile()};
  aclmgr::RequestLog log_{nullptr, file_.get()};

 public:
  RecordingConnections connections;
  aclmgr::Manager manager{connections, log_};
};

}  // namespace test_support

#endif  // TESTS_MANAGER_SERVER_SERVED_MANAGER_H
