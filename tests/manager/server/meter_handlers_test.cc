#include "manager/server/handler_tables.h"

#include <gtest/gtest.h>

#include "tests/manager/dynamic_rule_bytes.h"
#include "tests/manager/server/served_requests.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::bytesOf;
using test_support::configMeterBody;
using test_support::hex;
using test_support::join;
using test_support::meterBindingBody;
using test_support::meterBody;
using test_support::putAt;
using test_support::zeros;

class MeterHandlersTest : public testing::Test, protected test_support::ServedRequests {};

TEST_F(MeterHandlersTest, EveryCodeHasItsName) {
  EXPECT_EQ(handlerOf(0x3012).codeName, "ACL_MSG_CREATE_METER");
  EXPECT_EQ(handlerOf(0x3013).codeName, "ACL_MSG_CONFIG_METER");
  EXPECT_EQ(handlerOf(0x3014).codeName, "ACL_MSG_DELETE_METER");
  EXPECT_EQ(handlerOf(0x3020).codeName, "ACL_MSG_SYNCHRONOUS_METER");
}

TEST_F(MeterHandlersTest, SameMeterAgainIsOkAndAnyOtherOfItsNameExists) {
  EXPECT_EQ(serve(meterBody(0x3012, "gold")), 0);
  EXPECT_EQ(text.fields, "meter \"gold\", application 3, context 9");
  EXPECT_EQ(serve(meterBody(0x3012, "gold")), 0);
  EXPECT_EQ(serve(meterBody(0x3012, "gold", 4)), -15);
  EXPECT_EQ(serve(meterBody(0x3012, "gold", 3, 10)), -15);
  EXPECT_EQ(state.meters.size(), 1U);
}

TEST_F(MeterHandlersTest, MetersBeyondTheLimitAreRefusedForMemory) {
  state.meters = MeterStore(1);
  EXPECT_EQ(serve(meterBody(0x3012, "gold")), 0);
  EXPECT_EQ(serve(meterBody(0x3012, "silver")), -18);
  EXPECT_EQ(kMaxMeters, 4096U);
}

TEST_F(MeterHandlersTest, ConfigureSetsTheRatesOfTheOwnersMeter) {
  EXPECT_EQ(serve(configMeterBody("gold")), -140);
  serve(meterBody(0x3012, "gold"));
  EXPECT_EQ(serve(configMeterBody("gold", 4)), -140);
  EXPECT_EQ(serve(configMeterBody("gold")), 0);
  EXPECT_EQ(serve(configMeterBody("gold")), 0);
  EXPECT_EQ(text.fields,
            "meter \"gold\", application 3, cirRate 1 cirBurstSize 2 peakRate 3 burstSize 4 "
            "outAction 5 dscpVal 6 extra 7");
  EXPECT_EQ(state.meters.find("gold")->rates, (MeterRates{1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(MeterHandlersTest, DeleteRemovesTheOwnersMeterThatIsNotBound) {
  EXPECT_EQ(serve(meterBody(0x3014, "gold")), -140);
  serve(meterBody(0x3012, "gold"));
  EXPECT_EQ(serve(meterBody(0x3014, "gold", 4)), -140);
  serve(meterBindingBody(0x301E, "gold"));
  EXPECT_EQ(serve(meterBody(0x3014, "gold")), -16);
  EXPECT_EQ(reason, "bound to target 255");
  serve(meterBindingBody(0x301F, "gold"));
  EXPECT_EQ(serve(meterBody(0x3014, "gold", 3, 77)), 0);  // whatever the context
  EXPECT_EQ(text.fields, "meter \"gold\", application 3");
  EXPECT_EQ(state.meters.size(), 0U);
}

TEST_F(MeterHandlersTest, MeterIsBoundToATargetOnceAndUnboundFromIt) {
  EXPECT_EQ(serve(meterBindingBody(0x301E, "gold")), -140);
  EXPECT_EQ(serve(meterBindingBody(0x301F, "gold")), -140);
  serve(meterBody(0x3012, "gold"));
  EXPECT_EQ(serve(meterBindingBody(0x301F, "gold", 1)), -160);
  EXPECT_EQ(text.fields, "meter \"gold\", unbind from target 1");
  EXPECT_EQ(serve(meterBindingBody(0x301E, "gold", 1)), 0);
  EXPECT_EQ(text.fields, "meter \"gold\", bind to target 1");
  EXPECT_EQ(serve(meterBindingBody(0x301E, "gold", 1)), -159);
  EXPECT_EQ(serve(meterBindingBody(0x301F, "gold", 2)), -160);
  EXPECT_EQ(serve(meterBindingBody(0x301F, "gold", 1)), 0);
}

TEST_F(MeterHandlersTest, RepliesHave632BytesWithContextNameAndApplication) {
  Bytes expected = zeros(632);
  putAt(expected, 588, hex("00000009"));
  putAt(expected, 592, bytesOf("gold"));
  putAt(expected, 628, hex("00000003"));
  serve(meterBody(0x3014, "gold"));
  putAt(expected, 0, hex("3014 FF74"));  // -140
  EXPECT_EQ(reply, expected);
  serve(configMeterBody("gold"));
  putAt(expected, 0, hex("3013 FF74"));
  EXPECT_EQ(reply, expected);
  serve(meterBody(0x3012, "gold"));
  putAt(expected, 0, hex("3012 0000"));
  EXPECT_EQ(reply, expected);
}

TEST_F(MeterHandlersTest, BindingReplyHas632BytesWithSubCodeTargetAndName) {
  serve(meterBindingBody(0x301E, "gold"));
  Bytes expected = zeros(632);
  putAt(expected, 0, hex("3020 FF74"));  // -140
  putAt(expected, 592, hex("0000301E"));
  putAt(expected, 596, hex("FF"));
  putAt(expected, 597, bytesOf("gold"));
  EXPECT_EQ(reply, expected);
}

TEST_F(MeterHandlersTest, MalformedBodiesChangeNothing) {
  serve(meterBody(0x3012, "gold"));
  for (const char *code : {"3012", "3013", "3014", "3020"}) {
    EXPECT_EQ(serve(hex(code)), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(60))), -3) << code;
    EXPECT_EQ(serve(join(hex(code), Bytes(3000))), -3) << code;
  }
  EXPECT_EQ(serve(meterBindingBody(0x3012, "gold")), -3);
  EXPECT_TRUE(state.meters.find("gold")->targets.empty());
  EXPECT_EQ(state.meters.size(), 1U);
}

}  // namespace
}  // namespace aclmgr
