// Bodies of requests, written by hand: every offset and width stands here as a number.
#ifndef TESTS_MANAGER_REQUEST_BYTES_H
#define TESTS_MANAGER_REQUEST_BYTES_H

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tests/support/bytes.h"

namespace test_support {

// `size` zero bytes.
inline Bytes zeros(std::size_t size) {
  return Bytes(size);
}

// A number as `width` big-endian bytes.
inline Bytes bigEndian(std::uint64_t value, std::size_t width) {
  Bytes bytes;
  for (std::size_t i = width; i > 0; --i) {
    bytes.push_back(static_cast<std::byte>(value >> (8 * (i - 1)) & 0xFF));
  }
  return bytes;
}

inline void putAt(Bytes &body, std::size_t offset, const Bytes &bytes) {
  if (offset + bytes.size() > body.size()) throw std::out_of_range("putAt");
  if (!bytes.empty()) std::memcpy(body.data() + offset, bytes.data(), bytes.size());
}

inline Bytes processInfoBody(std::string_view name) {
  Bytes body = zeros(628);
  putAt(body, 0, hex("2000"));
  putAt(body, 592, bytesOf(name));
  return body;
}

struct ChunkHead {
  std::uint16_t code = 0x2001;
  std::string_view name = "web";
  std::uint32_t total = 0;
  std::uint32_t offset = 0;
  std::uint16_t ruleCount = 0;
  std::uint16_t attribute = 0;
};

inline Bytes chunkBody(const ChunkHead &head, const Bytes &chunk) {
  Bytes body = zeros(652);
  putAt(body, 0, bigEndian(head.code, 2));
  putAt(body, 592, bytesOf(head.name));
  putAt(body, 628, bigEndian(head.total, 4));
  putAt(body, 632, bigEndian(chunk.size(), 4));
  putAt(body, 636, bigEndian(head.offset, 4));
  putAt(body, 640, bigEndian(head.ruleCount, 2));
  putAt(body, 642, bigEndian(head.attribute, 2));
  putAt(body, 648, hex("deadbeef"));  // the sender's address, of no use here
  return join(body, chunk);
}

// A whole policy in one chunk.
inline Bytes policyBody(std::uint16_t code, std::string_view name, const Bytes &rules,
                        std::uint16_t ruleCount) {
  return chunkBody({.code = code,
                    .name = name,
                    .total = static_cast<std::uint32_t>(rules.size()),
                    .ruleCount = ruleCount},
                   rules);
}

inline Bytes deleteBody(std::string_view name) {
  Bytes body = zeros(652);
  putAt(body, 0, hex("2002"));
  putAt(body, 592, bytesOf(name));
  return body;
}

inline Bytes bindingBody(std::uint16_t code, std::string_view name, std::uint32_t port,
                         std::uint32_t vlan, std::uint8_t flags = 0, std::uint8_t direction = 0) {
  Bytes body = zeros(2096);
  putAt(body, 0, bigEndian(code, 2));
  putAt(body, 608, bytesOf(name));
  putAt(body, 744, bigEndian(flags, 1));
  putAt(body, 748, bigEndian(port, 4));
  putAt(body, 2068, bigEndian(vlan, 4));
  putAt(body, 2072, bigEndian(direction, 1));
  return body;
}

inline Bytes modifyBody(std::string_view name, const Bytes &rules) {
  Bytes body = zeros(652);
  putAt(body, 0, hex("2006"));
  putAt(body, 592, bytesOf(name));
  putAt(body, 628, hex("00000001 00000002"));
  putAt(body, 641, hex("03"));
  putAt(body, 644, hex("00000004"));
  putAt(body, 648, bigEndian(rules.size(), 4));
  return join(body, rules);
}

// One encoded rule of entries in hex; the lengths are those of the entries.
inline Bytes encodedRule(std::string_view name, std::uint32_t id,
                         std::string_view conditionsHex = "", std::string_view actionsHex = "") {
  const Bytes conditions = hex(conditionsHex);
  const Bytes actions = hex(actionsHex);
  const std::size_t actionOffset = 48 + conditions.size();
  Bytes head = zeros(48);
  putAt(head, 0, bytesOf(name));
  putAt(head, 36, bigEndian(id, 4));
  putAt(head, 44, bigEndian(actionOffset << 10 | (actionOffset + actions.size()), 4));
  return join(head, conditions, actions);
}

}  // namespace test_support

#endif  // TESTS_MANAGER_REQUEST_BYTES_H
