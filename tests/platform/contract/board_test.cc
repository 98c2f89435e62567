#include "platform/board.h"

#include "platform/cliagent.h"
#include "platform/procmon.h"
#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

class BoardContract : public ContractTest {};

TEST_F(BoardContract, FactsStayTheSame) {
  EXPECT_EQ(boardGetSlotSelf(), boardGetSlotSelf());
  EXPECT_EQ(boardGetChassisId(), boardGetChassisId());
  EXPECT_EQ(boardGetPlatformId(), boardGetPlatformId());
  EXPECT_EQ(boardCardEgressAclCapable(1) != 0, boardCardEgressAclCapable(1) != 0);
}

TEST_F(BoardContract, ADaemonThatDoesNotRunHasStateZero) {
  EXPECT_EQ(boardGetProcessState("nobody"), 0);
}

TEST_F(BoardContract, AComponentsReportIsNoStatementAboutTheDaemonOfThatName) {
  EXPECT_EQ(procmonSetState("somebody", 3), 0);
  EXPECT_EQ(procmonSetState("somebody", 1), 0);
  EXPECT_EQ(boardGetProcessState("somebody"), 0);
}

TEST_F(BoardContract, TextsForACliConnectionThatIsNotOpenAreDropped) {
  cliagentNotifyCLI(9999, "text");
  cliagentNotifyCLI(0, "text");
  cliagentNotifyCLI(-1, "text");
}

}  // namespace
}  // namespace contract
