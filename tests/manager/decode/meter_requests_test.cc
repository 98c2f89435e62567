#include "manager/decode/meter_requests.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/manager/decode/decoding.h"
#include "tests/manager/dynamic_rule_bytes.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::configMeterBody;
using test_support::expectOneLength;
using test_support::hex;
using test_support::meterBindingBody;
using test_support::meterBody;
using test_support::putAt;
using test_support::refusalOf;

constexpr const char *kNotTerminated = "-3 the name is not terminated";
constexpr const char *kEmpty = "-3 the meter's name is empty";

TEST(DecodeMeter, EveryFieldIsRead) {
  const Bytes body = meterBody(0x3012, "gold", 0xFFFF, 0x01020304);
  const auto decoded = decodeMeter(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().meterName, "gold");
  EXPECT_EQ(decoded.value().appId, 0xFFFFU);
  EXPECT_EQ(decoded.value().context, 0x01020304U);
}

TEST(DecodeMeter, OtherLengthsThan632AreRefused) {
  expectOneLength(decodeMeter, meterBody(0x3014, "gold"));
}

TEST(DecodeMeter, NamesHave1To31Characters) {
  EXPECT_EQ(refusalOf(decodeMeter, meterBody(0x3012, std::string(31, 'm'))), "");
  EXPECT_EQ(refusalOf(decodeMeter, meterBody(0x3012, std::string(32, 'm'))), kNotTerminated);
  EXPECT_EQ(refusalOf(decodeMeter, meterBody(0x3012, "")), kEmpty);
}

TEST(DecodeConfigMeter, EveryFieldIsRead) {
  const Bytes body = configMeterBody("gold", 0xFFFF);
  const auto decoded = decodeConfigMeter(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().meterName, "gold");
  EXPECT_EQ(decoded.value().appId, 0xFFFFU);
  EXPECT_EQ(decoded.value().rates, (MeterRates{1, 2, 3, 4, 5, 6, 7}));
}

TEST(DecodeConfigMeter, OtherLengthsThan664BadNamesAndFixedWordsAreRefused) {
  expectOneLength(decodeConfigMeter, configMeterBody("gold"));
  EXPECT_EQ(refusalOf(decodeConfigMeter, configMeterBody(std::string(31, 'm'))), "");
  EXPECT_EQ(refusalOf(decodeConfigMeter, configMeterBody(std::string(32, 'm'))), kNotTerminated);
  EXPECT_EQ(refusalOf(decodeConfigMeter, configMeterBody("")), kEmpty);
  Bytes body = configMeterBody("gold");
  putAt(body, 8, hex("00000000"));
  EXPECT_EQ(refusalOf(decodeConfigMeter, body), "-3 the fixed word is 0, 1 expected");
}

TEST(DecodeMeterBinding, EveryFieldIsRead) {
  const Bytes body = meterBindingBody(0x301E, "gold", 0xFE);
  const auto decoded = decodeMeterBinding(body);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded.value().meterName, "gold");
  EXPECT_EQ(decoded.value().target, 0xFE);
  EXPECT_TRUE(decoded.value().bind);
  EXPECT_FALSE(decodeMeterBinding(meterBindingBody(0x301F, "gold")).value().bind);
}

TEST(DecodeMeterBinding, OtherSubCodesAreRefused) {
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x301D, "gold")),
            "-3 unknown sub-code 0x301d");
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x3020, "gold")),
            "-3 unknown sub-code 0x3020");
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x1301E, "gold")),
            "-3 unknown sub-code 0x1301e");
}

TEST(DecodeMeterBinding, OtherLengthsThan632AndBadNamesAreRefused) {
  expectOneLength(decodeMeterBinding, meterBindingBody(0x301E, "gold"));
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x301E, std::string(32, 'm'))), "");
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x301E, std::string(33, 'm'))),
            kNotTerminated);
  EXPECT_EQ(refusalOf(decodeMeterBinding, meterBindingBody(0x301E, "")), kEmpty);
}

}  // namespace
}  // namespace aclmgr
