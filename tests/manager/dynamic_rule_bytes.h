// Bodies of requests about dynamic rules and meters, written by hand: every offset and width stands
// here as a number.
#ifndef TESTS_MANAGER_DYNAMIC_RULE_BYTES_H
#define TESTS_MANAGER_DYNAMIC_RULE_BYTES_H

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "tests/manager/request_bytes.h"

namespace test_support {

// 816 bytes that begin with a record; what lies behind it looks like no rule.
inline Bytes roomFor(const Bytes &record) {
  Bytes room(816, std::byte{0xEE});
  std::ranges::copy(record.begin(),
                    record.begin() + static_cast<std::ptrdiff_t>(
                                         std::min<std::size_t>(record.size(), room.size())),
                    room.begin());
  return room;
}

inline Bytes addRuleBody(std::string_view name, const Bytes &record, std::uint32_t appId = 3) {
  Bytes body = zeros(1456);
  putAt(body, 0, hex("3001"));
  putAt(body, 588, hex("0C0D0E0F"));  // context
  putAt(body, 592, bytesOf(name));
  putAt(body, 628, bigEndian(appId, 4));
  putAt(body, 632, hex("00000001"));
  putAt(body, 640, roomFor(record));
  return body;
}

inline Bytes deleteRuleBody(std::string_view name, std::uint32_t appId = 3) {
  Bytes body = zeros(1456);
  putAt(body, 0, hex("3002"));
  putAt(body, 592, bytesOf(name));
  putAt(body, 628, bigEndian(appId, 4));
  return body;
}

struct RuleBindingFields {
  std::uint16_t code = 0x3003;
  std::string_view name = "r";
  std::uint32_t port = 0x00030007;
  std::uint32_t vlan = 10;
  std::uint8_t direction = 1;
  std::string_view relativeName = "";
  std::int32_t priority = 0;
  std::uint16_t bindAttr = 0;
  std::uint32_t bindFlags = 0;
  std::uint32_t ruleFlags = 0;
  std::uint32_t appId = 3;
};

// What a single request fills.
inline Bytes ruleBindingBody(const RuleBindingFields &fields) {
  Bytes body = zeros(2096);
  putAt(body, 0, bigEndian(fields.code, 2));
  putAt(body, 16, bytesOf(fields.name));
  putAt(body, 588, hex("C00C1E01"));
  putAt(body, 600, bigEndian(fields.appId, 4));
  putAt(body, 604, bigEndian(fields.ruleFlags, 4));
  putAt(body, 608, bytesOf(fields.name));
  putAt(body, 641, bytesOf(fields.relativeName));
  putAt(body, 740, bigEndian(static_cast<std::uint32_t>(fields.priority), 4));
  putAt(body, 748, bigEndian(fields.port, 4));
  putAt(body, 2068, bigEndian(fields.vlan, 4));
  putAt(body, 2072, bigEndian(fields.direction, 1));
  putAt(body, 2084, bigEndian(fields.bindAttr, 2));
  putAt(body, 2088, bigEndian(fields.bindFlags, 4));
  putAt(body, 2092, hex("C00C1E01"));
  return body;
}

inline Bytes unbindRuleBody(std::string_view name, std::uint32_t policyFlag = 0) {
  Bytes body = zeros(640);
  putAt(body, 0, hex("300A"));
  putAt(body, 592, hex("1234"));  // the key
  putAt(body, 594, bytesOf(name));
  putAt(body, 628, bigEndian(policyFlag, 4));
  putAt(body, 634, hex("56"));  // the flag
  return body;
}

struct CounterFields {
  std::uint16_t code = 0x3010;
  std::string_view ruleName = "r";
  std::string_view counterName = "hits";
  std::uint32_t port = 0x00030007;
  std::uint32_t vlan = 10;
  std::uint8_t direction = 1;
  std::uint32_t appId = 3;
};

inline Bytes counterBody(const CounterFields &fields) {
  Bytes body = zeros(672);
  putAt(body, 0, bigEndian(fields.code, 2));
  putAt(body, 588, hex("0A0B0C0D"));  // context
  putAt(body, 592, bigEndian(fields.appId, 4));
  putAt(body, 596, bigEndian(fields.port, 4));
  putAt(body, 600, bigEndian(fields.vlan, 4));
  putAt(body, 604, bigEndian(fields.direction, 1));
  putAt(body, 605, bytesOf(fields.ruleName));
  putAt(body, 638, bytesOf(fields.counterName));
  return body;
}

// A count action with a counter of the name, as an entry in hex.
inline std::string countActionHex(std::string_view counterName) {
  Bytes entry = zeros(44);
  putAt(entry, 0, hex("000C 0028 0007"));  // number 7
  putAt(entry, 6, bytesOf(counterName));
  return hexText(entry);
}

// A rule that denies what comes from 10.0.0.1 and counts it.
inline Bytes countingRule(std::string_view counterName = "hits", std::uint32_t id = 0x0A0B) {
  return encodedRule("inner", id, "0000 0008 0A000001 FFFFFFFF",
                     "0002 0000" + countActionHex(counterName));
}

inline Bytes appRuleBody(std::uint16_t code, std::string_view name, std::uint32_t flags = 5,
                         std::uint32_t position = 2, std::string_view refName = "") {
  Bytes body = zeros(2096);
  putAt(body, 0, bigEndian(code, 2));
  putAt(body, 588, hex("0A0B0C0D"));  // cookie
  putAt(body, 600, bigEndian(flags, 4));
  putAt(body, 604, bigEndian(position, 4));
  putAt(body, 608, bytesOf(name));
  putAt(body, 641, bytesOf(refName));
  return body;
}

inline Bytes ruleValidityBody(std::string_view name, std::uint32_t policyFlag = 0) {
  Bytes body = zeros(640);
  putAt(body, 0, hex("3009"));
  putAt(body, 8, hex("00000009"));
  putAt(body, 588, hex("0A0B0C0D"));  // cookie
  putAt(body, 592, hex("1122"));      // argument
  putAt(body, 594, bytesOf(name));
  putAt(body, 628, bigEndian(policyFlag, 4));
  putAt(body, 632, hex("07 02 05 06 01"));  // attribute, two ports, egress
  return body;
}

// To create (0x3012) or delete (0x3014) a meter.
inline Bytes meterBody(std::uint16_t code, std::string_view name, std::uint32_t appId = 3,
                       std::uint32_t context = 9) {
  Bytes body = zeros(632);
  putAt(body, 0, bigEndian(code, 2));
  putAt(body, 588, bigEndian(context, 4));
  putAt(body, 592, bytesOf(name));
  putAt(body, 628, bigEndian(appId, 4));
  return body;
}

inline Bytes configMeterBody(std::string_view name, std::uint32_t appId = 3) {
  Bytes body = zeros(664);
  putAt(body, 0, hex("3013"));
  putAt(body, 8, hex("00000001"));
  putAt(body, 588, hex("00000009"));
  putAt(body, 592, bytesOf(name));
  putAt(body, 628, bigEndian(appId, 4));
  putAt(body, 632, hex("00000009"));
  putAt(body, 636, hex("00000001 00000002 00000003 00000004 00000005 00000006 00000007"));
  return body;
}

inline Bytes meterBindingBody(std::uint32_t subCode, std::string_view name,
                              std::uint8_t target = 0xFF) {
  Bytes body = zeros(632);
  putAt(body, 0, hex("3020"));
  putAt(body, 592, bigEndian(subCode, 4));
  putAt(body, 596, bigEndian(target, 1));
  putAt(body, 597, bytesOf(name));
  return body;
}

}  // namespace test_support

#endif  // TESTS_MANAGER_DYNAMIC_RULE_BYTES_H
