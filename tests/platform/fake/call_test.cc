#include "swplat_fake/call.h"

#include <gtest/gtest.h>

#include <sstream>

namespace swplat_fake {
namespace {

std::string printed(const Call &call) {
  std::ostringstream out;
  out << call;
  return out.str();
}

void routine(void *, void *) {}

TEST(CallTest, PrintsAsACallIsWritten) {
  EXPECT_EQ(printed(Call::of("msgbusSetPeerOption", 7, 2, 1)), "msgbusSetPeerOption(7, 2, 1)");
  EXPECT_EQ(printed(Call::of("boardGetSlotSelf")), "boardGetSlotSelf()");
  EXPECT_EQ(printed(Call::of("f", "text", nullptr, Argument::anything(), -1)),
            "f(\"text\", null, _, -1)");
}

TEST(CallTest, GoogletestPrintsItLikewise) {
  EXPECT_EQ(testing::PrintToString(Call::of("f", 1)), "f(1)");
}

TEST(CallTest, NumbersCompareByValueWhateverTheirType) {
  EXPECT_EQ(Argument(std::uint8_t{7}), Argument(std::int64_t{7}));
  EXPECT_NE(Argument(7), Argument(8));
  EXPECT_NE(Argument(7), Argument("7"));
}

TEST(CallTest, TextsCompareByContentAndPointersByAddress) {
  EXPECT_EQ(Argument("abc"), Argument(std::string("abc")));
  int a = 0;
  int b = 0;
  EXPECT_EQ(Argument(&a), Argument(&a));
  EXPECT_NE(Argument(&a), Argument(&b));
  EXPECT_EQ(Argument(routine), Argument(routine));
}

TEST(CallTest, ANullTextIsTheNullPointer) {
  EXPECT_EQ(Argument(static_cast<const char *>(nullptr)), Argument(nullptr));
}

TEST(CallTest, AnythingEqualsEveryArgument) {
  EXPECT_EQ(Argument::anything(), Argument(7));
  EXPECT_EQ(Argument("text"), Argument::anything());
}

TEST(CallTest, CallsDifferInNameNumberOrValueOfArguments) {
  EXPECT_EQ(Call::of("f", 1, 2), Call::of("f", 1, 2));
  EXPECT_NE(Call::of("f", 1, 2), Call::of("g", 1, 2));
  EXPECT_NE(Call::of("f", 1, 2), Call::of("f", 1));
  EXPECT_NE(Call::of("f", 1, 2), Call::of("f", 1, 3));
}

}  // namespace
}  // namespace swplat_fake
