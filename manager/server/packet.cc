#include "manager/server/packet.h"

#include <fmt/format.h>

#include <cstdint>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/tlv.h"

namespace aclmgr {
namespace {

constexpr std::size_t kObjectHeaderSize = 4;
constexpr std::size_t kCodeWidth = sizeof(std::uint16_t);

Refusal malformed(std::string reason) {
  return {Status::kInvalidMessage, std::move(reason)};
}

// The reader only reads, but the platform's type serves for writing too.
TlvBuilder readerOver(std::span<const std::byte> packet) {
  TlvBuilder reader;
  tlvInit(&reader, const_cast<std::byte *>(packet.data()),
          static_cast<std::uint32_t>(packet.size()));
  return reader;
}

std::size_t positionOf(const TlvBuilder &reader) {
  return static_cast<std::size_t>(reader.cursor - reader.start);
}

}  // namespace

Outcome<std::vector<std::span<const std::byte>>> requestsOf(std::span<const std::byte> packet) {
  std::vector<std::span<const std::byte>> requests;
  TlvBuilder reader = readerOver(packet);
  std::uint16_t type = 0;
  std::uint16_t length = 0;
  void *value = nullptr;
  while (tlvGetObject(&reader, &type, &length, &value) == 0) {
    if (type != acl::kTlvRequest) return malformed(fmt::format("object of type {:#06x}", type));
    if (length < kCodeWidth) return malformed(fmt::format("request of {} bytes", length));
    requests.emplace_back(static_cast<const std::byte *>(value), length);
  }
  if (positionOf(reader) != packet.size()) {
    return malformed(
        fmt::format("no whole object at byte {} of {}", positionOf(reader), packet.size()));
  }
  if (requests.empty()) return malformed("empty packet");
  return requests;
}

std::vector<std::byte> replyPacket(std::span<const std::byte> body) {
  std::vector<std::byte> packet(kObjectHeaderSize + body.size() + body.size() % 2);
  TlvBuilder builder;
  tlvInit(&builder, packet.data(), static_cast<std::uint32_t>(packet.size()));
  tlvAddObject(&builder, body.data(), acl::kTlvReply, static_cast<std::uint32_t>(body.size()));
  return packet;
}

}  // namespace aclmgr
