// aclmgrd: the ACL manager as a daemon. docs/manager.md describes its use.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "manager/server/manager.h"
#include "platform/board.h"
#include "swplat/server.h"

namespace {

constexpr const char *kComponent = "acl";
constexpr std::int32_t kServingState = 9;  // clients wait for this state of the manager
constexpr std::uint32_t kLargestSlot = 255;

enum ExitStatus { kStopped = 0, kCannotServe = 1, kBadArguments = 2 };

struct Options {
  std::uint32_t slot = 0;
  bool verbose = false;
};

struct ServerClose {
  void operator()(SwplatServer *server) const { swplatServerClose(server); }
};
using ServerOwner = std::unique_ptr<SwplatServer, ServerClose>;

// A signal handler reaches nothing but globals: the server that is to be stopped.
std::atomic<SwplatServer *> serverToStop{nullptr};
static_assert(std::atomic<SwplatServer *>::is_always_lock_free);

extern "C" void stopServer(int) {
  SwplatServer *server = serverToStop.load();
  if (server != nullptr) swplatServerStop(server);
}

// A terminal that closes ends the manager as cleanly as whoever stops it.
constexpr int kStopSignals[] = {SIGTERM, SIGINT, SIGHUP};

// how: SIG_BLOCK or SIG_UNBLOCK.
void maskStopSignals(int how) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : kStopSignals) sigaddset(&signals, signal);
  pthread_sigmask(how, &signals, nullptr);
}

void handleStopSignals(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  for (const int signal : kStopSignals) sigaction(signal, &action, nullptr);
}

// While it lives, those signals stop a server, also those that came since the program began
// and blocked them. Afterwards they are ignored, as the program is ending.
class StopBySignal {
 public:
  explicit StopBySignal(SwplatServer &server) {
    serverToStop = &server;
    handleStopSignals(stopServer);
    maskStopSignals(SIG_UNBLOCK);
  }
  ~StopBySignal() {
    handleStopSignals(SIG_IGN);
    serverToStop = nullptr;
  }
  StopBySignal(const StopBySignal &) = delete;
  StopBySignal &operator=(const StopBySignal &) = delete;
};

// The manager over the host platform's server.
class Daemon final : public aclmgr::Connections {
 public:
  explicit Daemon(aclmgr::RequestLog &log) : manager_(*this, log) {}

  // Takes the component; signals stop the daemon from then on. Returns false with errno set when it
  // cannot be served.
  bool open(std::uint32_t slot) {
    constexpr SwplatServerHandlers handlers = {
        .connected =
            [](void *self, std::uint32_t connection, const SwplatCredentials *credentials) {
              static_cast<Daemon *>(self)->manager_.connected(
                  connection, {credentials->pid, credentials->uid, credentials->gid, ""});
            },
        .received =
            [](void *self, std::uint32_t connection, const std::uint8_t *data,
               std::uint32_t length) {
              static_cast<Daemon *>(self)->manager_.received(
                  connection, std::as_bytes(std::span(data, length)));
            },
        .disconnected =
            [](void *self, std::uint32_t connection) {
              static_cast<Daemon *>(self)->manager_.disconnected(connection);
            }};
    server_.reset(swplatServerOpen(kComponent, slot, &handlers, this));
    if (server_ != nullptr) stopBySignal_.emplace(*server_);
    return server_ != nullptr;
  }

  // Runs until a signal stops it. Returns false with errno set when it cannot go on.
  bool run() { return swplatServerRun(server_.get()) == 0; }

  bool send(std::uint32_t connection, std::span<const std::byte> packet) override {
    constexpr std::int32_t kQueued = -116;
    const std::int32_t result = swplatServerSend(server_.get(), connection, packet.data(),
                                                 static_cast<std::uint32_t>(packet.size()));
    return result >= 0 || result == kQueued;
  }

  void disconnect(std::uint32_t connection) noexcept override {
    swplatServerDisconnect(server_.get(), connection);
  }

 private:
  aclmgr::Manager manager_;
  ServerOwner server_;  // behind the manager, since closing it may still call the handlers
  std::optional<StopBySignal> stopBySignal_;  // behind the server, which it may stop
};

// Tells what could not be done and why.
int cannotServe(aclmgr::RequestLog &log, const std::string &what) {
  log.notice(fmt::format("cannot {}: {}", what, std::strerror(errno)));
  return kCannotServe;
}

int serve(const Options &options) {
  aclmgr::RequestLog log(options.verbose ? stdout : nullptr, stderr);
  Daemon daemon(log);
  const std::string place = fmt::format("slot {} in {}", options.slot, swplatRuntimeDirectory());
  if (!daemon.open(options.slot)) {
    if (errno != EADDRINUSE) return cannotServe(log, "serve " + place);
    log.notice("another ACL manager already serves " + place);
    return kCannotServe;
  }
  if (swplatPublishProcessState(kComponent, kServingState) != 0) {
    if (errno != EBUSY) return cannotServe(log, "publish the process state");
    log.notice(
        fmt::format("another manager publishes its state in {}: each slot needs a SWPLAT_DIR "
                    "of its own",
                    swplatRuntimeDirectory()));
    return kCannotServe;
  }
  log.notice("serving " + place);
  if (!daemon.run()) return cannotServe(log, "go on serving");
  swplatPublishProcessState(kComponent, 0);
  log.notice("stopped");
  return kStopped;
}

int parseAndServe(int argumentCount, char **arguments) {
  CLI::App app{"Serves the access-control lists of one slot of the switch."};
  Options options{.slot = boardGetSlotSelf()};
  app.set_version_flag("--version", "aclmgrd " ACLMGR_VERSION);
  app.add_option("--slot", options.slot, "slot to serve; this board's own when not given")
      ->check(CLI::Range(0U, kLargestSlot));
  app.add_flag("--verbose", options.verbose, "show every request on standard output");
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError &error) {
    return app.exit(error) == 0 ? kStopped : kBadArguments;
  }
  return serve(options);
}

}  // namespace

int main(int argumentCount, char **arguments) {
  // Until there is something to stop: whoever sees the manager serve may already end it.
  maskStopSignals(SIG_BLOCK);
  // A reader of the log that goes away must not take the manager with it.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return parseAndServe(argumentCount, arguments);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "aclmgrd: %s\n", error.what());
    return kCannotServe;
  }
}
