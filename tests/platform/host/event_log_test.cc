#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

#include "platform/evlog.h"
#include "tests/platform/host/test_directory.h"

namespace {

std::string traceFile(const std::string &name) {
  std::ifstream file(
      host_test::directory() + "/trace/" + name + "." + std::to_string(getpid()) + ".trace",
      std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(EventLogTest, WithoutATraceBufferIncidentsGetOneOfTheirOwn) {
  static EvlogComponentDesc component = {"ACL", "Access control", 0, 0, 0, 0};
  uint32_t handle = 0;
  ASSERT_EQ(evlogRegisterComponent(1, &component, &handle), 0);
  evlogNotifyIncident(handle, "file.cc", 12, "function", "%d rules lost", 3);
  EXPECT_NE(traceFile("incidents").find(" 2 ACL: file.cc:12 function: 3 rules lost\n"),
            std::string::npos);
}

TEST(EventLogTest, IncidentsGoToEveryOpenTraceBuffer) {
  EXPECT_NE(_evlog_trace_ComponentDesc.conditionEnabled, 0u);
  EXPECT_EQ(_evlog_trace_ComponentDesc.occurrenceCounter, 0u);
  EXPECT_EQ(_evlog_trace_ComponentDesc.logFlags & 1u, 1u);
  EXPECT_EQ(_evlog_trace_ComponentHandle, 0u);
  evlogInitTraceBuffer("left", 1000, 0);
  evlogInitTraceBuffer("right", 1000, 0);
  uint32_t handle = 0;
  ASSERT_EQ(evlogRegisterComponent(2, &_evlog_trace_ComponentDesc, &handle), 0);
  evlogNotifyIncident(handle, "a.cc", 1, "f", "%s", "it happened");
  EXPECT_NE(traceFile("left").find("trace: a.cc:1 f: it happened\n"), std::string::npos);
  EXPECT_NE(traceFile("right").find("trace: a.cc:1 f: it happened\n"), std::string::npos);
}

TEST(EventLogTest, ADescriptorKeepsItsHandle) {
  static EvlogComponentDesc first = {"first", "", 0, 0, 0, 0};
  static EvlogComponentDesc second = {"second", "", 0, 0, 0, 0};
  uint32_t handles[3] = {};
  EXPECT_EQ(evlogRegisterComponent(1, &first, &handles[0]), 0);
  EXPECT_EQ(evlogRegisterComponent(1, &second, &handles[1]), 0);
  EXPECT_EQ(evlogRegisterComponent(1, &first, &handles[2]), 0);
  EXPECT_NE(handles[0], 0u);
  EXPECT_NE(handles[0], handles[1]);
  EXPECT_EQ(handles[0], handles[2]);
}

TEST(EventLogTest, UnknownKindsDescriptorsAndHandlesAreRefused) {
  static EvlogComponentDesc component = {"x", "", 0, 0, 0, 0};
  uint32_t handle = 77;
  EXPECT_EQ(evlogRegisterComponent(0, &component, &handle), -1);
  EXPECT_EQ(evlogRegisterComponent(3, &component, &handle), -1);
  EXPECT_EQ(evlogRegisterComponent(1, nullptr, &handle), -1);
  EXPECT_EQ(evlogRegisterComponent(1, &component, nullptr), -1);
  EXPECT_EQ(handle, 77u);
  evlogNotifyIncident(0, "a.cc", 1, "f", "ignored");
  evlogNotifyIncident(4711, "a.cc", 1, "f", "ignored");
}

}  // namespace
