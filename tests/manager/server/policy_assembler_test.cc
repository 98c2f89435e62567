#include "manager/server/policy_assembler.h"

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "tests/support/bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::hex;

constexpr std::uint32_t kClient = 5;
constexpr std::uint16_t kAdd = 0x2001;
constexpr std::uint16_t kRefresh = 0x2003;

class PolicyAssemblerTest : public testing::Test {
 protected:
  struct Chunk {
    std::uint32_t total;
    std::uint32_t offset;
    const char *data;  // hex
    std::uint16_t code = kAdd;
    std::string name = "web";
    std::uint16_t ruleCount = 1;
    std::uint16_t attribute = 0;
    std::uint32_t connection = kClient;
  };

  // "more", "done <bytes>", or the status and reason of the refusal.
  std::string take(const Chunk &chunk) {
    const Bytes data = hex(chunk.data);
    const auto outcome = assembler_.take(
        chunk.connection, chunk.code,
        {chunk.name, chunk.total, chunk.offset, chunk.ruleCount, chunk.attribute, data});
    if (!outcome) {
      return std::to_string(static_cast<int>(outcome.refusal().status)) + " " +
             outcome.refusal().reason;
    }
    if (!outcome.value()) return "more";
    std::string text = "done";
    for (const std::byte byte : *outcome.value()) {
      text += " " + std::to_string(std::to_integer<int>(byte));
    }
    return text;
  }

  PolicyAssembler assembler_;
};

TEST_F(PolicyAssemblerTest, PolicyWithoutRulesIsDoneAtOnce) {
  EXPECT_EQ(take({0, 0, ""}), "done");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, PolicyInOneChunkIsDoneAtOnce) {
  EXPECT_EQ(take({2, 0, "0102"}), "done 1 2");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, PolicyInSeveralChunksIsDoneWithTheLast) {
  EXPECT_EQ(take({5, 0, "0102"}), "more");
  EXPECT_EQ(take({5, 2, "0304"}), "more");
  EXPECT_EQ(assembler_.partialCount(), 1U);
  EXPECT_EQ(take({5, 4, "05"}), "done 1 2 3 4 5");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, FirstChunkThatIsNotAtTheStartIsRefused) {
  EXPECT_EQ(take({5, 2, "0304"}), "-3 the first chunk begins at 2");
}

TEST_F(PolicyAssemblerTest, GapDropsThePolicy) {
  take({5, 0, "01"});
  EXPECT_EQ(take({5, 2, "03"}), "-3 chunk at 2 where 1 was expected");
  EXPECT_EQ(take({5, 1, "02"}), "-3 the first chunk begins at 1");
}

TEST_F(PolicyAssemblerTest, OverlapDropsThePolicy) {
  take({5, 0, "0102"});
  EXPECT_EQ(take({5, 1, "0203"}), "-3 chunk at 1 where 2 was expected");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, ChunkAtTheStartBeginsAnUnfinishedPolicyAnew) {
  EXPECT_EQ(take({3, 0, "0102"}), "more");
  EXPECT_EQ(take({3, 0, "11"}), "more");
  EXPECT_EQ(assembler_.partialCount(), 1U);
  EXPECT_EQ(assembler_.partialBytes(), 1U);
  EXPECT_EQ(take({3, 2, "13"}), "-3 chunk at 2 where 1 was expected");
  EXPECT_EQ(take({3, 0, "11"}), "more");
  EXPECT_EQ(take({3, 1, "1213"}), "done 17 18 19");
}

TEST_F(PolicyAssemblerTest, PolicyThatBeginsAnewMayAnnounceSomethingElse) {
  EXPECT_EQ(take({2, 0, "01"}), "more");
  EXPECT_EQ(take({1, 0, "11", kRefresh, "web", 3, 7}), "done 17");
  EXPECT_EQ(take({2, 1, "02"}), "-3 the first chunk begins at 1");
}

TEST_F(PolicyAssemblerTest, PolicyThatBeginsAnewWithABadChunkIsDropped) {
  take({2, 0, "01"});
  EXPECT_EQ(take({2, 0, "010203"}), "-3 chunk of 3 bytes at 0 runs over the total of 2");
  EXPECT_EQ(assembler_.partialCount(), 0U);
  EXPECT_EQ(assembler_.partialBytes(), 0U);
}

TEST_F(PolicyAssemblerTest, LastOfTheUnfinishedPoliciesMayBeginAnew) {
  for (int i = 0; i < 64; ++i) take({2, 0, "01", kAdd, "p" + std::to_string(i)});
  EXPECT_EQ(take({2, 0, "11", kAdd, "p63"}), "more");
  EXPECT_EQ(take({2, 1, "12", kAdd, "p63"}), "done 17 18");
}

TEST_F(PolicyAssemblerTest, ChunkBeyondTheTotalIsRefused) {
  EXPECT_EQ(take({1, 0, "0102"}), "-3 chunk of 2 bytes at 0 runs over the total of 1");
  take({3, 0, "0102"});
  EXPECT_EQ(take({3, 2, "0304"}), "-3 chunk of 2 bytes at 2 runs over the total of 3");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, EmptyChunkOfAPolicyWithRulesIsRefused) {
  EXPECT_EQ(take({3, 0, ""}), "-3 the chunk is empty");
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, ChangedAnnouncementsDropThePolicy) {
  const std::string refusal = "-3 the chunk announces another policy than the ones before";
  take({4, 0, "01"});
  EXPECT_EQ(take({5, 1, "02"}), refusal);
  take({4, 0, "01"});
  EXPECT_EQ(take({4, 1, "02", kRefresh}), refusal);
  take({4, 0, "01"});
  EXPECT_EQ(take({4, 1, "02", kAdd, "web", 2}), refusal);
  take({4, 0, "01"});
  EXPECT_EQ(take({4, 1, "02", kAdd, "web", 1, 7}), refusal);
  EXPECT_EQ(assembler_.partialCount(), 0U);
}

TEST_F(PolicyAssemblerTest, PoliciesOfOtherNamesAndConnectionsDoNotMix) {
  EXPECT_EQ(take({2, 0, "01"}), "more");
  EXPECT_EQ(take({2, 0, "11", kAdd, "dns"}), "more");
  EXPECT_EQ(take({2, 0, "21", kAdd, "web", 1, 0, 6}), "more");
  EXPECT_EQ(take({2, 1, "02"}), "done 1 2");
  EXPECT_EQ(take({2, 1, "12", kAdd, "dns"}), "done 17 18");
  EXPECT_EQ(take({2, 1, "22", kAdd, "web", 1, 0, 6}), "done 33 34");
}

TEST_F(PolicyAssemblerTest, ClosedConnectionLosesItsPartialPoliciesOnly) {
  take({2, 0, "01"});
  take({2, 0, "11", kAdd, "dns"});
  take({2, 0, "21", kAdd, "web", 1, 0, 6});
  assembler_.dropConnection(kClient);
  EXPECT_EQ(assembler_.partialCount(), 1U);
  EXPECT_EQ(take({2, 1, "22", kAdd, "web", 1, 0, 6}), "done 33 34");
  EXPECT_EQ(take({2, 1, "02"}), "-3 the first chunk begins at 1");
}

TEST_F(PolicyAssemblerTest, PolicyOf64MebibytesIsBegunAndOneByteMoreIsRefused) {
  EXPECT_EQ(take({67108864, 0, "01"}), "more");
  EXPECT_EQ(take({67108865, 0, "01", kAdd, "dns"}),
            "-18 67108865 bytes of rules, 67108864 are the limit");
  EXPECT_EQ(take({0xFFFFFFFF, 0, "01", kAdd, "dns"}),
            "-18 4294967295 bytes of rules, 67108864 are the limit");
}

TEST_F(PolicyAssemblerTest, SixtyFourPartialPoliciesAreBegunAndOneMoreIsRefused) {
  for (int i = 0; i < 64; ++i) {
    EXPECT_EQ(take({2, 0, "01", kAdd, "p" + std::to_string(i)}), "more");
  }
  EXPECT_EQ(take({2, 0, "01", kAdd, "one too many"}),
            "-18 64 unfinished policies of one client are the limit");
  EXPECT_EQ(take({2, 0, "01", kAdd, "of another", 1, 0, 6}), "more");
  EXPECT_EQ(take({2, 1, "02", kAdd, "p0"}), "done 1 2");
  EXPECT_EQ(take({2, 0, "01", kAdd, "one too many"}), "more");
}

// A quarter of what one client may have at a time.
const Bytes &sixteenMebibytes() {
  static const Bytes bytes(16777216);
  return bytes;
}

class PolicyAssemblerLimitTest : public testing::Test {
 protected:
  // Takes a chunk of a policy of 64 MiB. Returns 0 for "more", 1 for "done", or the status.
  int take(std::uint32_t connection, const std::string &name, std::uint32_t offset,
           std::span<const std::byte> chunk) {
    const auto outcome = assembler_.take(connection, kAdd, {name, 67108864, offset, 1, 0, chunk});
    if (!outcome) return static_cast<int>(outcome.refusal().status);
    return outcome.value() ? 1 : 0;
  }

  // Takes as much of an unfinished policy as one client may have, but `spared` bytes.
  void fill(std::uint32_t connection, std::size_t spared) {
    const std::span<const std::byte> quarter = sixteenMebibytes();
    for (std::uint32_t part = 0; part < 3; ++part) {
      ASSERT_EQ(take(connection, "large", part * 16777216, quarter), 0);
    }
    ASSERT_EQ(take(connection, "large", 3 * 16777216, quarter.first(16777216 - spared)), 0);
  }

  PolicyAssembler assembler_;
};

TEST_F(PolicyAssemblerLimitTest, OnePolicyOf64MebibytesMayComeWhole) {
  fill(1, 1);
  EXPECT_EQ(take(1, "large", 67108863, Bytes(1)), 1);
  EXPECT_EQ(assembler_.partialBytes(), 0U);
}

TEST_F(PolicyAssemblerLimitTest, UnfinishedPoliciesOfOneClientHave64MebibytesAndNotOneMore) {
  fill(1, 2);
  EXPECT_EQ(take(1, "small", 0, Bytes(2)), 0);
  EXPECT_EQ(assembler_.partialBytes(), 67108864U);
  EXPECT_EQ(take(1, "one too many", 0, Bytes(1)), -18);
  EXPECT_EQ(take(1, "small", 2, Bytes(1)), -18);  // and is dropped
  EXPECT_EQ(assembler_.partialCount(), 1U);
  EXPECT_EQ(assembler_.partialBytes(), 67108862U);
  EXPECT_EQ(take(2, "of another", 0, Bytes(1)), 0);
  EXPECT_EQ(take(1, "large", 67108862, Bytes(2)), 1);
}

TEST_F(PolicyAssemblerLimitTest, UnfinishedPoliciesOfAllClientsHave256MebibytesAndNotOneMore) {
  for (std::uint32_t connection = 1; connection <= 4; ++connection) fill(connection, 1);
  EXPECT_EQ(take(5, "small", 0, Bytes(4)), 0);
  EXPECT_EQ(assembler_.partialBytes(), 268435456U);
  EXPECT_EQ(take(5, "one too many", 0, Bytes(1)), -18);
  assembler_.dropConnection(4);
  EXPECT_EQ(assembler_.partialBytes(), 3 * 67108863U + 4);
  EXPECT_EQ(take(5, "one too many", 0, Bytes(1)), 0);
}

}  // namespace
}  // namespace aclmgr
