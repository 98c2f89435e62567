#include "acl_lib/encoding/policy_handle.h"

#include <dirent.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "acl_lib/encoding/address_probe.h"
#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

// Two pages, the second of which cannot be read.
class GuardedPages {
 public:
  GuardedPages() : pageSize_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    first_ = static_cast<std::byte *>(
        ::mmap(nullptr, 2 * pageSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ::mprotect(first_ + pageSize_, pageSize_, PROT_NONE);
  }
  ~GuardedPages() { ::munmap(first_, 2 * pageSize_); }
  GuardedPages(const GuardedPages &) = delete;
  GuardedPages &operator=(const GuardedPages &) = delete;

  std::byte *guard() const { return first_ + pageSize_; }

 private:
  std::size_t pageSize_;
  std::byte *first_;
};

AclPolicyHandle handleOf(const void *address) {
  return reinterpret_cast<AclPolicyHandle>(address);
}

std::size_t openDescriptors() {
  std::size_t count = 0;
  DIR *directory = ::opendir("/proc/self/fd");
  while (::readdir(directory) != nullptr) ++count;
  ::closedir(directory);
  return count;
}

// Every way of asking refuses the handle, and says so where it should.
void expectInvalid(AclPolicyHandle handle) {
  SCOPED_TRACE(hexNumber(static_cast<std::uintptr_t>(handle)));
  OutputCapture capture;
  EXPECT_EQ(acl::findPolicy(handle), nullptr);
  EXPECT_EQ(acl::checkPolicy(handle, "someCall"), nullptr);
  EXPECT_EQ(aclLibConfigRuleAction(handle, 1, 1), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("someCall", handle) +
                                          invalidPolicyMessage("aclLibConfigRuleAction", handle));
  EXPECT_EQ(capture.standardError(), "");
}

// ---- Valid handles ------------------------------------------------------------------------------

TEST(PolicyHandle, LivePolicyIsValid) {
  const TestPolicy policy;
  OutputCapture capture;
  EXPECT_EQ(acl::findPolicy(policy.handle()), &policy.record());
  EXPECT_EQ(acl::checkPolicy(policy.handle(), "someCall"), &policy.record());
  EXPECT_EQ(capture.standardOutput(), "");
}

TEST(PolicyHandle, CallersOwnRecordIsValidWhenItsSelfCheckIsItsAddress) {
  AclPolicy own{};
  own.selfCheck = &own;
  const AclPolicyHandle handle = handleOf(&own);
  OutputCapture capture;
  EXPECT_EQ(acl::findPolicy(handle), &own);
  EXPECT_FALSE(acl::isLivePolicy(handle));
  EXPECT_EQ(aclLibNewRule(handle, "rule", 5), 5);
  EXPECT_EQ(aclLibConfigRuleAction(handle, 5, 1), 0);
  EXPECT_EQ(aclLibEndRule(handle), 0);
  EXPECT_EQ(own.usedSize, 52U);
  EXPECT_EQ(aclLibClearRule(handle), 0);
  EXPECT_EQ(capture.standardOutput(), "");
  std::free(own.ruleBuffer);
}

TEST(PolicyHandle, CallersOwnRecordMayEndWhereMemoryEnds) {
  const GuardedPages pages;
  auto *own = reinterpret_cast<AclPolicy *>(pages.guard()) - 1;
  own->selfCheck = own;
  EXPECT_EQ(acl::findPolicy(handleOf(own)), own);
}

// ---- Invalid handles ----------------------------------------------------------------------------

TEST(PolicyHandle, SmallAndNegativeNumbersAreInvalid) {
  for (const AclPolicyHandle handle : {0, -1, -2, 1, 2, 8, 16, 4096, -4096, -16}) {
    expectInvalid(handle);
  }
}

TEST(PolicyHandle, LargestAndSmallestNumbersAreInvalid) {
  expectInvalid(INTPTR_MAX);
  expectInvalid(INTPTR_MIN);
}

TEST(PolicyHandle, MinusOneIsPrintedAtPointerWidth) {
  OutputCapture capture;
  EXPECT_EQ(aclLibClearRule(-1), -2);
  EXPECT_EQ(capture.standardOutput(), sizeof(void *) == 8
                                          ? "aclLibClearRule: Invalid policy handle "
                                            "ffffffffffffffff\n"
                                          : "aclLibClearRule: Invalid policy handle ffffffff\n");
}

TEST(PolicyHandle, MisalignedAddressIsInvalidWhateverIsThere) {
  alignas(AclPolicy) std::byte memory[sizeof(AclPolicy) + 1]{};
  AclPolicy record{};
  record.selfCheck = reinterpret_cast<AclPolicy *>(memory + 1);
  std::memcpy(memory + 1, &record, sizeof(record));
  expectInvalid(handleOf(memory + 1));
  const TestPolicy policy;
  expectInvalid(policy.handle() + 1);
}

TEST(PolicyHandle, AddressThatCannotBeReadIsInvalid) {
  const GuardedPages pages;
  expectInvalid(handleOf(pages.guard()));
}

TEST(PolicyHandle, RecordThatCannotBeReadToItsEndIsInvalid) {
  const GuardedPages pages;
  auto *cut = reinterpret_cast<AclPolicy *>(pages.guard() - offsetof(AclPolicy, lastList));
  ASSERT_EQ(reinterpret_cast<std::uintptr_t>(cut) % alignof(AclPolicy), 0U);
  cut->selfCheck = cut;
  expectInvalid(handleOf(cut));
}

TEST(PolicyHandle, ReadOnlyTextIsInvalid) {
  alignas(AclPolicy) static const char kText[1024] = "not a policy";
  expectInvalid(handleOf(kText));
}

TEST(PolicyHandle, FreedPolicyIsInvalid) {
  TestPolicy policy;
  policy.addRule(48);
  policy.end();
  expectInvalid(policy.handle());
}

TEST(PolicyHandle, LivePolicyWithoutItsSelfCheckIsInvalid) {
  TestPolicy policy;
  policy->selfCheck = nullptr;
  expectInvalid(policy.handle());
  policy->selfCheck = &policy.record() + 1;
  expectInvalid(policy.handle());
  policy->selfCheck = &policy.record();
  EXPECT_EQ(acl::findPolicy(policy.handle()), &policy.record());
}

TEST(PolicyHandle, CopyOfAPolicyIsInvalid) {
  const TestPolicy policy;
  const auto copy = std::make_unique<AclPolicy>(policy.record());
  expectInvalid(handleOf(copy.get()));
}

// ---- Open rules of anything ---------------------------------------------------------------------

TEST(PolicyHandle, OpenRuleIsSeenInAnyRecordThatCanBeRead) {
  const GuardedPages pages;
  AclPolicy own{};
  OutputCapture capture;
  EXPECT_FALSE(acl::hasOpenRule(handleOf(&own)));
  own.openRule = reinterpret_cast<std::uint8_t *>(&own);
  EXPECT_TRUE(acl::hasOpenRule(handleOf(&own)));
  EXPECT_FALSE(acl::hasOpenRule(handleOf(pages.guard())));
  for (const AclPolicyHandle handle : {0, -1, -2, 1}) EXPECT_FALSE(acl::hasOpenRule(handle));
  EXPECT_EQ(capture.standardOutput(), "");
}

TEST(PolicyHandle, EndRuleOfARecordWithAnOpenRuleThatIsNoPolicyIsReported) {
  AclPolicy own{};
  own.openRule = reinterpret_cast<std::uint8_t *>(&own);
  OutputCapture capture;
  EXPECT_EQ(aclLibEndRule(handleOf(&own)), -2);
  EXPECT_EQ(capture.standardOutput(), invalidPolicyMessage("aclLibEndRule", handleOf(&own)));
}

// ---- The end of a policy ------------------------------------------------------------------------

TEST(PolicyHandle, DestroyingNullIsANoOp) {
  acl::destroyPolicy(nullptr);
}

TEST(PolicyHandle, DestroyedPolicyIsNotKnownAnyMore) {
  TestPolicy policy;
  EXPECT_TRUE(acl::isLivePolicy(policy.handle()));
  policy.end();
  EXPECT_FALSE(acl::isLivePolicy(policy.handle()));
}

// Optimised builds judge: nothing but the cleared selfCheck tells that the record is no policy.
TEST(PolicyHandle, DestroyedPolicyHasLostItsSelfCheckInMemory) {
  TestPolicy policy;
  const AclPolicyHandle handle = policy.handle();
  policy.end();
  AclPolicy *selfCheck = nullptr;
  const auto address = static_cast<std::uintptr_t>(handle) + offsetof(AclPolicy, selfCheck);
  if (!acl::copyFromAnyAddress(address, &selfCheck, sizeof(selfCheck))) return;
  EXPECT_NE(reinterpret_cast<AclPolicyHandle>(selfCheck), handle);
}

TEST(PolicyHandle, PolicyDestroyedAgainIsLeftAlone) {
  TestPolicy policy;
  policy.addRule(48);
  AclPolicy &record = policy.record();
  policy.end();
  acl::destroyPolicy(&record);
  expectInvalid(policy.handle());
}

// Static memory and a buffer inside it: freeing either would end the process.
TEST(PolicyHandle, DestroyedOwnRecordLosesItsSelfCheckAndIsNotFreed) {
  static std::uint8_t rules[64] = {0xA5};
  static AclPolicy own{};
  own.ruleBuffer = rules;
  own.usedSize = own.bufferSize = sizeof(rules);
  own.selfCheck = &own;
  acl::destroyPolicy(&own);
  EXPECT_EQ(own.selfCheck, nullptr);
  EXPECT_EQ(own.ruleBuffer, rules);
  EXPECT_EQ(own.usedSize, sizeof(rules));
  EXPECT_EQ(rules[0], 0xA5);
  expectInvalid(handleOf(&own));
}

TEST(PolicyHandle, DestroyingARecordThatIsNoPolicyChangesNothing) {
  AclPolicy own{};
  AclPolicy other{};
  own.selfCheck = &other;
  acl::destroyPolicy(&own);
  EXPECT_EQ(own.selfCheck, &other);
}

// ---- Reading any address ------------------------------------------------------------------------

TEST(AddressProbe, ReadableBytesAreCopied) {
  const Bytes source = numberedBytes(200);
  Bytes copy(200);
  EXPECT_TRUE(acl::copyFromAnyAddress(reinterpret_cast<std::uintptr_t>(source.data()), copy.data(),
                                      copy.size()));
  EXPECT_EQ(copy, source);
}

TEST(AddressProbe, BytesUpToTheEndOfMemoryAreCopiedAndNotOneMore) {
  const GuardedPages pages;
  Bytes copy(100);
  const auto guard = reinterpret_cast<std::uintptr_t>(pages.guard());
  EXPECT_TRUE(acl::copyFromAnyAddress(guard - 100, copy.data(), 100));
  EXPECT_FALSE(acl::copyFromAnyAddress(guard - 99, copy.data(), 100));
  EXPECT_FALSE(acl::copyFromAnyAddress(guard, copy.data(), 1));
}

TEST(AddressProbe, LeavesNoDescriptorOpen) {
  const std::size_t before = openDescriptors();
  std::byte copy[8];
  EXPECT_TRUE(acl::copyFromAnyAddress(reinterpret_cast<std::uintptr_t>(&before), copy, 8));
  EXPECT_FALSE(acl::copyFromAnyAddress(0, copy, 8));
  EXPECT_EQ(openDescriptors(), before);
}

TEST(AddressProbe, WithoutDescriptorsLeftOnlyLivePoliciesAreValid) {
  const TestPolicy policy;
  AclPolicy own{};
  own.selfCheck = &own;
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit none{3, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const AclPolicy *live = acl::findPolicy(policy.handle());
  const AclPolicy *foreign = acl::findPolicy(handleOf(&own));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(live, &policy.record());
  EXPECT_EQ(foreign, nullptr);
}

}  // namespace
