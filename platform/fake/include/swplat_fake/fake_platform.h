// The fake platform: what a test says to it and asks of it.
//
// Linking `swplat_fake` gives a program every function of platform/*.h. Each call is recorded with
// its arguments. Each function behaves as its header says on a small model of a switch that the
// test sets up (peers, served components, board facts, time), unless the test scripts its result.
//
// There are no threads and no clock here: callbacks and work items run on the test's thread inside
// the calls below that say so, with no lock held. Everything is protected by one mutex, so tested
// code may call from any thread.
//
//   using swplat_fake::fake;
//   fake().reset();                                  // in the fixture's SetUp()
//   fake().queueResults("msgbusSend", {-115, 40});   // full at first, then taken
//   ... run the tested code ...
//   EXPECT_THAT(fake().calls({"msgbusSend"}),
//               ElementsAre(Call::of("msgbusSend", 7, Argument::anything(), 0), ...));
//   EXPECT_TRUE(matchesGolden(fake().sentPackets()[0].bytes, "policy/add.golden"));
//   EXPECT_THAT(fake().violations(), IsEmpty());     // in TearDown()
//   EXPECT_EQ(fake().livePackets(), 0u);
#ifndef SWPLAT_FAKE_FAKE_PLATFORM_H
#define SWPLAT_FAKE_FAKE_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/board.h"
#include "platform/cliagent.h"
#include "platform/dirsvc.h"
#include "platform/dispatch.h"
#include "platform/evlog.h"
#include "platform/kvtree.h"
#include "platform/msgbus.h"
#include "platform/pktbuf.h"
#include "platform/process.h"
#include "platform/procmon.h"
#include "platform/tlv.h"
#include "swplat_fake/allocation_exemption.h"
#include "swplat_fake/call.h"

namespace swplat_fake {

using Bytes = std::vector<std::byte>;

// A packet that msgbusSend() accepted, empty ones included.
struct SentPacket {
  std::uint32_t peer;
  std::uint32_t flags;
  Bytes bytes;
};

// One TLV object of a sent packet, without header and padding.
struct SentObject {
  std::uint32_t peer;
  std::uint16_t type;
  Bytes value;
};

struct TraceLine {
  std::uint32_t handle;
  std::uint32_t level;
  std::string text;
  bool operator==(const TraceLine &) const = default;
};

struct Incident {
  std::uint32_t handle;
  std::string file;
  std::uint32_t line;
  std::string function;
  std::string text;
};

struct CliText {
  std::int32_t handle;
  std::string text;
  bool operator==(const CliText &) const = default;
};

struct ReportedState {
  std::string name;
  std::int32_t state;
  bool operator==(const ReportedState &) const = default;
};

// A work item that is still to run.
struct PendingWork {
  std::uint32_t id;
  DispatchRoutine routine;
  void *argument1;
  void *argument2;
  std::uint64_t dueIn;     // microseconds from now
  std::uint32_t runsLeft;  // 0: until cancelled
};

// One peer's options and their values, as set by msgbusSetPeerOption(), in order.
struct PeerOption {
  std::uint32_t option;
  std::uint32_t value;
  bool operator==(const PeerOption &) const = default;
};

class Platform {
 public:
  // Forgets everything: calls, scripts, peers, work, facts. Packets that the tested code still
  // holds stay usable and are no longer counted as live.
  void reset();

  // Forgets what was recorded (calls, sent packets, texts), and keeps the model and the scripts.
  void forgetCalls();

  // --- What was called -------------------------------------------------------------------------

  // The calls in order, those on other threads included. With `only`: the named functions; a name
  // may end in '*' ("msgbus*"). Arguments are recorded in the order of the declaration: numbers,
  // texts, pointers (null as nullptr), and these:
  //   a delay, a wait           "{1, 0}", "{0, 100, 0}"; null: nullptr
  //   dispatchAddClient         (service, name, slot, callback, context): fields of the record
  //   dirsvcGetEntryByAttr      (name, slot): fields of the key
  //   evlogTraceLog             (handle, level, text)
  //   evlogNotifyIncident       (handle, file, line, function, formatted text)
  //   Sprintf                   (format, formatted text)
  //   outputs (pointers that a function writes through) are left out, but msgbusRecv's packet
  std::vector<Call> calls(std::initializer_list<std::string_view> only = {}) const;
  std::vector<std::string> callNames(std::initializer_list<std::string_view> only = {}) const;

  // Misuse of the platform, in words: a packet freed twice, freed after it was accepted (but as the
  // thread's next packet or bus call, which is allowed), sent or trimmed when not owned; a delivery
  // nobody receives; work that never stops. Tests expect it to be empty.
  std::vector<std::string> violations() const;

  // --- What calls return -----------------------------------------------------------------------

  // The next calls of `function` return these, one each; after them it behaves as before. The call
  // then has the effects that belong to the result: a scripted failure changes nothing; a packet is
  // taken when msgbusSend() returns 0 or more, or MSGBUS_QUEUED. A null pointer is 0. Throws
  // std::invalid_argument for a name that is no function, or one whose results are not numbers or
  // packets.
  void queueResults(std::string_view function, std::initializer_list<std::int64_t> results);

  // All calls of `function` return this (when nothing is queued), until clearResult().
  void setResult(std::string_view function, std::int64_t result);
  void clearResult(std::string_view function);

  // Runs `hook` at the start of each call of `function`, on the caller's thread and with no lock
  // held, so that it may look at the tested code or queue an answer. Empty: no hook.
  void setHook(std::string_view function, std::function<void()> hook);

  // --- Packets ---------------------------------------------------------------------------------

  // Lets `successes` more pktbufAllocPacket() succeed, and no more after them.
  void failPacketAllocationsAfter(std::size_t successes);
  void allowPacketAllocations();

  // Packets that the tested code owns: allocated or delivered, and neither freed nor sent since.
  std::size_t livePackets() const;

  // --- Message bus -----------------------------------------------------------------------------

  std::vector<SentPacket> sentPackets() const;

  // The objects of all sent packets in order. A packet that is no row of whole objects gives a
  // violation.
  std::vector<SentObject> sentObjects() const;

  // Makes a connected peer that nobody is told about. Peers made by calls get ids from 1 up.
  void addPeer(std::uint32_t peer);

  // Connects the peer of the client that dispatchAddClient() registered for `component`, and runs
  // its callback with MSGBUS_EVENT_CONNECTED. 0: the fake chooses the id. Returns the id.
  std::uint32_t connectPeer(std::string_view component, std::uint32_t peer = 0);

  // Hands bytes to the receive callback of the peer's client, in a packet of exactly that size.
  void deliver(std::uint32_t peer, std::span<const std::byte> bytes);

  // The same with an event (negative length) and no packet.
  void deliverEvent(std::uint32_t peer, std::int32_t event);

  // Forgets the peer, then delivers MSGBUS_EVENT_DISCONNECTED for it.
  void losePeer(std::uint32_t peer);

  // Breaks or restores a peer's connection without telling anyone.
  void setConnected(std::uint32_t peer, bool connected);

  // Adds a message that a later msgbusRecv() of this peer takes.
  void queueReceive(std::uint32_t peer, std::span<const std::byte> bytes);

  // What msgbusGetVqStatsCount() says for the peer.
  void setQueueLength(std::uint32_t peer, std::int32_t length);

  std::vector<PeerOption> peerOptions(std::uint32_t peer) const;

  // Runs the control callback of the peer's client. Returns its result; 0 where there is none.
  std::int32_t controlEvent(std::uint32_t peer, std::int32_t code);

  // Serves a component from now on, so that the directory finds it and connecting succeeds.
  void serve(std::string_view component, std::uint32_t slot, std::uint64_t address,
             std::uint32_t port = 0);
  void stopServing(std::string_view component, std::uint32_t slot);

  // --- Dispatcher ------------------------------------------------------------------------------

  // The records that dispatchAddClient() registered.
  std::vector<DispatchClientRecord> clients() const;

  // Lets time pass and runs the work items that fall due, in order. Returns the number of runs.
  std::size_t advanceTime(std::uint32_t seconds, std::uint32_t microseconds = 0);

  // Runs the work items that are due already. Returns the number of runs.
  std::size_t runDueWork() { return advanceTime(0); }

  // In order of scheduling.
  std::vector<PendingWork> pendingWork() const;

  // --- Event log, CLI, process states ----------------------------------------------------------

  // Every line, also those for handles that no call gave out.
  std::vector<TraceLine> traceLines() const;
  std::vector<std::string> traceTexts() const;
  std::vector<Incident> incidents() const;
  std::vector<CliText> cliTexts() const;
  std::vector<ReportedState> reportedStates() const;  // procmonSetState()

  // --- Facts. After reset(): slot 1, chassis 1, platform 1, process "fake", all else 0
  // ------------

  void setSlot(std::uint32_t slot);
  void setChassis(std::uint32_t chassis);
  void setPlatformId(std::uint32_t platform);
  void setDaemonState(std::string_view name, std::int32_t state);  // boardGetProcessState()
  void setEgressCapable(std::uint32_t slot, bool capable);
  void setProcessName(std::string_view name);
};

// The fake platform of this program.
Platform &fake();

// Returns one TLV object as it travels: header, value and padding.
Bytes object(std::uint16_t type, std::span<const std::byte> value);

}  // namespace swplat_fake

#endif  // SWPLAT_FAKE_FAKE_PLATFORM_H
