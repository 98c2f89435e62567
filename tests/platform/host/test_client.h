// Clients of the message bus that record what they are told, and packets made of text.
#ifndef TESTS_PLATFORM_HOST_TEST_CLIENT_H
#define TESTS_PLATFORM_HOST_TEST_CLIENT_H

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/msgbus.h"
#include "platform/pktbuf.h"

namespace host_test {

// Returns a packet that holds a text.
PktBuf *packetOf(const std::string &text);

// Returns the text in a packet.
std::string textOf(const PktBuf &packet);

// Sends a text as a careful caller does: what is not taken is freed.
int32_t sendText(uint32_t peer, const std::string &text);

// A client registered with the dispatcher. As registrations last until the process ends, the object
// does too: it is made with `new` and left alone.
class DispatchedClient {
 public:
  struct Event {
    uint32_t peer;
    int32_t length;
    std::string packet;
  };
  // Called on the dispatcher's thread, after the event was recorded.
  using Reaction = std::function<void(DispatchedClient &, const Event &)>;

  static DispatchedClient &create(const std::string &component, Reaction reaction = nullptr);

  std::vector<Event> events();
  std::vector<int32_t> lengths();
  // Waits for so many events in all.
  bool waitForEvents(size_t count);
  // Waits for so many connections in all. Returns the latest peer's id, 0 when none comes.
  uint32_t waitForConnection(size_t count = 1);
  // The dispatcher's thread, once there was an event.
  std::thread::id thread();

 private:
  DispatchedClient() = default;
  static void onReceive(uint32_t service, void *context, uint32_t peer, PktBuf *packet,
                        int32_t length);

  Reaction reaction_;
  std::mutex mutex_;
  std::vector<Event> events_;
  std::thread::id thread_;
};

// Control codes delivered to the client `controlledClient()`, in order.
struct ControlEvent {
  uint32_t peer;
  int32_t code;
  std::thread::id thread;
};

// Returns a client whose control events are recorded for all tests together.
uint32_t controlledClient();

// Returns what was recorded for a peer.
std::vector<ControlEvent> controlEvents(uint32_t peer);
std::vector<int32_t> controlCodes(uint32_t peer);

// Makes a peer of controlledClient() for a component that is served now. Returns its id.
uint32_t registerPeer(const std::string &component);

// Receives one packet. Returns its text, or "error <result>".
std::string receiveText(uint32_t peer, uint32_t milliseconds);

}  // namespace host_test

#endif  // TESTS_PLATFORM_HOST_TEST_CLIENT_H
