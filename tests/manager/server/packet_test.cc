#include "manager/server/packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/support/bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::hex;

// Why a packet in a heap block of exactly its size is refused; "" when it is not.
std::string refusalOf(const Bytes &packet) {
  const auto block = std::make_unique<std::byte[]>(packet.size());
  std::copy(packet.begin(), packet.end(), block.get());
  const auto requests = requestsOf({block.get(), packet.size()});
  return requests ? "" : requests.refusal().reason;
}

TEST(RequestsOf, OneObjectIsOneRequest) {
  const Bytes packet = hex("1002 0004 2000 abcd");
  const auto requests = requestsOf(packet);
  ASSERT_TRUE(requests);
  ASSERT_EQ(requests.value().size(), 1U);
  EXPECT_TRUE(std::ranges::equal(requests.value()[0], hex("2000abcd")));
}

TEST(RequestsOf, SeveralObjectsAreSeveralRequestsInOrder) {
  // The first is of odd length and padded.
  const Bytes packet = hex("1002 0003 200001 00 1002 0002 2002");
  const auto requests = requestsOf(packet);
  ASSERT_TRUE(requests);
  ASSERT_EQ(requests.value().size(), 2U);
  EXPECT_TRUE(std::ranges::equal(requests.value()[0], hex("200001")));
  EXPECT_TRUE(std::ranges::equal(requests.value()[1], hex("2002")));
}

TEST(RequestsOf, EmptyPacketIsMalformed) {
  EXPECT_EQ(refusalOf({}), "empty packet");
}

TEST(RequestsOf, EveryTruncationIsMalformed) {
  const Bytes packet = hex("1002 0004 2000abcd 1002 0004 2002abcd");
  for (std::size_t length = 0; length < packet.size(); ++length) {
    if (length == 8) continue;  // the first object alone
    EXPECT_NE(refusalOf(Bytes(packet.begin(), packet.begin() + static_cast<long>(length))), "")
        << length;
  }
  EXPECT_EQ(refusalOf(packet), "");
}

TEST(RequestsOf, ObjectCutShortIsMalformed) {
  EXPECT_EQ(refusalOf(hex("1002 0004 2000")), "no whole object at byte 0 of 6");
  EXPECT_EQ(refusalOf(hex("1002 0002 2000 10")), "no whole object at byte 6 of 7");
}

TEST(RequestsOf, ObjectsOfOtherTypesAreMalformed) {
  EXPECT_EQ(refusalOf(hex("1003 0002 2000")), "object of type 0x1003");
  EXPECT_EQ(refusalOf(hex("1002 0002 2000 0000 0002 2000")), "object of type 0x0000");
}

TEST(RequestsOf, RequestWithoutACodeIsMalformed) {
  EXPECT_EQ(refusalOf(hex("1002 0000")), "request of 0 bytes");
  EXPECT_EQ(refusalOf(hex("1002 0001 20 00")), "request of 1 bytes");
  EXPECT_EQ(refusalOf(hex("1002 0002 2000")), "");
}

TEST(ReplyPacket, BodyIsOneObjectOfType1003) {
  EXPECT_EQ(replyPacket(hex("2002 0000 abcd")), hex("1003 0006 2002 0000 abcd"));
}

TEST(ReplyPacket, OddBodyIsPadded) {
  EXPECT_EQ(replyPacket(hex("2002 00")), hex("1003 0003 2002 00 00"));
}

}  // namespace
}  // namespace aclmgr
