// tlv.h and kvtree.h on the fake platform: the true ones, recorded.
#include "platform/common/balanced_tree.h"
#include "platform/common/tlv_codec.h"
#include "platform/fake/fake_state.h"

using swplat_fake::FunctionCall;

void tlvInit(TlvBuilder *builder, void *area, std::uint32_t capacity) noexcept {
  FunctionCall call("tlvInit", builder, area, capacity);
  swplat::tlv::init(*builder, area, capacity);
}

std::int32_t tlvAddObject(TlvBuilder *builder, const void *data, std::uint16_t type,
                          std::uint32_t length) noexcept {
  FunctionCall call("tlvAddObject", builder, data, type, length);
  if (const auto scripted = call.scripted(); scripted && *scripted != 0) {
    return static_cast<std::int32_t>(*scripted);
  }
  return swplat::tlv::addObject(*builder, data, type, length);
}

std::int32_t tlvGetObject(TlvBuilder *reader, std::uint16_t *type, std::uint16_t *length,
                          void **value) noexcept {
  FunctionCall call("tlvGetObject", reader);
  if (const auto scripted = call.scripted(); scripted && *scripted != 0) {
    return static_cast<std::int32_t>(*scripted);
  }
  return swplat::tlv::getObject(*reader, *type, *length, *value);
}

// The comparison is the tested code's and may call the platform: no lock is held around the trees,
// as their users bracket them.

std::int32_t kvtreeInsert(void *node, KvNode **root, KvCompare compare) noexcept {
  const auto scripted = FunctionCall("kvtreeInsert", node, root, compare).scripted();
  if (scripted && *scripted != 0) return static_cast<std::int32_t>(*scripted);
  return swplat::tree::insert(static_cast<KvNode *>(node), *root, compare);
}

std::int32_t kvtreeDelete(void *node, KvNode **root) noexcept {
  const auto scripted = FunctionCall("kvtreeDelete", node, root).scripted();
  if (scripted && *scripted != 0) return static_cast<std::int32_t>(*scripted);
  return swplat::tree::remove(static_cast<KvNode *>(node), *root);
}

void *kvtreeFirst(KvNode **root) noexcept {
  FunctionCall call("kvtreeFirst", root);
  return swplat::tree::first(*root);
}

void *kvtreeNext(const void *node) noexcept {
  FunctionCall call("kvtreeNext", node);
  return swplat::tree::next(static_cast<const KvNode *>(node));
}

void *findNode(const void *key, KvNode *root, KvCompare compare) noexcept {
  {
    FunctionCall call("findNode", key, root, compare);
  }
  return swplat::tree::find(key, root, compare);
}
