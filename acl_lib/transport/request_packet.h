// How requests lie in packets: as TLV objects.
#ifndef ACL_LIB_TRANSPORT_REQUEST_PACKET_H
#define ACL_LIB_TRANSPORT_REQUEST_PACKET_H

#include <concepts>
#include <cstdint>

namespace acl {

// Arguments of pktbufAllocPacket() for a packet of requests: headroom, direction.
inline constexpr std::uint32_t kSendHeadroom = 32;
inline constexpr std::uint32_t kPacketToSend = 1;

inline constexpr std::uint8_t kTlvHeaderSize = 4;

// Bytes that an object's value takes: values are padded to an even length. `Length` has room for
// the result.
template <std::integral Length>
constexpr Length tlvValueSize(Length length) noexcept {
  return (length + 1) & ~Length{1};
}

// Bytes that an object takes: its header and its value.
template <std::integral Length>
constexpr Length tlvObjectSize(Length length) noexcept {
  return kTlvHeaderSize + tlvValueSize(length);
}

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_REQUEST_PACKET_H
