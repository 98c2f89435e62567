#include "tests/platform/host/test_client.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/dirsvc.h"
#include "platform/dispatch.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace host_test {
namespace {

// The dispatcher hands a 32-bit word to a callback: the number of the client.
std::mutex clientsMutex;
std::vector<DispatchedClient *> &clients() {
  static auto *const all = new std::vector<DispatchedClient *>;
  return *all;
}

std::mutex controlMutex;
std::vector<ControlEvent> &controls() {
  static auto *const all = new std::vector<ControlEvent>;
  return *all;
}

int32_t onControl(uint32_t peer, int32_t code) {
  const std::lock_guard<std::mutex> guard(controlMutex);
  controls().push_back({peer, code, std::this_thread::get_id()});
  return 0;
}

}  // namespace

PktBuf *packetOf(const std::string &text) {
  PktBuf *const packet = pktbufAllocPacket(static_cast<uint32_t>(text.size()), 32, 1);
  std::memcpy(packet->data, text.data(), text.size());
  return packet;
}

std::string textOf(const PktBuf &packet) {
  return {reinterpret_cast<const char *>(packet.data), packet.length};
}

int32_t sendText(uint32_t peer, const std::string &text) {
  PktBuf *const packet = packetOf(text);
  const int32_t result = msgbusSend(peer, packet, 0);
  if (result == MSGBUS_QUEUE_FULL || result == MSGBUS_ERROR) {
    pktbufFree(packet);
  }
  return result;
}

DispatchedClient &DispatchedClient::create(const std::string &component, Reaction reaction) {
  auto *const client = new DispatchedClient;
  client->reaction_ = std::move(reaction);
  DispatchClientRecord record = {};
  record.service = msgbusInitClient(1, nullptr, 0);
  component.copy(record.name, sizeof(record.name) - 1);
  record.slot = kSlot;
  record.callback = onReceive;
  {
    const std::lock_guard<std::mutex> guard(clientsMutex);
    record.context = static_cast<uint32_t>(clients().size());
    clients().push_back(client);
  }
  EXPECT_EQ(dispatchAddClient(&record, nullptr), 0);
  return *client;
}

std::vector<DispatchedClient::Event> DispatchedClient::events() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return events_;
}

std::vector<int32_t> DispatchedClient::lengths() {
  std::vector<int32_t> lengths;
  for (const Event &event : events()) {
    lengths.push_back(event.length);
  }
  return lengths;
}

bool DispatchedClient::waitForEvents(size_t count) {
  return waitUntil([&] { return events().size() >= count; });
}

uint32_t DispatchedClient::waitForConnection(size_t count) {
  uint32_t peer = 0;
  waitUntil([&] {
    size_t found = 0;
    for (const Event &event : events()) {
      if (event.length == MSGBUS_EVENT_CONNECTED) {
        peer = event.peer;
        ++found;
      }
    }
    return found >= count;
  });
  return peer;
}

std::thread::id DispatchedClient::thread() {
  const std::lock_guard<std::mutex> guard(mutex_);
  return thread_;
}

void DispatchedClient::onReceive(uint32_t /*service*/, void *context, uint32_t peer, PktBuf *packet,
                                 int32_t length) {
  DispatchedClient *self = nullptr;
  {
    const std::lock_guard<std::mutex> guard(clientsMutex);
    self = clients()[reinterpret_cast<uintptr_t>(context)];
  }
  const Event event{peer, length, packet == nullptr ? "" : textOf(*packet)};
  pktbufFree(packet);
  {
    const std::lock_guard<std::mutex> guard(self->mutex_);
    self->thread_ = std::this_thread::get_id();
    self->events_.push_back(event);
  }
  if (self->reaction_) {
    self->reaction_(*self, event);
  }
}

uint32_t controlledClient() {
  static const uint32_t client = msgbusInitClient(1, onControl, 0);
  return client;
}

std::vector<ControlEvent> controlEvents(uint32_t peer) {
  const std::lock_guard<std::mutex> guard(controlMutex);
  std::vector<ControlEvent> found;
  for (const ControlEvent &event : controls()) {
    if (event.peer == peer) {
      found.push_back(event);
    }
  }
  return found;
}

std::vector<int32_t> controlCodes(uint32_t peer) {
  std::vector<int32_t> codes;
  for (const ControlEvent &event : controlEvents(peer)) {
    codes.push_back(event.code);
  }
  return codes;
}

uint32_t registerPeer(const std::string &component) {
  DirsvcRecord key = {};
  component.copy(key.name, sizeof(key.name) - 1);
  key.slot = kSlot;
  DirsvcRecord result = {};
  EXPECT_EQ(dirsvcGetEntryByAttr(&key, &result), 0);
  uint32_t peer = 0;
  EXPECT_EQ(msgbusRegisterPeerByAddr(controlledClient(), result.address, &peer), 0);
  return peer;
}

std::string receiveText(uint32_t peer, uint32_t milliseconds) {
  PktBuf *const packet = pktbufAllocPacket(64, 28, 0);
  const uint32_t wait[3] = {0, milliseconds, 0};
  const int32_t result = msgbusRecv(peer, packet, wait, 0);
  const std::string text = result > 0 ? textOf(*packet) : "error " + std::to_string(result);
  pktbufFree(packet);
  return text;
}

}  // namespace host_test
