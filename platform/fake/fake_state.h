// What the fake platform remembers, and how its functions record themselves.
#ifndef PLATFORM_FAKE_FAKE_STATE_H
#define PLATFORM_FAKE_FAKE_STATE_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "swplat_fake/fake_platform.h"

namespace swplat_fake {

enum class PacketState { kOwned, kAccepted, kFreed };

// A packet's header outlives its data: headers are never used twice between two resets, so that a
// second pktbufFree() is recognised.
struct Packet {
  PktBuf header;
  PacketState state;
  std::unique_ptr<std::uint8_t[]> block;
};

struct Peer {
  std::uint32_t client = 0;
  std::uint64_t address = 0;
  bool connected = false;
  std::int32_t queueLength = 0;
  std::deque<Bytes> toReceive;
  std::vector<PeerOption> options;
};

struct WorkItem {
  std::uint32_t id;
  DispatchRoutine routine;
  void *argument1;
  void *argument2;
  std::uint64_t delay;
  std::uint64_t due;
  std::uint32_t runsLeft;  // 0: until cancelled
};

struct ServedComponent {
  std::uint64_t address;
  std::uint32_t port;
};

// What reset() renews.
struct Model {
  std::vector<std::string> violations;
  std::map<std::string, std::deque<std::int64_t>, std::less<>> queuedResults;
  std::map<std::string, std::int64_t, std::less<>> fixedResults;
  std::map<std::string, std::function<void()>, std::less<>> hooks;

  std::map<const PktBuf *, std::unique_ptr<Packet>> packets;
  std::map<std::thread::id, const PktBuf *> justAccepted;
  std::optional<std::size_t> packetAllocationsLeft;

  std::uint32_t lastClient = 0;
  std::map<std::uint32_t, MsgbusControlCallback> controlCallbacks;
  std::uint32_t lastPeer = 0;
  std::map<std::uint32_t, Peer> peers;
  std::map<std::pair<std::string, std::uint32_t>, ServedComponent> served;

  std::vector<DispatchClientRecord> clients;
  std::uint64_t now = 0;  // microseconds
  std::uint32_t lastItem = 0;
  std::vector<WorkItem> work;

  std::uint32_t lastLogHandle = 0;
  std::map<std::string, std::uint32_t, std::less<>> traceBuffers;
  std::map<const void *, std::uint32_t> components;

  std::uint32_t slot = 1;
  std::uint32_t chassis = 1;
  std::uint32_t platform = 1;
  std::map<std::string, std::int32_t, std::less<>> daemonStates;
  std::set<std::uint32_t> egressCapableSlots;
};

// What forgetCalls() empties.
struct Record {
  std::vector<Call> calls;
  std::vector<SentPacket> sentPackets;
  std::vector<TraceLine> traceLines;
  std::vector<Incident> incidents;
  std::vector<CliText> cliTexts;
  std::vector<ReportedState> reportedStates;
};

struct State {
  std::mutex mutex;  // protects everything below
  Model model;
  Record record;
  // Packets that were still owned at a reset: their holders may use and free them later.
  std::map<const PktBuf *, std::unique_ptr<Packet>> strangers;
  // Process names are valid for the life of the process, so every one that was ever set is kept.
  std::set<std::string, std::less<>> processNames;
  const std::string *processName = nullptr;
};

State &state();

// Exclusive use of the state by one of the test's own calls.
class Access {
 public:
  Access() : lock_(state().mutex) {}
  Model &model() { return state().model; }
  Record &record() { return state().record; }
  void violation(std::string text) { model().violations.push_back(std::move(text)); }

 protected:
  explicit Access(std::defer_lock_t tag) : lock_(state().mutex, tag) {}
  // NOLINTBEGIN(misc-non-private-member-variables-in-classes): FunctionCall locks later
  AllocationExemption exemption_;
  std::unique_lock<std::mutex> lock_;
  // NOLINTEND(misc-non-private-member-variables-in-classes)
};

// The same by one call of a platform function: runs the function's hook, then locks and records.
class FunctionCall : public Access {
 public:
  template <typename... Arguments>
  explicit FunctionCall(const char *function, const Arguments &...arguments)
      : Access(std::defer_lock), function_(function) {
    runHook();
    lock_.lock();
    record().calls.push_back(Call::of(function, arguments...));
  }

  // Takes the scripted result of this call, if there is one.
  std::optional<std::int64_t> scripted();

  // The scripted result, or else `natural`.
  template <typename Result>
  Result resultOr(Result natural) {
    return static_cast<Result>(scripted().value_or(natural));
  }

 private:
  void runHook();

  const char *function_;
};

// Makes a packet that the tested code owns.
PktBuf *makePacket(Model &model, std::uint32_t length, std::uint32_t headroom,
                   std::uint32_t tailroom);

// The packet when the tested code owns it; else null, and a violation in the name of `function`.
Packet *ownedPacket(Access &access, const char *function, const PktBuf *packet);

// Ends the tested code's ownership: the data is freed, and the header shows nothing any more.
void retirePacket(Packet &packet, PacketState state);

// Lets packets go at a reset; those still owned become strangers.
void releasePackets(State &state);

// Forgets which packet the calling thread may still acknowledge.
void endAcknowledgement(Model &model);

// The event log's globals as they are at the start of a process.
void resetTraceComponent();

}  // namespace swplat_fake

#endif  // PLATFORM_FAKE_FAKE_STATE_H
