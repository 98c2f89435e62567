#include "platform/common/text_ring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace swplat {
namespace {

__attribute__((format(printf, 1, 2))) const char *format(const char *text, ...) {
  std::va_list arguments;
  va_start(arguments, text);
  const char *const formatted = formatText(text, arguments);
  va_end(arguments);
  return formatted;
}

TEST(TextRingTest, EightBuffersAreUsedInTurn) {
  std::set<const char *> buffers;
  const char *const first = format("%d", 0);
  buffers.insert(first);
  for (int i = 1; i < 8; ++i) buffers.insert(format("%d", i));
  EXPECT_EQ(buffers.size(), 8u);
  EXPECT_EQ(format("%d", 8), first);
  EXPECT_STREQ(first, "8");
}

TEST(TextRingTest, TextsAreCutTo4095Characters) {
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 100'000u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(std::string(format("%s", text.c_str())).size(), std::min<std::size_t>(length, 4095));
  }
}

TEST(TextRingTest, AFormatThatCannotBeWrittenGivesTheEmptyText) {
  const wchar_t invalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
  EXPECT_STREQ(format("before %ls", invalid), "");
}

}  // namespace
}  // namespace swplat
