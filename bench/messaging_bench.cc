// Sending requests to another process: the library on the host platform against raw SEQPACKET
// sockets that do the same work.
//
// Three shapes: 1460-byte objects, 5 to a packet; the same, 1 to a packet; and a round trip of 632
// bytes. Both ways assemble the same bytes (a 4-byte header and the body, copied into the packet)
// and have a receiving process of their own. The receivers are forked before anything else starts.
//
// Raw round trips come in two kinds: a server that blocks in recv() on its only client, and one
// that waits with epoll for any of its clients, as every server of many clients does.
//
// Where processes run is fixed: what is only received, on another processor than the sender; round
// trips, on the sender's own, where they measure the work done and not how long an idle processor
// takes to wake up.
#include <acl_lib.h>
#include <benchmark/benchmark.h>
#include <platform/dirsvc.h>
#include <platform/msgbus.h>
#include <sched.h>
#include <signal.h>
#include <swplat/server.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::uint16_t kRequestType = 0x1002;
constexpr std::size_t kObjectHeader = 4;
constexpr std::size_t kBodySize = 1456;
constexpr std::size_t kObjectSize = kObjectHeader + kBodySize;  // 1460
constexpr std::size_t kPacketSize = 8128;
constexpr std::size_t kRoundTripSize = 632;
constexpr std::uint32_t kSlot = 1;
constexpr int kSocketBuffer = 1 << 20;  // what the host platform asks for
// Packets that may wait before the sender lets the receiver catch up, as raw sends do by blocking.
constexpr int kQueuedAtMost = 64;
constexpr int kPacketsBetweenLooks = 16;

constexpr int kSenderProcessor = 0;
constexpr int kReceiverProcessor = 1;

void runOn(int processor) {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(processor, &processors);
  sched_setaffinity(0, sizeof(processors), &processors);
}

// A child process that runs `body` until it is killed.
class Child {
 public:
  template <typename Body>
  Child(int processor, Body body) : pid_(fork()) {
    if (pid_ == 0) {
      runOn(processor);
      body();
      _exit(0);
    }
  }
  Child(const Child &) = delete;
  Child &operator=(const Child &) = delete;
  ~Child() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }

 private:
  pid_t pid_;
};

struct RawPair {
  RawPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    here = ends[0];
    there = ends[1];
    for (const int end : ends) {
      if (setsockopt(end, SOL_SOCKET, SO_SNDBUFFORCE, &kSocketBuffer, sizeof(kSocketBuffer)) != 0) {
        setsockopt(end, SOL_SOCKET, SO_SNDBUF, &kSocketBuffer, sizeof(kSocketBuffer));
      }
    }
  }
  int here;
  int there;
};

RawPair *rawSink;
RawPair *rawEcho;
RawPair *rawEpollEcho;
std::uint32_t echoPeer;

void swallowRaw(int socket) {
  std::vector<char> buffer(kPacketSize);
  while (recv(socket, buffer.data(), buffer.size(), 0) > 0) {
  }
}

void echoRaw(int socket) {
  std::vector<char> buffer(kPacketSize);
  for (;;) {
    const ssize_t length = recv(socket, buffer.data(), buffer.size(), 0);
    if (length <= 0) return;
    if (send(socket, buffer.data(), static_cast<std::size_t>(length), 0) != length) return;
  }
}

void echoRawWithEpoll(int socket) {
  std::vector<char> buffer(kPacketSize);
  const int epoll = epoll_create1(EPOLL_CLOEXEC);
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  epoll_ctl(epoll, EPOLL_CTL_ADD, socket, &wanted);
  for (epoll_event event; epoll_wait(epoll, &event, 1, -1) == 1;) {
    const ssize_t length = recv(socket, buffer.data(), buffer.size(), 0);
    if (length <= 0) return;
    if (send(socket, buffer.data(), static_cast<std::size_t>(length), 0) != length) return;
  }
}

SwplatServer *server;  // of a serving child

void ignoreConnection(void *, std::uint32_t, const SwplatCredentials *) {}
void ignoreLoss(void *, std::uint32_t) {}
void swallowPacket(void *, std::uint32_t, const std::uint8_t *, std::uint32_t) {}
void echoPacket(void *, std::uint32_t connection, const std::uint8_t *data, std::uint32_t length) {
  swplatServerSend(server, connection, data, length);
}

void serve(const char *component,
           void (*received)(void *, std::uint32_t, const std::uint8_t *, std::uint32_t)) {
  const SwplatServerHandlers handlers{ignoreConnection, received, ignoreLoss};
  server = swplatServerOpen(component, kSlot, &handlers, nullptr);
  if (server == nullptr) {
    std::perror(component);
    std::abort();
  }
  swplatServerRun(server);
}

void appendRaw(std::uint8_t *packet, std::size_t index, const std::uint8_t *body) {
  std::uint8_t *object = packet + index * kObjectSize;
  const std::array<std::uint8_t, kObjectHeader> header{0x10, 0x02, kBodySize >> 8,
                                                       kBodySize & 0xFF};
  std::memcpy(object, header.data(), header.size());
  std::memcpy(object + kObjectHeader, body, kBodySize);
}

void rawSend(benchmark::State &state) {
  const auto objects = static_cast<std::size_t>(state.range(0));
  std::vector<std::uint8_t> body(kBodySize, 0x5A);
  std::vector<std::uint8_t> packet(kPacketSize);
  for (auto _ : state) {
    benchmark::DoNotOptimize(body.data());
    for (std::size_t i = 0; i < objects; ++i) appendRaw(packet.data(), i, body.data());
    if (send(rawSink->here, packet.data(), objects * kObjectSize, 0) < 0) {
      state.SkipWithError("raw send failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void waitForReceiver() {
  if (aclLibPeerIdCurrentQueueSize() <= kQueuedAtMost) return;
  while (aclLibPeerIdCurrentQueueSize() > kQueuedAtMost / 2) std::this_thread::yield();
}

void librarySend(benchmark::State &state) {
  const auto objects = state.range(0);
  std::vector<std::uint8_t> body(kBodySize, 0x5A);
  int packets = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(body.data());
    for (std::int64_t i = 1; i <= objects; ++i) {
      if (aclLibSendMsg2(kRequestType, body.data(), kBodySize, i == objects) != 0) {
        state.SkipWithError("library send failed");
        break;
      }
    }
    if (++packets % kPacketsBetweenLooks == 0) waitForReceiver();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void roundTripOver(const RawPair &pair, benchmark::State &state) {
  std::vector<std::uint8_t> body(kRoundTripSize, 0x5A);
  std::vector<std::uint8_t> packet(kPacketSize);
  const std::array<std::uint8_t, kObjectHeader> header{0x10, 0x02, kRoundTripSize >> 8,
                                                       kRoundTripSize & 0xFF};
  for (auto _ : state) {
    std::memcpy(packet.data(), header.data(), header.size());
    std::memcpy(packet.data() + kObjectHeader, body.data(), kRoundTripSize);
    if (send(pair.here, packet.data(), kObjectHeader + kRoundTripSize, 0) < 0 ||
        recv(pair.here, packet.data(), packet.size(), 0) < 0) {
      state.SkipWithError("raw round trip failed");
      break;
    }
    std::memcpy(body.data(), packet.data() + kObjectHeader, kRoundTripSize);
  }
}

void rawRoundTrip(benchmark::State &state) {
  roundTripOver(*rawEcho, state);
}
void rawEpollRoundTrip(benchmark::State &state) {
  roundTripOver(*rawEpollEcho, state);
}

bool exchange(std::uint8_t *body) {
  constexpr std::uint32_t kWait[3] = {1, 0, 0};
  PktBuf *request = pktbufAllocPacket(kObjectHeader + kRoundTripSize, 32, 1);
  TlvBuilder builder;
  tlvInit(&builder, request->data, kObjectHeader + kRoundTripSize);
  tlvAddObject(&builder, body, kRequestType, kRoundTripSize);
  const std::int32_t sent = msgbusSend(echoPeer, request, 0);
  pktbufFree(request);
  if (sent < 0) return false;
  PktBuf *answer = pktbufAllocPacket(kRoundTripSize + 32, 28, 0);
  const std::int32_t length = msgbusRecv(echoPeer, answer, kWait, 0);
  bool good = false;
  if (length > 0) {
    std::uint16_t type = 0;
    std::uint16_t valueLength = 0;
    void *value = nullptr;
    tlvInit(&builder, answer->data, static_cast<std::uint32_t>(length));
    good = tlvGetObject(&builder, &type, &valueLength, &value) == 0;
    if (good) std::memcpy(body, value, kRoundTripSize);
  }
  pktbufFree(answer);
  return good;
}

void libraryRoundTrip(benchmark::State &state) {
  std::vector<std::uint8_t> body(kRoundTripSize, 0x5A);
  for (auto _ : state) {
    if (!exchange(body.data())) {
      state.SkipWithError("round trip failed");
      break;
    }
  }
}

bool connectEcho() {
  const std::uint32_t client = msgbusInitClient(1, nullptr, 0);
  DirsvcRecord key{};
  DirsvcRecord found{};
  std::strcpy(key.name, "echo");
  key.slot = kSlot;
  for (int tries = 0; tries < 500; ++tries) {
    if (dirsvcGetEntryByAttr(&key, &found) == 0 &&
        msgbusRegisterPeerByAddr(client, found.address, &echoPeer) == 0) {
      return msgbusConnectToPeer(echoPeer, 0) == 0;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

bool connectLibrary() {
  if (aclLibConnect(nullptr) != 0) return false;
  for (int tries = 0; tries < 500; ++tries) {
    if (aclLibSendProcessInfo("messaging_bench") == 0) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

BENCHMARK(rawSend)->Arg(5)->UseRealTime();
BENCHMARK(librarySend)->Arg(5)->UseRealTime();
BENCHMARK(rawSend)->Arg(1)->UseRealTime();
BENCHMARK(librarySend)->Arg(1)->UseRealTime();
BENCHMARK(rawRoundTrip)->UseRealTime();
BENCHMARK(rawEpollRoundTrip)->UseRealTime();
BENCHMARK(libraryRoundTrip)->UseRealTime();

}  // namespace

int main(int argc, char **argv) {
  std::string directory = std::filesystem::temp_directory_path() / "messaging_bench.XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) return 1;
  setenv("SWPLAT_DIR", directory.c_str(), 1);
  setenv("SWPLAT_SLOT", std::to_string(kSlot).c_str(), 1);

  RawPair sink;
  RawPair echo;
  RawPair epollEcho;
  rawSink = &sink;
  rawEcho = &echo;
  rawEpollEcho = &epollEcho;
  {
    const Child rawSinkChild(kReceiverProcessor, [&] { swallowRaw(sink.there); });
    const Child rawEchoChild(kSenderProcessor, [&] { echoRaw(echo.there); });
    const Child rawEpollChild(kSenderProcessor, [&] { echoRawWithEpoll(epollEcho.there); });
    const Child sinkChild(kReceiverProcessor, [] { serve("acl", swallowPacket); });
    const Child echoChild(kSenderProcessor, [] { serve("echo", echoPacket); });
    if (connectLibrary() && connectEcho()) {
      runOn(kSenderProcessor);  // this thread only; the dispatcher's runs where there is room
      benchmark::Initialize(&argc, argv);
      benchmark::RunSpecifiedBenchmarks();
    } else {
      std::fprintf(stderr, "messaging_bench: the receivers cannot be reached\n");
    }
  }
  std::filesystem::remove_all(directory);
  return 0;
}
