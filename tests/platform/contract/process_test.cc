#include "platform/process.h"

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/platform/contract/contract_test.h"

namespace contract {
namespace {

class ProcessContract : public ContractTest {};

TEST_F(ProcessContract, TheProcessHasANameThatStays) {
  const char *const name = platGetProcessName();
  ASSERT_NE(name, nullptr);
  EXPECT_STRNE(name, "");
  EXPECT_STREQ(platGetProcessName(), name);
}

TEST_F(ProcessContract, SprintfFormatsAsPrintfDoes) {
  EXPECT_STREQ(Sprintf("%s is %d, %08x", "rule", -5, 0xABCu), "rule is -5, 00000abc");
  EXPECT_STREQ(Sprintf("%s", ""), "");
}

TEST_F(ProcessContract, TextsBelow4096CharactersAreWhole) {
  const std::string text(4095, 'x');
  EXPECT_EQ(Sprintf("%s", text.c_str()), text);
}

TEST_F(ProcessContract, LongerTextsAreCut) {
  const std::string text(5000, 'x');
  const std::string cut = Sprintf("%s", text.c_str());
  EXPECT_GE(cut.size(), 4095u);
  EXPECT_EQ(cut, text.substr(0, cut.size()));
}

TEST_F(ProcessContract, ATextSurvivesSevenMoreCalls) {
  std::vector<const char *> texts;
  texts.reserve(8);
  for (int i = 0; i < 8; ++i) texts.push_back(Sprintf("text %d", i));
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(std::string(texts[static_cast<std::size_t>(i)]), "text " + std::to_string(i));
  }
}

TEST_F(ProcessContract, ATextMayBeAnArgumentOfTheNext) {
  EXPECT_STREQ(Sprintf("%s-%s", Sprintf("%d", 1), Sprintf("%d", 2)), "1-2");
}

TEST_F(ProcessContract, ThreadsDoNotSeeEachOthersTexts) {
  std::vector<int> wrongTexts(4);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([number, &wrong = wrongTexts[static_cast<std::size_t>(number)]] {
      for (int i = 0; i < 500; ++i) {
        const char *const text = Sprintf("thread %d round %d", number, i);
        Sprintf("%s", "another");
        const std::string expected =
            "thread " + std::to_string(number) + " round " + std::to_string(i);
        if (text != expected) ++wrong;
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrongTexts, std::vector<int>(4));
}

}  // namespace
}  // namespace contract
