// Objects in packets: the code behind platform/tlv.h, whose comments are the contract.
#ifndef PLATFORM_COMMON_TLV_CODEC_H
#define PLATFORM_COMMON_TLV_CODEC_H

#include <cstdint>

#include "platform/tlv.h"

namespace swplat::tlv {

// tlvInit().
void init(TlvBuilder &builder, void *area, std::uint32_t capacity) noexcept;

// tlvAddObject(). A builder without an area takes nothing.
std::int32_t addObject(TlvBuilder &builder, const void *data, std::uint16_t type,
                       std::uint32_t length) noexcept;

// tlvGetObject().
std::int32_t getObject(TlvBuilder &reader, std::uint16_t &type, std::uint16_t &length,
                       void *&value) noexcept;

}  // namespace swplat::tlv

#endif  // PLATFORM_COMMON_TLV_CODEC_H
