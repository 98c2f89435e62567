// What tests of policy and rule encoding share.
#ifndef TESTS_ACL_LIB_ENCODING_ENCODING_TEST_H
#define TESTS_ACL_LIB_ENCODING_ENCODING_TEST_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "acl_lib.h"
#include "acl_lib/encoding/policy_handle.h"
#include "tests/support/bytes.h"
#include "tests/support/output_capture.h"

namespace encoding_test {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::copyOf;
using test_support::hex;
using test_support::join;
using test_support::OutputCapture;

// The bytes 01, 02, 03, ...
inline Bytes numberedBytes(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(i + 1);
  return bytes;
}

// A number as "%lx" prints it.
inline std::string hexNumber(std::uintptr_t number) {
  std::ostringstream text;
  text << std::hex << number;
  return text.str();
}

inline std::string invalidPolicyMessage(const std::string &call, AclPolicyHandle handle) {
  return call + ": Invalid policy handle " + hexNumber(static_cast<std::uintptr_t>(handle)) + "\n";
}

inline std::string invalidRuleMessage(std::uint32_t rule, AclPolicyHandle handle) {
  return "Invalid rule handle " + hexNumber(rule) + " for policy handle " +
         hexNumber(static_cast<std::uintptr_t>(handle)) + "\n";
}

// Everything a policy shows, and the bytes of its closed and open rules.
struct Snapshot {
  std::uint32_t usedSize, bufferSize;
  std::uint16_t ruleCount;
  const std::uint8_t *ruleBuffer, *openRule;
  Bytes bytes;

  bool operator==(const Snapshot &) const = default;
};

inline Snapshot snapshotOf(const AclPolicy &policy) {
  return {policy.usedSize,
          policy.bufferSize,
          policy.ruleCount,
          policy.ruleBuffer,
          policy.openRule,
          copyOf(policy.ruleBuffer, policy.ruleBuffer == nullptr ? 0 : policy.bufferSize)};
}

// Both lengths of a record, read from the bytes of the word at offset 44.
inline std::uint32_t ruleLength(const std::uint8_t *record) {
  return (record[46] & 0x03U) << 8 | record[47];
}
inline std::uint32_t actionOffset(const std::uint8_t *record) {
  return (record[45] & 0x0FU) << 6 | record[46] >> 2;
}

// A policy that ends with the test.
class TestPolicy {
 public:
  explicit TestPolicy(const char *name = "edge-in") : handle_(aclLibNewPolicy(name)) {}
  ~TestPolicy() { end(); }
  TestPolicy(const TestPolicy &) = delete;
  TestPolicy &operator=(const TestPolicy &) = delete;

  AclPolicyHandle handle() const { return handle_; }
  AclPolicy &record() const { return *reinterpret_cast<AclPolicy *>(handle_); }
  AclPolicy *operator->() const { return &record(); }

  // Ends it early; the handle is invalid from then on.
  void end() {
    if (!ended_) acl::destroyPolicy(&record());
    ended_ = true;
  }

  // Opens a rule and fills it with conditions of 4 bytes until it is `length` bytes long.
  void addRule(std::uint32_t length, std::uint32_t ruleId = 1) const {
    ASSERT_EQ(aclLibNewRule(handle_, "rule", ruleId), static_cast<std::int32_t>(ruleId));
    for (std::uint32_t size = 48; size < length; size += 4) {
      ASSERT_EQ(aclLibConfigRuleCond(handle_, ruleId, 44), 0);
    }
  }

  // The entries of the open rule.
  Bytes entries() const {
    return copyOf(record().openRule + 48, ruleLength(record().openRule) - 48);
  }

 private:
  AclPolicyHandle handle_;
  bool ended_ = false;
};

}  // namespace encoding_test

#endif  // TESTS_ACL_LIB_ENCODING_ENCODING_TEST_H
