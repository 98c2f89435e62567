#include "tests/support/bytes.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace test_support {
namespace {

TEST(BytesTest, HexPairsBecomeBytesWhateverTheCaseAndTheBlanks) {
  EXPECT_EQ(hex("00fF 7a\nB0"),
            (Bytes{std::byte{0}, std::byte{0xFF}, std::byte{0x7A}, std::byte{0xB0}}));
  EXPECT_EQ(hex(""), Bytes());
}

TEST(BytesTest, AnythingButHexPairsIsRefused) {
  EXPECT_THROW(hex("0"), std::invalid_argument);
  EXPECT_THROW(hex("0 0"), std::invalid_argument);
  EXPECT_THROW(hex("0g"), std::invalid_argument);
}

TEST(BytesTest, PiecesAreJoinedInOrder) {
  EXPECT_EQ(join(hex("01"), bytesOf("ab"), hex("02")), hex("01 61 62 02"));
}

TEST(BytesTest, HexTextSeparatesPairsByOneBlank) {
  EXPECT_EQ(hexText(hex("0aff00")), "0a ff 00");
  EXPECT_EQ(hexText({}), "");
}

TEST(BytesTest, HexDumpHasSixteenBytesALineAndDecimalOffsets) {
  EXPECT_EQ(hexDump(Bytes(17)),
            "     0  00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
            "    16  00\n");
}

TEST(BytesTest, CopyOfNothingAtNullIsEmpty) {
  EXPECT_EQ(copyOf(nullptr, 0), Bytes());
}

}  // namespace
}  // namespace test_support
