// The tests that hold for every call that adds an entry, over a table of such calls.
#ifndef TESTS_ACL_LIB_ENCODING_ENTRY_CALLS_H
#define TESTS_ACL_LIB_ENCODING_ENTRY_CALLS_H

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "tests/acl_lib/encoding/encoding_test.h"

namespace encoding_test {

using CallWithData = std::int32_t (*)(AclPolicyHandle, std::uint32_t, const void *);
using CallWithType = std::int32_t (*)(AclPolicyHandle, std::uint32_t, std::uint32_t, const void *);
using AnyCall = std::function<std::int32_t(AclPolicyHandle, std::uint32_t, const void *)>;

// One call with one type, and the entry that it writes.
struct EntryRow {
  std::string name;    // as exported
  AnyCall call;        // called with data of `width` bytes, or with null
  std::size_t width;   // bytes that it copies; 0 for a call without a data pointer
  std::string header;  // the entry's type and length, as hex
  std::string data;  // the entry's data as hex, padding included; empty: numbered bytes, padding 0
};

inline EntryRow fixedType(const char *name, CallWithData call, std::size_t width,
                          const char *header) {
  return {name, call, width, header, ""};
}

inline EntryRow callersType(const char *name, CallWithType call, std::uint32_t type,
                            std::size_t width, const char *header) {
  return {name,
          [call, type](AclPolicyHandle policy, std::uint32_t rule, const void *data) {
            return call(policy, rule, type, data);
          },
          width, header, ""};
}

inline void PrintTo(const EntryRow &row, std::ostream *out) {
  *out << row.name << " " << row.header;
}

inline std::string rowName(const testing::TestParamInfo<EntryRow> &info) {
  std::string name = info.param.name + "_" + info.param.header.substr(0, 4);
  return name + "_" + std::to_string(info.index);
}

// The rows whose call takes a data pointer.
inline std::vector<EntryRow> withData(std::span<const EntryRow> rows) {
  std::vector<EntryRow> result;
  std::ranges::copy_if(
      rows, std::back_inserter(result), [](std::size_t width) { return width != 0; },
      &EntryRow::width);
  return result;
}

class EntryCallTest : public testing::TestWithParam<EntryRow> {
 protected:
  static constexpr std::uint32_t kRule = 0x00A1B2C3;

  EntryCallTest() { aclLibNewRule(policy_.handle(), "rule", kRule); }

  // Data of exactly the call's width in a heap block of its own, so that AddressSanitizer sees a
  // byte read too many; null for a call without data.
  static std::unique_ptr<std::byte[]> dataOf(const EntryRow &row) {
    if (row.width == 0) return nullptr;
    auto data = std::make_unique<std::byte[]>(row.width);
    const Bytes numbered = numberedBytes(row.width);
    std::copy(numbered.begin(), numbered.end(), data.get());
    return data;
  }

  static Bytes expectedEntry(const EntryRow &row) {
    if (!row.data.empty()) return join(hex(row.header), hex(row.data));
    const std::size_t padding = (4 - row.width % 4) % 4;
    return join(hex(row.header), numberedBytes(row.width), Bytes(padding));
  }

  std::int32_t run(AclPolicyHandle handle, std::uint32_t rule) const {
    return GetParam().call(handle, rule, dataOf(GetParam()).get());
  }

  // Runs the call, which must return `result`, print `output` and change nothing.
  void expectRefusal(AclPolicyHandle handle, std::uint32_t rule, const void *data,
                     std::int32_t result, const std::string &output) const {
    const Snapshot before = snapshotOf(policy_.record());
    OutputCapture capture;
    EXPECT_EQ(GetParam().call(handle, rule, data), result);
    EXPECT_EQ(capture.standardOutput(), output);
    EXPECT_EQ(capture.standardError(), "");
    EXPECT_EQ(snapshotOf(policy_.record()), before);
  }

  void expectEntryIsAdded() const {
    OutputCapture capture;
    EXPECT_EQ(run(policy_.handle(), kRule), 0);
    EXPECT_EQ(capture.standardOutput(), "");
    EXPECT_EQ(policy_.entries(), expectedEntry(GetParam()));
  }

  void expectEntriesFollowEachOther() const {
    EXPECT_EQ(run(policy_.handle(), kRule), 0);
    EXPECT_EQ(run(policy_.handle(), kRule), 0);
    EXPECT_EQ(policy_.entries(), join(expectedEntry(GetParam()), expectedEntry(GetParam())));
  }

  void expectInvalidPolicyIsRefused() const {
    const auto data = dataOf(GetParam());
    expectRefusal(-2, kRule, data.get(), -2, invalidPolicyMessage(GetParam().name, -2));
    // The policy is checked before anything else.
    expectRefusal(-1, kRule + 1, nullptr, -2, invalidPolicyMessage(GetParam().name, -1));
  }

  void expectInvalidRuleIsRefused() const {
    const auto data = dataOf(GetParam());
    const AclPolicyHandle handle = policy_.handle();
    expectRefusal(handle, kRule + 1, data.get(), -2, invalidRuleMessage(kRule + 1, handle));
    // The rule is checked before the data, and printed as 32 bits.
    expectRefusal(handle, 0xFFFFFFFE, nullptr, -2, invalidRuleMessage(0xFFFFFFFE, handle));
  }

  void expectNoOpenRuleIsRefused() const {
    const auto data = dataOf(GetParam());
    const TestPolicy withoutRules;
    expectRefusal(withoutRules.handle(), 0, data.get(), -2,
                  invalidRuleMessage(0, withoutRules.handle()));
    aclLibClearRule(policy_.handle());
    expectRefusal(policy_.handle(), kRule, data.get(), -2,
                  invalidRuleMessage(kRule, policy_.handle()));
  }

  // For rows with data only.
  void expectNullDataIsRefused() const {
    ASSERT_NE(GetParam().width, 0U);
    expectRefusal(policy_.handle(), kRule, nullptr, -2, "");
  }

  TestPolicy policy_;
};

// Runs a call with every type up to 300 and some beyond; it must accept `accepted` and refuse the
// others with `refusal`, writing nothing.
inline void expectTypesAccepted(CallWithType call, const std::set<std::uint32_t> &accepted,
                                std::int32_t refusal = -2) {
  const Bytes data = numberedBytes(70);
  std::set<std::uint32_t> tried = {0x10000,    0x10001,    0x1000C,    0x10017,
                                   0x10030,    0x1003E,    0x7FFFFFFF, 0x80000000,
                                   0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
  for (std::uint32_t type = 0; type < 300; ++type) tried.insert(type);
  for (const std::uint32_t type : tried) {
    SCOPED_TRACE(type);
    const TestPolicy policy;
    aclLibNewRule(policy.handle(), "rule", 1);
    const bool isAccepted = accepted.contains(type);
    EXPECT_EQ(call(policy.handle(), 1, type, data.data()), isAccepted ? 0 : refusal);
    EXPECT_EQ(policy.entries().empty(), !isAccepted);
  }
}

}  // namespace encoding_test

#endif  // TESTS_ACL_LIB_ENCODING_ENTRY_CALLS_H
