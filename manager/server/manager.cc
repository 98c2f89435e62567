#include "manager/server/manager.h"

#include <fmt/format.h>

#include <algorithm>
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
CarriedOut carryOut(ManagerState &state, const Request &request) {
  CarriedOut done{&handlerOf(request.code), request, {}, {}};
  try {
    done.answer = done.handler->handle(state, request, done.text);
  } catch (const std::bad_alloc &) {
    done.answer = Answer{Status::kNoMemory, ""};
  }
  return done;
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
  state_.dynamicRules.uninstallAllOf(connection);
  state_.peers.remove(connection);
}

void Manager::serve(std::uint32_t connection, std::span<const std::byte> packet) {
  const auto requests = requestsOf(packet);
  if (!requests) return close(connection, "malformed packet: " + requests.refusal().reason);
  std::vector<CarriedOut> round;
  bool takesAnswers = true;
  for (const std::span<const std::byte> body : requests.value()) {
    const auto code = acl::loadBig<std::uint16_t>(body.data() + acl::kCodeOffset);
    const Request request{connection, code, body, log_.showsRequests()};
    if (isAnsweredInRounds(code)) {
      round.push_back(carryOut(state_, request));
      continue;
    }
    takesAnswers = finishRound(connection, round) && serveAlone(request);
    if (!takesAnswers) break;
  }
  if (!takesAnswers || !finishRound(connection, round)) {
    close(connection, "it does not take its answers");
  }
}

bool Manager::serveAlone(const Request &request) {
  const CarriedOut done = carryOut(state_, request);
  show(done);
  if (!done.answer) return true;
  if (!done.answer->reply.empty()) return sendReply(request.connection, done.answer->reply);
  return sendReply(request.connection, done.handler->makeReply(request.body, done.answer->status));
}

bool Manager::finishRound(std::uint32_t connection, std::vector<CarriedOut> &round) {
  const std::vector<std::vector<std::byte>> replies = answerRound(round);
  for (const CarriedOut &done : round) show(done);
  round.clear();
  return std::ranges::all_of(replies,
                             [&](const auto &reply) { return sendReply(connection, reply); });
}

void Manager::show(const CarriedOut &done) {
  const std::uint32_t connection = done.request.connection;
  log_.request(peerText(connection, state_.peers.find(connection)), done.handler->codeName,
               done.text, done.answer);
}

bool Manager::sendReply(std::uint32_t connection, std::span<const std::byte> body) {
  return connections_.send(connection, replyPacket(body));
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
