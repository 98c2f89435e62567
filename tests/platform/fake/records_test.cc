// The services that only keep what they are told: event log, CLI, process monitor, board, trees,
// TLV.
#include "tests/platform/fake/fake_test.h"

namespace swplat_fake {
namespace {

using testing::ElementsAre;

using RecordsTest = FakeTest;

TEST_F(RecordsTest, TraceLinesAreKeptWithHandleAndLevel) {
  const std::uint32_t handle = evlogInitTraceBuffer("acl", 4096, 0);
  evlogTraceLog(handle, 4, "a text and more", 6);
  EXPECT_THAT(fake().traceLines(), ElementsAre(TraceLine{handle, 4, "a text"}));
  EXPECT_THAT(fake().traceTexts(), ElementsAre("a text"));
  EXPECT_THAT(fake().calls({"evlogTraceLog"}),
              ElementsAre(Call::of("evlogTraceLog", handle, 4, "a text")));
}

TEST_F(RecordsTest, IncidentsAreKeptFormatted) {
  evlogNotifyIncident(3, "file.c", 12, "function", "%s: %d", "code", -2);
  const std::vector<Incident> incidents = fake().incidents();
  ASSERT_EQ(incidents.size(), 1u);
  EXPECT_EQ(incidents[0].handle, 3u);
  EXPECT_EQ(incidents[0].file, "file.c");
  EXPECT_EQ(incidents[0].line, 12u);
  EXPECT_EQ(incidents[0].function, "function");
  EXPECT_EQ(incidents[0].text, "code: -2");
}

TEST_F(RecordsTest, ResetRestoresTheTraceComponent) {
  _evlog_trace_ComponentDesc.conditionEnabled = 0;
  _evlog_trace_ComponentDesc.occurrenceCounter = 5;
  _evlog_trace_ComponentHandle = 9;
  fake().reset();
  EXPECT_EQ(_evlog_trace_ComponentDesc.conditionEnabled, 1u);
  EXPECT_EQ(_evlog_trace_ComponentDesc.occurrenceCounter, 0u);
  EXPECT_EQ(_evlog_trace_ComponentHandle, 0u);
}

TEST_F(RecordsTest, CliTextsAndProcessStatesAreKeptInOrder) {
  cliagentNotifyCLI(5, "line one\n");
  cliagentNotifyCLI(5, "line two\n");
  procmonSetState("acl", 1);
  procmonSetState("acl", 2);
  EXPECT_THAT(fake().cliTexts(), ElementsAre(CliText{5, "line one\n"}, CliText{5, "line two\n"}));
  EXPECT_THAT(fake().reportedStates(),
              ElementsAre(ReportedState{"acl", 1}, ReportedState{"acl", 2}));
}

TEST_F(RecordsTest, BoardFactsAreAsSet) {
  fake().setSlot(7);
  fake().setChassis(2);
  fake().setPlatformId(0x1234);
  fake().setDaemonState("acl", 9);
  fake().setEgressCapable(3, true);
  fake().setProcessName("tester");
  EXPECT_EQ(boardGetSlotSelf(), 7u);
  EXPECT_EQ(boardGetChassisId(), 2u);
  EXPECT_EQ(boardGetPlatformId(), 0x1234u);
  EXPECT_EQ(boardGetProcessState("acl"), 9);
  EXPECT_EQ(boardGetProcessState("other"), 0);
  EXPECT_NE(boardCardEgressAclCapable(3), 0);
  EXPECT_EQ(boardCardEgressAclCapable(4), 0);
  EXPECT_STREQ(platGetProcessName(), "tester");
}

TEST_F(RecordsTest, AProcessNameStaysValidWhenItChanges) {
  fake().setProcessName("first name, too long for a short string");
  const char *const name = platGetProcessName();
  fake().setProcessName("second");
  EXPECT_STREQ(name, "first name, too long for a short string");
}

TEST_F(RecordsTest, SprintfIsRecordedWithItsText) {
  Sprintf("%d rules", 3);
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("Sprintf", "%d rules", "3 rules")));
}

TEST_F(RecordsTest, TreesAndObjectsWorkAreRecordedAndCanFail) {
  KvNode node{};
  KvNode *root = nullptr;
  const KvCompare compare = [](const void *, const void *) { return 0; };
  fake().queueResults("kvtreeInsert", {-1});
  EXPECT_EQ(kvtreeInsert(&node, &root, compare), -1);
  EXPECT_EQ(root, nullptr);
  EXPECT_EQ(kvtreeInsert(&node, &root, compare), 0);
  EXPECT_EQ(findNode(&node, root, compare), &node);
  std::uint8_t area[16];
  TlvBuilder builder;
  tlvInit(&builder, area, sizeof(area));
  fake().queueResults("tlvAddObject", {-1});
  EXPECT_EQ(tlvAddObject(&builder, "ab", 1, 2), -1);
  EXPECT_EQ(tlvAddObject(&builder, "ab", 1, 2), 0);
  EXPECT_EQ(builder.cursor - builder.start, 6);
  EXPECT_THAT(fake().callNames(), ElementsAre("kvtreeInsert", "kvtreeInsert", "findNode", "tlvInit",
                                              "tlvAddObject", "tlvAddObject"));
}

TEST_F(RecordsTest, AComparisonMayCallThePlatform) {
  KvNode nodes[2] = {};
  KvNode *root = nullptr;
  const KvCompare compare = [](const void *a, const void *b) {
    boardGetSlotSelf();
    return a < b ? -1 : static_cast<int>(a > b);
  };
  EXPECT_EQ(kvtreeInsert(&nodes[0], &root, compare), 0);
  EXPECT_EQ(kvtreeInsert(&nodes[1], &root, compare), 0);
  EXPECT_EQ(fake().callNames({"boardGetSlotSelf"}).size(), 1u);
}

}  // namespace
}  // namespace swplat_fake
