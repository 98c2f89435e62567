#include "manager/server/policy_assembler.h"

#include <gtest/gtest.h>

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

TEST_F(PolicyAssemblerTest, SecondFirstChunkDropsThePolicyAndTheNextOneBeginsAnew) {
  take({2, 0, "01"});
  EXPECT_EQ(take({2, 0, "01"}), "-3 chunk at 0 where 1 was expected");
  EXPECT_EQ(take({2, 0, "01"}), "more");
  EXPECT_EQ(take({2, 1, "02"}), "done 1 2");
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

}  // namespace
}  // namespace aclmgr
