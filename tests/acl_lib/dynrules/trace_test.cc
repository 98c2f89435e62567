#include <atomic>
#include <thread>

#include "tests/acl_lib/library_test.h"

namespace {

using namespace acl_test;
using swplat_fake::CliText;
using swplat_fake::TraceLine;

constexpr std::uint32_t kBuffer = 0x77;
constexpr std::uint32_t kPrint = 0x10;
constexpr std::uint32_t kCli = 0x40;

class TraceTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    aclTraceBufferHandle = kBuffer;
    aclState = &settings_;
  }

  // Traces and returns what was printed on standard output.
  static std::string printed(std::uint32_t flags, const char *text) {
    OutputCapture output;
    const char *result = aclTrace(flags, text);
    output.finish();
    EXPECT_EQ(result, text);
    EXPECT_EQ(output.standardError(), "");
    return output.standardOutput();
  }

  AclTraceState &settings() { return settings_; }

 private:
  AclTraceState settings_{0, 0, 0};
};

TEST_F(TraceTest, FirstTracePointsStateAtARecordOfZeros) {
  aclState = nullptr;
  EXPECT_EQ(printed(7, "text\n"), "");
  ASSERT_NE(aclState, nullptr);
  EXPECT_EQ(aclState->debugLevel, 0);
  EXPECT_EQ(aclState->printLevel, 0);
  EXPECT_EQ(aclState->cliHandle, 0);
}

TEST_F(TraceTest, EmptyTextInstallsTheStateToo) {
  aclState = nullptr;
  aclTrace(7, "");
  EXPECT_NE(aclState, nullptr);
}

TEST_F(TraceTest, StateTakenAwayIsInstalledAgainWithZeros) {
  aclState = nullptr;
  aclTrace(7, "");
  AclTraceState *installed = aclState;
  *installed = {1, 2, 3};
  aclState = nullptr;
  aclTrace(7, "");
  EXPECT_EQ(aclState, installed);
  EXPECT_EQ(aclState->debugLevel, 0);
  EXPECT_EQ(aclState->printLevel, 0);
  EXPECT_EQ(aclState->cliHandle, 0);
}

TEST_F(TraceTest, StateThatIsSetIsKept) {
  settings() = {4, 5, 6};
  aclTrace(7, "");
  EXPECT_EQ(aclState, &settings());
  EXPECT_EQ(settings().debugLevel, 4);
  EXPECT_EQ(settings().printLevel, 5);
  EXPECT_EQ(settings().cliHandle, 6);
}

TEST_F(TraceTest, EmptyTextProducesNoOutputAnywhere) {
  settings() = {9, 15, 3};
  EXPECT_EQ(printed(kPrint | kCli | 1, ""), "");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TraceTest, NullTextIsTreatedAsEmpty) {
  settings() = {9, 15, 3};
  EXPECT_EQ(printed(kPrint | kCli | 1, nullptr), "");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TraceTest, BufferReceivesTheTextWithoutAPrefixAtEveryLevel) {
  settings().debugLevel = 3;
  for (std::uint32_t level = 0; level < 16; ++level) {
    fake().forgetCalls();
    aclTrace(level, "text\n");
    EXPECT_THAT(fake().traceLines(), ElementsAre(TraceLine{kBuffer, level, "text\n"}));
  }
}

TEST_F(TraceTest, LevelIsTheLowFourBitsOfTheFlags) {
  aclTrace(0xFFFFFF07 & ~(kPrint | kCli), "text\n");
  EXPECT_THAT(fake().traceLines(), ElementsAre(TraceLine{kBuffer, 7, "text\n"}));
}

TEST_F(TraceTest, BufferReceivesVerboseLinesFromDebugLevelThreeOn) {
  for (const std::int32_t debugLevel : {INT32_MIN, -1, 0, 2}) {
    settings().debugLevel = debugLevel;
    aclTrace(8, "text\n");
  }
  EXPECT_THAT(fake().calls(), IsEmpty());
  for (const std::int32_t debugLevel : {3, 4, INT32_MAX}) {
    settings().debugLevel = debugLevel;
    aclTrace(8, "text\n");
  }
  EXPECT_EQ(fake().traceLines().size(), 3U);
}

TEST_F(TraceTest, LevelsBesideTheVerboseOneNeedNoDebugLevel) {
  settings().debugLevel = INT32_MIN;
  aclTrace(7, "seven\n");
  aclTrace(9, "nine\n");
  EXPECT_THAT(fake().traceTexts(), ElementsAre("seven\n", "nine\n"));
}

TEST_F(TraceTest, VerboseLineThatStaysOutOfTheBufferIsPrintedAllTheSame) {
  settings() = {2, 8, 0};
  EXPECT_EQ(printed(kPrint | 8, "text\n"), "text\n");
  EXPECT_THAT(fake().calls(), IsEmpty());
}

TEST_F(TraceTest, WithoutABufferNothingIsWrittenToIt) {
  aclTraceBufferHandle = 0;
  settings() = {3, 15, 5};
  EXPECT_EQ(printed(kPrint | kCli | 7, "text\n"), "text\n");
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("cliagentNotifyCLI", 5, "text\n")));
}

TEST_F(TraceTest, CriticalErrorAndWarningLinesArePrintedBehindTheirPrefix) {
  settings().printLevel = 15;
  EXPECT_EQ(printed(kPrint | 1, "text\n"), "***Critical: text\n");
  EXPECT_EQ(printed(kPrint | 2, "text\n"), "***Error: text\n");
  EXPECT_EQ(printed(kPrint | 3, "text\n"), "***Warning: text\n");
}

TEST_F(TraceTest, OtherLevelsHaveNoPrefix) {
  settings().printLevel = 15;
  EXPECT_EQ(printed(kPrint, "text\n"), "text\n");
  for (std::uint32_t level = 4; level < 16; ++level) {
    EXPECT_EQ(printed(kPrint | level, "text\n"), "text\n") << level;
  }
}

TEST_F(TraceTest, ErrorIsPrintedFromPrintLevelTwoOn) {
  settings().printLevel = 1;
  EXPECT_EQ(printed(0x12, "text\n"), "");
  settings().printLevel = 2;
  EXPECT_EQ(printed(0x12, "text\n"), "***Error: text\n");
  settings().printLevel = 3;
  EXPECT_EQ(printed(0x12, "text\n"), "***Error: text\n");
}

TEST_F(TraceTest, NegativePrintLevelPrintsNothing) {
  settings().printLevel = -1;
  EXPECT_EQ(printed(kPrint, "text\n"), "");
}

TEST_F(TraceTest, NothingIsPrintedWithoutThePrintFlag) {
  settings().printLevel = 15;
  EXPECT_EQ(printed(1, "text\n"), "");
  EXPECT_EQ(printed(kCli | 1, "text\n"), "");
  EXPECT_EQ(printed(0x20 | 1, "text\n"), "");
}

TEST_F(TraceTest, PercentSignsOfTheTextArePrintedAsTheyAre) {
  settings().printLevel = 15;
  EXPECT_EQ(printed(kPrint | 7, "100%s %n\n"), "100%s %n\n");
}

TEST_F(TraceTest, CliReceivesTheTextWithoutAPrefix) {
  settings().cliHandle = 5;
  aclTrace(kCli | 2, "text\n");
  EXPECT_THAT(fake().cliTexts(), ElementsAre(CliText{5, "text\n"}));
}

TEST_F(TraceTest, CliReceivesNothingWithoutItsFlagOrWithoutAHandle) {
  settings().cliHandle = 5;
  aclTrace(7, "text\n");
  aclTrace(0x20 | 7, "text\n");
  settings().cliHandle = 0;
  aclTrace(kCli | 7, "text\n");
  EXPECT_THAT(fake().cliTexts(), IsEmpty());
}

TEST_F(TraceTest, NegativeCliHandleIsAHandle) {
  settings().cliHandle = -1;
  aclTrace(kCli | 7, "text\n");
  EXPECT_THAT(fake().cliTexts(), ElementsAre(CliText{-1, "text\n"}));
}

TEST_F(TraceTest, CliDoesNotDependOnThePrintLevelNorOnTheDebugLevel) {
  settings() = {0, -5, 5};
  aclTrace(kCli | 8, "text\n");
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("cliagentNotifyCLI", 5, "text\n")));
}

TEST_F(TraceTest, BufferComesBeforeTheCli) {
  settings() = {3, 15, 5};
  EXPECT_EQ(printed(kPrint | kCli | 3, "text\n"), "***Warning: text\n");
  EXPECT_THAT(fake().calls(), ElementsAre(Call::of("evlogTraceLog", kBuffer, 3, "text\n"),
                                          Call::of("cliagentNotifyCLI", 5, "text\n")));
}

TEST_F(TraceTest, PrintingComesBeforeTheCli) {
  settings() = {3, 15, 5};
  OutputCapture output;
  std::string printedThen;
  fake().setHook("cliagentNotifyCLI", [&] { printedThen = output.standardOutput(); });
  aclTrace(kPrint | kCli | 3, "text\n");
  output.finish();
  EXPECT_EQ(printedThen, "***Warning: text\n");
  EXPECT_EQ(fake().cliTexts().size(), 1U);
}

// Threads that find no settings all at once, while the application takes what is installed and
// changes it: a late installation must neither undo the change nor leave anyone without settings.
TEST_F(TraceTest, FirstTracesOfSeveralThreadsInstallTheStateOnceAndKeepWhatIsSetThen) {
  static constexpr std::int32_t kSet = 9;
  for (unsigned round = 0; round < 100; ++round) {
    __atomic_store_n(&aclState, nullptr, __ATOMIC_RELEASE);
    std::atomic<unsigned> ready = 0;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&ready] {
        for (++ready; ready < 4;) std::this_thread::yield();
        aclTrace(7, "");
        AclTraceState *installed = __atomic_load_n(&aclState, __ATOMIC_ACQUIRE);
        __atomic_store_n(&installed->debugLevel, kSet, __ATOMIC_RELEASE);
        aclTrace(7, "text\n");
        EXPECT_EQ(__atomic_load_n(&installed->debugLevel, __ATOMIC_ACQUIRE), kSet);
      });
    }
    for (std::thread &thread : threads) thread.join();
    ASSERT_NE(aclState, nullptr);
    EXPECT_EQ(aclState->debugLevel, kSet);
  }
  EXPECT_EQ(fake().traceLines().size(), 400U);
}

TEST_F(TraceTest, StateThatTheApplicationTakesAwayIsNeverMissed) {
  settings() = {9, 0, 0};
  std::atomic<bool> stop = false;
  std::thread application([&] {
    while (!stop) {
      __atomic_store_n(&aclState, nullptr, __ATOMIC_RELEASE);
      std::this_thread::yield();
      __atomic_store_n(&aclState, &settings(), __ATOMIC_RELEASE);
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < 3; ++thread) {
    threads.emplace_back([] {
      for (unsigned line = 0; line < 1000; ++line) aclTrace(7, "text\n");
    });
  }
  for (std::thread &thread : threads) thread.join();
  stop = true;
  application.join();
  EXPECT_EQ(fake().traceLines().size(), 3000U);
}

TEST_F(TraceTest, TracingNeedsNoMemory) {
  const FailAllocation guard(1);
  aclTrace(7, "text\n");
  EXPECT_FALSE(guard.failed());
}

}  // namespace
