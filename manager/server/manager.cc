#include "manager/server/manager.h"

#include <fmt/format.h>

#include <exception>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/transport/message_codes.h"
#include "manager/server/packet.h"

namespace aclmgr {
namespace {

// A request that the manager has no memory for is refused like any other.
std::optional<Answer> carryOut(const Handler &handler, ManagerState &state, const Request &request,
                               RequestText &text) {
  try {
    return handler.handle(state, request, text);
  } catch (const std::bad_alloc &) {
    return Answer{Status::kNoMemory, ""};
  }
}

}  // namespace

void Manager::connected(std::uint32_t connection, Peer peer) noexcept {
  try {
    state_.peers.add(connection, std::move(peer));
  } catch (const std::exception &) {
    closeWithoutMemory(connection);
  }
}

void Manager::received(std::uint32_t connection, std::span<const std::byte> packet) noexcept {
  try {
    serve(connection, packet);
  } catch (const std::exception &) {  // not even a refusal can be answered
    closeWithoutMemory(connection);
  }
}

void Manager::disconnected(std::uint32_t connection) noexcept {
  state_.assembler.dropConnection(connection);
  state_.peers.remove(connection);
}

void Manager::serve(std::uint32_t connection, std::span<const std::byte> packet) {
  const auto requests = requestsOf(packet);
  if (!requests) return close(connection, "malformed packet: " + requests.refusal().reason);
  const std::vector<std::span<const std::byte>> &bodies = requests.value();
  ApplyRound round(bodies);
  bool takesAnswers = true;
  for (std::size_t i = 0; takesAnswers && i < bodies.size(); ++i) {
    const auto code = acl::loadBig<std::uint16_t>(bodies[i].data() + acl::kCodeOffset);
    takesAnswers = serveRequest(
        {connection, code, bodies[i], log_.showsRequests(), round.isSuperseded(i)}, round);
  }
  if (!takesAnswers || !sendReply(connection, round.finish())) {
    close(connection, "it does not take its answers");
  }
}

bool Manager::serveRequest(const Request &request, ApplyRound &round) {
  const Handler &handler = handlerOf(request.code);
  RequestText text;
  std::optional<Answer> answer = carryOut(handler, state_, request, text);
  log_.request(peerText(request.connection, state_.peers.find(request.connection)),
               handler.codeName, text, answer);
  if (!answer) return sendReply(request.connection, round.finish());
  if (round.extend(request, answer->status)) return true;
  if (!sendReply(request.connection, round.finish())) return false;
  if (round.begin(request, answer->status)) return true;
  if (answer->reply.empty()) answer->reply = handler.makeReply(request.body, answer->status);
  return sendReply(request.connection, answer->reply);
}

bool Manager::sendReply(std::uint32_t connection,
                        const std::optional<std::vector<std::byte>> &body) {
  return !body || connections_.send(connection, replyPacket(*body));
}

void Manager::close(std::uint32_t connection, std::string_view reason) {
  log_.notice(
      fmt::format("closed {}: {}", peerText(connection, state_.peers.find(connection)), reason));
  connections_.disconnect(connection);
}

void Manager::closeWithoutMemory(std::uint32_t connection) noexcept {
  log_.noticeWithoutMemory("closed a connection: out of memory");
  connections_.disconnect(connection);
}

}  // namespace aclmgr
