// What the codec promises beyond platform/tlv.h; that contract is tested in
// tests/platform/contract.
#include "platform/common/tlv_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/support/bytes.h"

namespace swplat::tlv {
namespace {

using test_support::Bytes;
using test_support::hex;

TEST(TlvCodecTest, ABuilderWithoutAnAreaTakesNothing) {
  TlvBuilder builder;
  init(builder, nullptr, 0);
  EXPECT_EQ(addObject(builder, nullptr, 1, 0), -1);
  EXPECT_EQ(builder.cursor, nullptr);
}

TEST(TlvCodecTest, NotAByteOutsideTheAreaIsReadWhateverItHolds) {
  const Bytes whole = hex("0001 0003 010203 00  0002 0001 04 00");
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    auto area = std::make_unique<std::byte[]>(length);  // exact, so that AddressSanitizer watches
    std::copy_n(whole.begin(), length, area.get());
    TlvBuilder reader;
    init(reader, area.get(), static_cast<std::uint32_t>(length));
    std::uint16_t type;
    std::uint16_t size;
    void *value;
    int objects = 0;
    while (getObject(reader, type, size, value) == 0) ++objects;
    EXPECT_EQ(objects, length < 7 ? 0 : length < 13 ? 1 : 2) << length;
    EXPECT_LE(reader.cursor, reader.start + length);
  }
}

TEST(TlvCodecTest, ALengthBeyondTheAreaIsNoObject) {
  Bytes area = hex("0001 FFFF 00000000");
  TlvBuilder reader;
  init(reader, area.data(), 8);
  std::uint16_t type = 5;
  std::uint16_t length = 6;
  void *value = nullptr;
  EXPECT_EQ(getObject(reader, type, length, value), -1);
  EXPECT_EQ(type, 5);
  EXPECT_EQ(length, 6);
}

}  // namespace
}  // namespace swplat::tlv
