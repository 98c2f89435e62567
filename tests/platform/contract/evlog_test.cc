#include "platform/evlog.h"

#include <string>

#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

class EvlogContract : public ContractTest {};

TEST_F(EvlogContract, OpeningATraceBufferAgainGivesTheSameHandle) {
  const std::uint32_t first = evlogInitTraceBuffer("first", 4096, 0);
  const std::uint32_t second = evlogInitTraceBuffer("second", 4096, 0);
  EXPECT_NE(first, 0u);
  EXPECT_NE(second, 0u);
  EXPECT_NE(first, second);
  EXPECT_EQ(evlogInitTraceBuffer("first", 4096, 0), first);
}

TEST_F(EvlogContract, TracesNeedNotBeTerminatedAndUnknownHandlesAreIgnored) {
  const std::uint32_t handle = evlogInitTraceBuffer("traces", 4096, 0);
  const char text[] = {'a', 'b', 'c'};
  evlogTraceLog(handle, 4, text, sizeof(text));
  evlogTraceLog(handle, 4, text, 0);
  evlogTraceLog(0, 1, text, sizeof(text));
  evlogTraceLog(0xFFFF'FFF0, 1, text, sizeof(text));
}

TEST_F(EvlogContract, TracesLongerThanTheBufferDoNoHarm) {
  const std::uint32_t handle = evlogInitTraceBuffer("small", 256, 0);
  const std::string text(10'000, 'x');
  for (int i = 0; i < 10; ++i) {
    evlogTraceLog(handle, 5, text.data(), static_cast<std::uint32_t>(text.size()));
  }
}

TEST_F(EvlogContract, RegisteringADescriptorAgainGivesTheSameHandle) {
  static EvlogComponentDesc component = {"acl", "access lists", 0, 0, 1, 0};
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  EXPECT_EQ(evlogRegisterComponent(1, &component, &first), 0);
  EXPECT_EQ(evlogRegisterComponent(1, &component, &second), 0);
  EXPECT_NE(first, 0u);
  EXPECT_EQ(first, second);
}

TEST_F(EvlogContract, ThePlatformsTraceComponentCanBeRegistered) {
  std::uint32_t handle = 0;
  EXPECT_EQ(evlogRegisterComponent(2, &_evlog_trace_ComponentDesc, &handle), 0);
  EXPECT_NE(handle, 0u);
}

TEST_F(EvlogContract, OtherKindsOfComponentAreRefused) {
  static EvlogComponentDesc component = {"acl", "access lists", 0, 0, 1, 0};
  std::uint32_t handle = 4711;
  EXPECT_EQ(evlogRegisterComponent(0, &component, &handle), -1);
  EXPECT_EQ(evlogRegisterComponent(3, &component, &handle), -1);
  EXPECT_EQ(handle, 4711u);
}

TEST_F(EvlogContract, IncidentsAreFormattedAndUnknownHandlesIgnored) {
  static EvlogComponentDesc component = {"incidents", "incidents", 0, 0, 0, 0};
  std::uint32_t handle = 0;
  ASSERT_EQ(evlogRegisterComponent(1, &component, &handle), 0);
  evlogNotifyIncident(handle, "file", 12, "function", "%s failed: %d", "call", -1);
  evlogNotifyIncident(0xFFFF'FFF0, "file", 12, "function", "%s", "nobody");
}

}  // namespace
}  // namespace contract
