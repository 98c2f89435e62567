// Bodies of requests about application policies, slices and whole clients, written by hand: every
// offset and width stands here as a number.
#ifndef TESTS_MANAGER_APP_POLICY_BYTES_H
#define TESTS_MANAGER_APP_POLICY_BYTES_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "tests/manager/request_bytes.h"

namespace test_support {

struct AppPolicyFields {
  std::uint16_t code = 0x300B;
  std::uint32_t seqNo = 1;
  std::uint8_t appId = 5;
  std::uint8_t kind = 2;
  std::uint32_t tag = 0x11121314;
  std::uint32_t word3 = 0x21222324;
  std::vector<std::string_view> rules = {"r"};
  std::uint32_t firstAttribute = 100;  // of the first rule, and one more of each next one
  std::uint8_t match1Type = 0;
  Bytes match1 = {};
  std::string_view policyName = "";
};

// As many rules as fit are written; the number that is announced is that of all.
inline Bytes appPolicyBody(const AppPolicyFields &fields) {
  Bytes body = zeros(2360);
  putAt(body, 0, bigEndian(fields.code, 2));
  putAt(body, 8, hex("00000001"));
  putAt(body, 588, bigEndian(fields.seqNo, 4));
  putAt(body, 592, bigEndian(fields.rules.size(), 1));
  putAt(body, 593, bigEndian(fields.appId, 1));
  putAt(body, 595, bigEndian(fields.kind, 1));
  putAt(body, 612, bigEndian(fields.match1Type, 1));
  putAt(body, 620, fields.match1);
  putAt(body, 712, bigEndian(fields.tag, 4));
  putAt(body, 716, bigEndian(fields.word3, 4));
  putAt(body, 720, bytesOf(fields.policyName));
  for (std::size_t i = 0; i < fields.rules.size() && i < 40; ++i) {
    putAt(body, 760 + 40 * i, bytesOf(fields.rules[i]));
    putAt(body, 796 + 40 * i, bigEndian(fields.firstAttribute + i, 4));
  }
  return body;
}

inline Bytes unapplyBody(AppPolicyFields fields) {
  fields.code = 0x300C;
  return appPolicyBody(fields);
}

struct SliceFields {
  bool unreserve = false;
  std::uint32_t stage = 1;
  std::uint32_t type = 4;
  std::uint8_t count = 3;
  std::uint32_t doubleWide = 0;
  std::uint32_t appId = 5;
};

inline Bytes sliceBody(const SliceFields &fields) {
  Bytes body = zeros(616);
  putAt(body, 0, hex("301C"));
  putAt(body, 588, hex("0A0B0C0D"));  // context
  putAt(body, 592, bigEndian(fields.unreserve ? 7 : 0, 4));
  putAt(body, 596, bigEndian(fields.stage, 4));
  putAt(body, 600, bigEndian(fields.type, 4));
  putAt(body, 604, bigEndian(fields.count, 1));
  putAt(body, 605, hex("AABBCC"));
  putAt(body, 608, bigEndian(fields.doubleWide, 4));
  putAt(body, 612, bigEndian(fields.appId, 4));
  return body;
}

inline Bytes moveBody(std::uint8_t attribute, std::uint8_t from, std::uint8_t to) {
  Bytes body = zeros(2600);
  putAt(body, 0, hex("300D"));
  putAt(body, 8, hex("00000009"));
  putAt(body, 588, hex("0A0B0C0D"));  // cookie
  putAt(body, 592, bigEndian(attribute, 1));
  putAt(body, 593, bigEndian(from, 1));
  putAt(body, 594, bigEndian(to, 1));
  return body;
}

// As many policies as fit are written; the number that is announced is that of all.
inline Bytes checkBody(const std::vector<std::string_view> &policies) {
  Bytes body = zeros(5004);
  putAt(body, 0, hex("300F"));
  putAt(body, 8, hex("00000001"));
  putAt(body, 592, bigEndian(policies.size(), 4));
  putAt(body, 596, hex("0A0B0C0D"));  // cookie
  for (std::size_t i = 0; i < policies.size() && i < 100; ++i) {
    putAt(body, 604 + 44 * i, hex("03"));
    putAt(body, 608 + 44 * i, hex("00010002"));
    putAt(body, 612 + 44 * i, bytesOf(policies[i]));
  }
  return body;
}

inline Bytes cleanBody(std::uint16_t clientNumber) {
  Bytes body = zeros(604);
  putAt(body, 0, hex("3018"));
  putAt(body, 588, hex("0A0B0C0D"));  // the second word
  putAt(body, 592, bigEndian(clientNumber, 2));
  putAt(body, 596, hex("01020304"));  // the first word
  return body;
}

}  // namespace test_support

#endif  // TESTS_MANAGER_APP_POLICY_BYTES_H
