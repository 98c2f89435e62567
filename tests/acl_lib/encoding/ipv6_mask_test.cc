#include "tests/acl_lib/encoding/encoding_test.h"

namespace {

using namespace encoding_test;

const Bytes kAllOnes(16, std::byte{0xFF});

Bytes masked(const Bytes &address, std::uint32_t prefixLength) {
  Bytes destination(16, std::byte{0x55});
  aclApplyIPv6Msk(address.data(), prefixLength, destination.data());
  return destination;
}

TEST(IPv6Mask, TableKeepsTheLeadingBitsOfAByte) {
  EXPECT_EQ(copyOf(gAclMaskBit, sizeof(gAclMaskBit)), hex("00 80 c0 e0 f0 f8 fc fe ff"));
}

TEST(IPv6Mask, Prefix0ClearsAll16Bytes) {
  EXPECT_EQ(masked(kAllOnes, 0), Bytes(16));
}

TEST(IPv6Mask, Prefix65KeepsTheTopBitOfByte8) {
  EXPECT_EQ(masked(kAllOnes, 65), hex("ffffffffffffffff 8000000000000000"));
}

TEST(IPv6Mask, Prefix64KeepsHalf) {
  EXPECT_EQ(masked(numberedBytes(16), 64), hex("0102030405060708 0000000000000000"));
}

TEST(IPv6Mask, Prefix127ClearsTheLastBitOnly) {
  EXPECT_EQ(masked(kAllOnes, 127), hex("ffffffffffffffff fffffffffffffffe"));
}

TEST(IPv6Mask, Prefix128AndMoreCopiesUnchanged) {
  for (const std::uint32_t prefixLength : {128U, 129U, 1000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(masked(kAllOnes, prefixLength), kAllOnes);
  }
}

TEST(IPv6Mask, EveryPrefixKeepsThatManyBits) {
  for (std::uint32_t prefixLength = 0; prefixLength <= 128; ++prefixLength) {
    const Bytes address = masked(kAllOnes, prefixLength);
    for (std::uint32_t bit = 0; bit < 128; ++bit) {
      const bool isSet = (std::to_integer<unsigned>(address[bit / 8]) >> (7 - bit % 8) & 1) != 0;
      EXPECT_EQ(isSet, bit < prefixLength);
    }
  }
}

TEST(IPv6Mask, SourceMayBeTheDestination) {
  Bytes address = numberedBytes(16);
  aclApplyIPv6Msk(address.data(), 12, address.data());
  EXPECT_EQ(address, join(hex("0100"), Bytes(14)));
  address = numberedBytes(16);
  aclApplyIPv6Msk(address.data(), 128, address.data());
  EXPECT_EQ(address, numberedBytes(16));
}

}  // namespace
