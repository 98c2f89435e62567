#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kContext = 0x0A0B0C0D;
constexpr std::uint32_t kSynchronousPeer = 9;

class MetersTest : public RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    fake().addPeer(kSynchronousPeer);
    aclLibSyncConfigPeerId = kSynchronousPeer;
  }

  static std::int32_t create(const char *name = "gold", std::uint16_t appId = 0xFFFF) {
    const AclMeterOwner owner{appId, kContext};
    return aclLibCreateMeter(name, &owner);
  }
  static std::int32_t remove(const char *name = "gold", std::uint16_t appId = 0xFFFF) {
    const AclMeterOwner owner{appId, kContext};
    return aclLibDeleteMeter(name, &owner);
  }
  static std::int32_t config(const char *name = "gold", std::uint16_t appId = 0xFFFF) {
    const AclMeterOwner owner{appId, kContext};
    return aclLibConfigMeter(name, 0x11121314, 0x21222324, 0x31323334, 0x41424344, 0x51525354,
                             0x61626364, 0xF1E2D3C4, &owner);
  }

  // As for create(), config() and remove(): ids travel in 16 bits.
  template <typename TestedCall>
  static void expectTraceOfEvery16BitApplication(TestedCall call, const std::string &text) {
    expectTraceOfEveryApplication([&](std::uint32_t id) { call(static_cast<std::uint16_t>(id)); },
                                  text);
  }

  // Makes a call that waits for the manager, which answers with `status`.
  template <typename TestedCall>
  static std::int32_t answered(TestedCall call, std::string_view status) {
    fake().forgetCalls();
    fake().queueReceive(kSynchronousPeer,
                        swplat_fake::object(0x1003, join(hex("3020"), hex(status), Bytes(628))));
    return call();
  }

  // The body of the one request on the synchronous channel.
  static testing::AssertionResult exchanged(const char *vector) {
    const auto objects = fake().sentObjects();
    if (objects.size() != 1) return testing::AssertionFailure() << objects.size() << " requests";
    EXPECT_EQ(objects[0].peer, kSynchronousPeer);
    EXPECT_EQ(objects[0].type, 0x1002);
    return matchesGolden(objects[0].value, vector);
  }

  // The six results of the message bus; only those of a packet that was taken are successes.
  template <typename TestedCall>
  static void expectCollapsedResults(TestedCall call) {
    expectOutcomes(call, {{40, 0}, {0, 0}, {-1, -1}, {-115, -1}, {-116, 0}, {-113, -1}});
    expectResultsWithoutAConnection(call);
  }
};

// ---- Bytes

TEST_F(MetersTest, CreateSendsTheApplicationAsAWholeWord) {
  EXPECT_TRUE(sends([] { return create(); }, "dynrules/create_meter.golden"));
}

TEST_F(MetersTest, DeleteSendsTheNameAndTheOwner) {
  EXPECT_TRUE(sends([] { return remove(); }, "dynrules/delete_meter.golden"));
}

TEST_F(MetersTest, ConfigSendsTheRatesAndTheContextTwice) {
  EXPECT_TRUE(sends([] { return config(); }, "dynrules/config_meter.golden"));
}

TEST_F(MetersTest, ConfigCarriesTheConstant1AtOffset8AndTheContextTwice) {
  config();
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 1U);
  EXPECT_EQ(wordAt(bodies[0], 8), 1U);
  EXPECT_EQ(wordAt(bodies[0], 588), kContext);
  EXPECT_EQ(wordAt(bodies[0], 632), kContext);
}

TEST_F(MetersTest, EveryByteThatNoFieldCoversIsZero) {
  const AclMeterOwner owner{0xFFFF, 0xFFFFFFFF};
  aclLibCreateMeter(kNameOf40, &owner);
  aclLibDeleteMeter(kNameOf40, &owner);
  aclLibConfigMeter(kNameOf40, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF,
                    0xFFFFFFFF, 0xFFFFFFFF, &owner);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 3U);
  EXPECT_TRUE(isZeroBeside({{0, 2}, {588, 4}, {592, 31}, {628, 4}}, bodies[0]));
  EXPECT_TRUE(isZeroBeside({{0, 2}, {588, 4}, {592, 31}, {628, 4}}, bodies[1]));
  EXPECT_TRUE(isZeroBeside({{0, 2}, {8, 4}, {588, 4}, {592, 31}, {628, 36}}, bodies[2]));
}

TEST_F(MetersTest, Only31CharactersOfAMetersNameAreSent) {
  EXPECT_TRUE(
      sends([] { return create(kNameOf40, 0x8A0B); }, "dynrules/create_meter_long_name.golden"));
  EXPECT_TRUE(
      sends([] { return remove(kNameOf40, 0x8A0B); }, "dynrules/delete_meter_long_name.golden"));
  EXPECT_TRUE(
      sends([] { return config(kNameOf40, 0x8A0B); }, "dynrules/config_meter_long_name.golden"));
}

TEST_F(MetersTest, NamesAreReadNoFurtherThan32Characters) {
  const UnendedName name(kNameOf40);
  EXPECT_TRUE(
      sends([&] { return create(name.data(), 0x8A0B); }, "dynrules/create_meter_long_name.golden"));
  EXPECT_TRUE(
      sends([&] { return remove(name.data(), 0x8A0B); }, "dynrules/delete_meter_long_name.golden"));
  EXPECT_TRUE(
      sends([&] { return config(name.data(), 0x8A0B); }, "dynrules/config_meter_long_name.golden"));
  answered([&] { return aclLibBindMeter(name.data(), 0x1FF); }, "0000");
  EXPECT_TRUE(exchanged("dynrules/bind_meter_long_name.golden"));
}

TEST_F(MetersTest, NullNamesAreEmptyNames) {
  create(nullptr);
  remove(nullptr);
  config(nullptr);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 3U);
  for (const Bytes &body : bodies) {
    EXPECT_EQ(Bytes(body.begin() + 592, body.begin() + 628), Bytes(36));
  }
  EXPECT_THAT(fake().traceTexts(),
              ElementsAre(" Other: Add client meter  \n", " Other: Delete client meter  \n",
                          " Other: Configure client meter : cirRate 286397204 cirBurstSize "
                          "555885348 peakRate 825373492 burstSize 1094861636 outAction 1364349780 "
                          "dscpVal 1633837924\n"));
  answered([] { return aclLibBindMeter(nullptr, 0); }, "0000");
  const auto objects = fake().sentObjects();
  ASSERT_EQ(objects.size(), 1U);
  EXPECT_EQ(Bytes(objects[0].value.begin() + 596, objects[0].value.end()), Bytes(36));
}

// ---- Traces

TEST_F(MetersTest, CreateTracesApplicationAndMeter) {
  expectTraceOfEvery16BitApplication([](std::uint16_t id) { create("gold", id); },
                                     ": Add client meter gold \n");
}

TEST_F(MetersTest, DeleteTracesApplicationAndMeter) {
  expectTraceOfEvery16BitApplication([](std::uint16_t id) { remove("gold", id); },
                                     ": Delete client meter gold \n");
}

TEST_F(MetersTest, ConfigTracesAllNumbersButTheExtraOne) {
  expectTraceOfEvery16BitApplication(
      [](std::uint16_t id) { config("gold", id); },
      ": Configure client meter gold: cirRate 286397204 cirBurstSize 555885348 peakRate 825373492 "
      "burstSize 1094861636 outAction 1364349780 dscpVal 1633837924\n");
}

TEST_F(MetersTest, ConfigTracesNumbersWithoutASign) {
  const AclMeterOwner owner{2, 0};
  EXPECT_THAT(traceOf([&] {
                aclLibConfigMeter("gold", 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD, 0xFFFFFFFC,
                                  0xFFFFFFFB, 0xFFFFFFFA, 0, &owner);
              }),
              ElementsAre(" Access-Control: Configure client meter gold: cirRate 4294967295 "
                          "cirBurstSize 4294967294 peakRate 4294967293 burstSize 4294967292 "
                          "outAction 4294967291 dscpVal 4294967290\n"));
}

TEST_F(MetersTest, TracesShow32CharactersOfANameOfWhich31AreSent) {
  EXPECT_THAT(traceOf([] {
                create(kNameOf40, 2);
                remove(kNameOf40, 2);
                config(kNameOf40, 2);
              }),
              ElementsAre(" Access-Control: Add client meter abcdefghijklmnopqrstuvwxyz012345 \n",
                          " Access-Control: Delete client meter "
                          "abcdefghijklmnopqrstuvwxyz012345 \n",
                          " Access-Control: Configure client meter "
                          "abcdefghijklmnopqrstuvwxyz012345: cirRate 286397204 cirBurstSize "
                          "555885348 peakRate 825373492 burstSize 1094861636 outAction 1364349780 "
                          "dscpVal 1633837924\n"));
}

TEST_F(MetersTest, LineIsTracedBeforeTheRequestIsSentAndWithoutAConnectionToo) {
  expectTraceBeforeSend([] { create(); });
  expectTraceBeforeSend([] { remove(); });
  expectTraceBeforeSend([] { config(); });
}

// ---- Results

TEST_F(MetersTest, EveryFailureToSendIsMinusOne) {
  expectCollapsedResults([] { return create(); });
  expectCollapsedResults([] { return remove(); });
  expectCollapsedResults([] { return config(); });
}

TEST_F(MetersTest, RequestsNeedNoMemoryButTheirPacket) {
  expectNoAllocations([] { create(); });
  expectNoAllocations([] { remove(); });
  expectNoAllocations([] { config(); });
}

// ---- Binding

TEST_F(MetersTest, BindWithTarget0x1FFSendsTarget0xFF) {
  EXPECT_EQ(answered([] { return aclLibBindMeter("gold", 0x1FF); }, "0000"), 0);
  EXPECT_TRUE(exchanged("dynrules/bind_meter.golden"));
}

TEST_F(MetersTest, UnbindSendsItsOwnSubCode) {
  EXPECT_EQ(answered([] { return aclLibUnbindMeter("gold", 0x1FF); }, "0000"), 0);
  EXPECT_TRUE(exchanged("dynrules/unbind_meter.golden"));
}

TEST_F(MetersTest, BindAndUnbindSend32CharactersOfALongName) {
  answered([] { return aclLibBindMeter(kNameOf40, 0x1FF); }, "0000");
  EXPECT_TRUE(exchanged("dynrules/bind_meter_long_name.golden"));
  answered([] { return aclLibUnbindMeter(kNameOf40, 0x1FF); }, "0000");
  EXPECT_TRUE(exchanged("dynrules/unbind_meter_long_name.golden"));
}

TEST_F(MetersTest, BindAndUnbindReturnTheManagersStatus) {
  EXPECT_EQ(answered([] { return aclLibBindMeter("gold", 1); }, "fffe"), -2);
  EXPECT_EQ(answered([] { return aclLibBindMeter("gold", 1); }, "7fff"), 32767);
  EXPECT_EQ(answered([] { return aclLibUnbindMeter("gold", 1); }, "8000"), -32768);
}

TEST_F(MetersTest, BindAndUnbindReturnMinusOneWhenTheyCannotSend) {
  fake().setConnected(kSynchronousPeer, false);
  EXPECT_EQ(aclLibBindMeter("gold", 1), -1);
  EXPECT_EQ(aclLibUnbindMeter("gold", 1), -1);
}

TEST_F(MetersTest, BindAndUnbindWriteNoTraceLineAndLeaveTheHandleAlone) {
  answered([] { return aclLibBindMeter("gold", 1); }, "0000");
  EXPECT_THAT(fake().callNames({"Sprintf", "evlog*"}), IsEmpty());
  answered([] { return aclLibUnbindMeter("gold", 1); }, "0000");
  EXPECT_THAT(fake().callNames({"Sprintf", "evlog*"}), IsEmpty());
  EXPECT_EQ(aclHandle->builder.cursor, aclHandle->builder.start);
}

TEST_F(MetersTest, BindingNeedsNoMemoryButItsPackets) {
  fake().queueReceive(kSynchronousPeer, swplat_fake::object(0x1003, Bytes(632)));
  const FailAllocation guard(1);
  EXPECT_EQ(aclLibBindMeter("gold", 1), 0);
  EXPECT_FALSE(guard.failed());
}

}  // namespace
