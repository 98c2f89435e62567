#include "platform/tlv.h"

#include "platform/common/tlv_codec.h"

extern "C" {

void tlvInit(TlvBuilder *builder, void *area, uint32_t capacity) noexcept {
  swplat::tlv::init(*builder, area, capacity);
}

int32_t tlvAddObject(TlvBuilder *builder, const void *data, uint16_t type,
                     uint32_t length) noexcept {
  return swplat::tlv::addObject(*builder, data, type, length);
}

int32_t tlvGetObject(TlvBuilder *reader, uint16_t *type, uint16_t *length, void **value) noexcept {
  return swplat::tlv::getObject(*reader, *type, *length, *value);
}

}  // extern "C"
