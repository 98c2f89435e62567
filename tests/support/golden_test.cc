#include "tests/support/golden.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include "tests/support/bytes.h"

namespace test_support {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> errorsOf(std::string_view text) {
  return parseGolden(text).errors;
}

std::string messageOf(std::span<const std::byte> actual, std::string_view text) {
  return matchesVector(actual, parseGolden(text)).message();
}

TEST(GoldenTest, FieldsTextsAndRestGiveTheBytes) {
  EXPECT_EQ(golden("support/sample.golden"), hex("00010002 6162206364 00 0000 eeeeeeee"));
}

TEST(GoldenTest, EqualBytesMatch) {
  EXPECT_TRUE(matchesGolden(hex("00010002 6162206364 00 0000 eeeeeeee"), "support/sample.golden"));
}

TEST(GoldenTest, SkippedBytesMayHaveAnyValue) {
  EXPECT_TRUE(matchesGolden(hex("00010002 6162206364 00 1234 eeeeeeee"), "support/sample.golden"));
}

TEST(GoldenTest, ADifferenceIsReportedWithOffsetFieldAndBothValues) {
  const auto result =
      matchesGolden(hex("00010003 6162206364 00 1234 eeeeeeee"), "support/sample.golden");
  ASSERT_FALSE(result);
  EXPECT_STREQ(result.message(),
               "support/sample.golden: the bytes differ:\n"
               "  offset 0 (two numbers): expected 00 01 00 02, actual 00 01 00 03");
}

TEST(GoldenTest, ADifferenceInTheRestIsReportedToo) {
  const auto result =
      matchesGolden(hex("00010002 6162206364 00 1234 eeee00ee"), "support/sample.golden");
  EXPECT_THAT(result.message(),
              HasSubstr("offset 12 (rest): expected ee ee ee ee, actual ee ee 00 ee"));
}

TEST(GoldenTest, ALongFieldIsShownFromItsFirstDifference) {
  Bytes actual(100);
  actual[60] = std::byte{7};
  EXPECT_THAT(messageOf(actual, "size 100\nrest 00"),
              HasSubstr("offset 60 (rest): expected 00 00"));
}

TEST(GoldenTest, AnotherSizeIsReportedAndTheCommonFieldsAreStillCompared) {
  const std::string message = messageOf(hex("02"), "size 2\n0 01  first\n1 00  second\n");
  EXPECT_THAT(message, HasSubstr("size: expected 2, actual 1"));
  EXPECT_THAT(message, HasSubstr("offset 0 (first): expected 01, actual 02"));
  EXPECT_THAT(message, Not(HasSubstr("second")));
}

TEST(GoldenTest, FieldsMayComeInAnyOrderAndFieldNamesMayLookLikeHex) {
  const GoldenVector vector = parseGolden("size 3\n2 03  cafe\n0 0102  add 2\n");
  EXPECT_THAT(vector.errors, IsEmpty());
  EXPECT_EQ(vector.bytes, hex("010203"));
  EXPECT_EQ(vector.fields[0].name, "cafe");
}

TEST(GoldenTest, TextsMayHoldSeveralBlanksAndHashes) {
  const GoldenVector vector = parseGolden("size 5\n0 \"a  #\" 00  label\n");
  EXPECT_THAT(vector.errors, IsEmpty());
  EXPECT_EQ(vector.bytes, hex("61 20 20 23 00"));
}

TEST(GoldenTest, OverlapIsReportedWithItsLine) {
  EXPECT_THAT(errorsOf("size 4\n0 0102  first\n# note\n1 00  second\nrest 00"),
              ElementsAre("line 4: 'second' overlaps 'first'"));
  EXPECT_THAT(errorsOf("size 4\n0 0102  first\nskip 0 4  whole\nrest 00"),
              ElementsAre("line 3: 'whole' overlaps 'first'"));
}

TEST(GoldenTest, FieldsBeyondTheSizeAreReported) {
  EXPECT_THAT(errorsOf("size 2\n0 0000  fits\n"), IsEmpty());
  EXPECT_THAT(errorsOf("size 2\n0 000000  long\nrest 00"),
              ElementsAre("line 2: 'long' ends beyond the size"));
  EXPECT_THAT(errorsOf("size 2\n3 00  far\nrest 00"),
              ElementsAre("line 2: 'far' ends beyond the size"));
}

TEST(GoldenTest, BadBytesAreReported) {
  EXPECT_THAT(errorsOf("size 2\n0 0  odd\nrest 00"), ElementsAre("line 2: bad bytes: '0  odd'"));
  EXPECT_THAT(errorsOf("size 2\n0 0x  no hex\nrest 00").size(), 1u);
  EXPECT_THAT(errorsOf("size 2\n0 \"a  open text\nrest 00").size(), 1u);
  EXPECT_THAT(errorsOf("size 2\n0\nrest 00").size(), 1u);
}

TEST(GoldenTest, AFieldWithoutANameIsReported) {
  EXPECT_THAT(errorsOf("size 2\n0 0102\n"),
              ElementsAre("line 2: the field has no name (two blanks before it)"));
}

TEST(GoldenTest, BytesThatNoLineDescribesNeedARest) {
  EXPECT_THAT(errorsOf("size 3\n0 0102  number\n"),
              ElementsAre("line 2: no line describes byte 2, and there is no rest"));
}

TEST(GoldenTest, TheSizeComesFirstAndOnce) {
  EXPECT_THAT(errorsOf("0 00  field\nsize 1\n"), Not(IsEmpty()));
  EXPECT_THAT(errorsOf("size 1\nsize 1\nrest 00"), ElementsAre("line 2: a second size"));
  EXPECT_THAT(errorsOf("size x\n"), Not(IsEmpty()));
  EXPECT_THAT(errorsOf("# nothing\n"), ElementsAre("line 1: there is no size"));
}

TEST(GoldenTest, RestTakesOneByteAndComesOnce) {
  EXPECT_THAT(errorsOf("size 1\nrest 0000"), ElementsAre("line 2: rest takes one hex byte"));
  EXPECT_THAT(errorsOf("size 1\nrest 00\nrest 01"), ElementsAre("line 3: a second rest"));
}

TEST(GoldenTest, AMissingFileFailsTheTest) {
  EXPECT_FALSE(matchesGolden({}, "support/absent.golden"));
  EXPECT_NONFATAL_FAILURE(golden("support/absent.golden"), "cannot be read");
}

}  // namespace
}  // namespace test_support
