#include "tests/acl_lib/request_test.h"

namespace {

using namespace acl_test;

constexpr std::uint32_t kVlan = 4094;
constexpr std::uint32_t kPort = 0x00030011;
constexpr std::uint32_t kDirection = 0x102;
constexpr std::uint32_t kContext = 0x0A0B0C0D;

class CountersTest : public RequestTest {
 protected:
  static std::int32_t get(const char *rule = "dyn-1", const char *counter = "hits",
                          std::uint32_t appId = 2) {
    return aclLibGetDynRuleCounter(rule, counter, kVlan, kPort, kDirection, appId, kContext);
  }
  static std::int32_t clear(const AclCounterClearRecord &record = counterRecord()) {
    return aclLibClearCounter(&record, kContext);
  }
  static std::int32_t clearBy(const char *rule = "dyn-1", const char *counter = "hits",
                              std::uint32_t appId = 2) {
    return aclLibClearCounterWrapper(rule, counter, kVlan, kPort, kDirection, appId, kContext);
  }

  // A record whose unused bytes are not zero.
  static AclCounterClearRecord counterRecord() {
    AclCounterClearRecord record;
    std::memset(&record, 0xEE, sizeof(record));
    record.appId = 2;
    record.port = kPort;
    record.vlan = kVlan;
    record.direction = 2;
    std::memcpy(record.ruleName, "dyn-1", 6);
    std::memcpy(record.counterName, "hits", 5);
    return record;
  }
  // The same requests with names and numbers that fill their fields.
  static std::int32_t getWide(const char *rule = kNameOf40, const char *counter = kOtherNameOf40) {
    return aclLibGetDynRuleCounter(rule, counter, static_cast<std::uint32_t>(kWideVlan), kWidePort,
                                   0xC5A6B797, kWideApplication, kContext);
  }
  static std::int32_t clearWideBy(const char *rule = kNameOf40,
                                  const char *counter = kOtherNameOf40) {
    return aclLibClearCounterWrapper(rule, counter, static_cast<std::uint32_t>(kWideVlan),
                                     kWidePort, 0xC5A6B797, kWideApplication, kContext);
  }
  static AclCounterClearRecord wideRecord() {
    AclCounterClearRecord record = counterRecord();
    record.appId = kWideApplication;
    record.port = kWidePort;
    record.vlan = static_cast<std::uint32_t>(kWideVlan);
    record.direction = 0x97;
    fillName(record.ruleName, kNameOf40);
    fillName(record.counterName, kOtherNameOf40);
    return record;
  }
};

// ---- Bytes

TEST_F(CountersTest, GetSendsTheLowByteOfTheDirection) {
  EXPECT_TRUE(sends([] { return get(); }, "dynrules/get_counter.golden"));
}

TEST_F(CountersTest, GetSendsTheFirst32CharactersOfLongNames) {
  EXPECT_TRUE(sends([] { return getWide(); }, "dynrules/get_counter_long_names.golden"));
}

TEST_F(CountersTest, ClearSendsTheRecord) {
  EXPECT_TRUE(sends([] { return clear(); }, "dynrules/clear_counter.golden"));
}

TEST_F(CountersTest, ClearSendsTheFirst32CharactersOfLongNames) {
  EXPECT_TRUE(
      sends([] { return clear(wideRecord()); }, "dynrules/clear_counter_long_names.golden"));
}

TEST_F(CountersTest, ClearByArgumentsWithDirection0x102SendsDirection2) {
  EXPECT_TRUE(sends([] { return clearBy(); }, "dynrules/clear_counter.golden"));
}

TEST_F(CountersTest, ClearByArgumentsSendsTheFirst32CharactersOfLongNames) {
  EXPECT_TRUE(sends([] { return clearWideBy(); }, "dynrules/clear_counter_long_names.golden"));
}

TEST_F(CountersTest, NamesAreReadNoFurtherThan32Characters) {
  const UnendedName rule(kNameOf40);
  const UnendedName counter(kOtherNameOf40);
  EXPECT_TRUE(sends([&] { return getWide(rule.data(), counter.data()); },
                    "dynrules/get_counter_long_names.golden"));
  EXPECT_TRUE(sends([&] { return clearWideBy(rule.data(), counter.data()); },
                    "dynrules/clear_counter_long_names.golden"));
}

TEST_F(CountersTest, NullNamesAreEmptyNames) {
  get(nullptr, nullptr);
  clearBy(nullptr, nullptr);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 2U);
  for (const Bytes &body : bodies) EXPECT_EQ(Bytes(body.begin() + 605, body.end()), Bytes(67));
  EXPECT_THAT(fake().traceTexts(),
              ElementsAre(" Access-Control: Get counter for dynamic acl rule  counter name  on "
                          "vlan 4094 port 3:17  direction 258\n",
                          " Access-Control: Clear counter for application  rule  counter  port "
                          "3:17 vlan 4094 direction 2\n"));
}

TEST_F(CountersTest, EveryByteThatNoFieldCoversIsZero) {
  aclLibGetDynRuleCounter(kNameOf40, kNameOf40, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF,
                          0xFFFFFFFF);
  AclCounterClearRecord record;
  std::memset(&record, 0xFF, sizeof(record));
  aclLibClearCounter(&record, 0xFFFFFFFF);
  const std::vector<Bytes> bodies = sentBodies();
  ASSERT_EQ(bodies.size(), 2U);
  for (const Bytes &body : bodies) {
    EXPECT_TRUE(isZeroBeside(
        {{0, 2}, {588, 4}, {592, 4}, {596, 4}, {600, 4}, {604, 1}, {605, 32}, {638, 32}}, body));
  }
}

// ---- Traces

TEST_F(CountersTest, GetTraceHasTwoBlanksBeforeTheWholeDirection) {
  expectTraceOfEveryApplication(
      [](std::uint32_t id) { get("dyn-1", "hits", id); },
      ": Get counter for dynamic acl rule dyn-1 counter name hits on vlan 4094 port 3:17  "
      "direction 258\n");
}

TEST_F(CountersTest, ClearTraceShowsTheNamesShiftedAndTheCounterTwice) {
  expectTraceOfEveryApplication(
      [](std::uint32_t id) {
        AclCounterClearRecord record = counterRecord();
        record.appId = id;
        clear(record);
      },
      ": Clear counter for application dyn-1 rule hits counter hits port 3:17 vlan 4094 "
      "direction 2\n");
}

TEST_F(CountersTest, ClearByArgumentsTracesWhatItSends) {
  expectTraceOfEveryApplication(
      [](std::uint32_t id) { clearBy("dyn-1", "hits", id); },
      ": Clear counter for application dyn-1 rule hits counter hits port 3:17 vlan 4094 "
      "direction 2\n");
}

TEST_F(CountersTest, TracesShowTheFirst32CharactersOfLongNames) {
  const std::string clearLine =
      " Other: Clear counter for application abcdefghijklmnopqrstuvwxyz012345 rule "
      "ABCDEFGHIJKLMNOPQRSTUVWXYZ987654 counter ABCDEFGHIJKLMNOPQRSTUVWXYZ987654 port 27:11325 "
      "vlan -236792892 direction 151\n";
  EXPECT_THAT(
      traceOf([] {
        getWide();
        clear(wideRecord());
        clearWideBy();
      }),
      ElementsAre(" Other: Get counter for dynamic acl rule abcdefghijklmnopqrstuvwxyz012345 "
                  "counter name ABCDEFGHIJKLMNOPQRSTUVWXYZ987654 on vlan -236792892 port "
                  "27:11325  direction -978929769\n",
                  clearLine, clearLine));
}

TEST_F(CountersTest, Port0x00030011IsShownAsSlot3AndPort17) {
  const std::vector<std::string> lines = traceOf([] {
    aclLibGetDynRuleCounter("dyn-1", "hits", kVlan, 0x00030011, 0, 2, 0);
    aclLibClearCounterWrapper("dyn-1", "hits", kVlan, 0x00030011, 0, 2, 0);
  });
  EXPECT_THAT(lines, testing::SizeIs(2));
  EXPECT_THAT(lines, testing::Each(testing::HasSubstr(" port 3:17 ")));
}

TEST_F(CountersTest, TracesShowTheVlanAsASignedNumber) {
  EXPECT_THAT(traceOf([] {
                aclLibGetDynRuleCounter("a", "b", 0xFFFFFFFF, 0xFFFEFFFF, 0xFFFFFFFF, 2, 0);
                aclLibClearCounterWrapper("a", "b", 0xFFFFFFFF, 0xFFFEFFFF, 0xFFFFFFFF, 2, 0);
              }),
              ElementsAre(" Access-Control: Get counter for dynamic acl rule a counter name b on "
                          "vlan -1 port 254:65535  direction -1\n",
                          " Access-Control: Clear counter for application a rule b counter b port "
                          "254:65535 vlan -1 direction 255\n"));
}

TEST_F(CountersTest, LineIsTracedBeforeTheRequestIsSentAndWithoutAConnectionToo) {
  expectTraceBeforeSend([] { get(); });
  expectTraceBeforeSend([] { clear(); });
  expectTraceBeforeSend([] { clearBy(); });
}

// ---- Refusals and results

TEST_F(CountersTest, NullRecordIsRefusedWithoutATrace) {
  expectRefusal([] { return aclLibClearCounter(nullptr, 0); }, -2);
}

TEST_F(CountersTest, ResultsAreThoseOfTheSend) {
  expectResultsOfTheSend([] { return get(); });
  expectResultsOfTheSend([] { return clear(); });
  expectResultsOfTheSend([] { return clearBy(); });
}

TEST_F(CountersTest, RequestsNeedNoMemoryButTheirPacket) {
  expectNoAllocations([] { get(); });
  expectNoAllocations([] { clear(); });
  expectNoAllocations([] { clearBy(); });
}

}  // namespace
