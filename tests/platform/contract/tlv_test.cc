#include "platform/tlv.h"

#include <gmock/gmock.h>

#include <memory>

#include "platform/pktbuf.h"
#include "tests/platform/contract/contract_test.h"
#include "tests/support/bytes.h"

namespace contract {
namespace {

using test_support::Bytes;
using test_support::copyOf;
using test_support::hex;

constexpr std::uint32_t kLongestValue = 65535;

// A builder over an area of its own.
class TlvContract : public ContractTest {
 protected:
  void startWriting(std::uint32_t capacity) {
    area_.assign(capacity, std::byte{0xEE});
    tlvInit(&builder_, area_.data(), capacity);
  }

  void startReading(const Bytes &bytes) {
    area_ = bytes;
    tlvInit(&builder_, area_.data(), static_cast<std::uint32_t>(area_.size()));
  }

  std::int32_t add(std::uint16_t type, const Bytes &value) {
    return tlvAddObject(&builder_, value.data(), type, static_cast<std::uint32_t>(value.size()));
  }

  std::size_t used() const { return static_cast<std::size_t>(builder_.cursor - builder_.start); }
  Bytes written() const { return copyOf(builder_.start, used()); }

  // Reads an object; "end" when there is none.
  std::string read() {
    std::uint16_t type = 0xAAAA;
    std::uint16_t length = 0xBBBB;
    void *value = nullptr;
    std::uint8_t *const before = builder_.cursor;
    if (tlvGetObject(&builder_, &type, &length, &value) == 0) {
      return std::to_string(type) + ":" + test_support::hexText(copyOf(value, length));
    }
    EXPECT_EQ(type, 0xAAAA);
    EXPECT_EQ(length, 0xBBBB);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(builder_.cursor, before);
    return "end";
  }

  Bytes area_;
  TlvBuilder builder_{};
};

TEST_F(TlvContract, InitSetsTheCursorToTheStart) {
  startWriting(8);
  EXPECT_EQ(builder_.start, reinterpret_cast<std::uint8_t *>(area_.data()));
  EXPECT_EQ(builder_.cursor, builder_.start);
  EXPECT_EQ(builder_.capacity, 8u);
}

TEST_F(TlvContract, HeaderIsTypeAndLengthBigEndian) {
  startWriting(100);
  EXPECT_EQ(add(0x2001, hex("0102")), 0);
  EXPECT_EQ(written(), hex("2001 0002 0102"));
}

TEST_F(TlvContract, OddValuesArePaddedWithOneZeroThatTheLengthDoesNotCount) {
  startWriting(100);
  EXPECT_EQ(add(1, hex("010203")), 0);
  EXPECT_EQ(add(2, hex("04")), 0);
  EXPECT_EQ(written(), hex("0001 0003 010203 00  0002 0001 04 00"));
}

TEST_F(TlvContract, AnEmptyValueMayBeNull) {
  startWriting(4);
  EXPECT_EQ(tlvAddObject(&builder_, nullptr, 7, 0), 0);
  EXPECT_EQ(written(), hex("0007 0000"));
}

TEST_F(TlvContract, AnObjectMayFillTheAreaExactly) {
  startWriting(16);
  EXPECT_EQ(add(1, hex("0102")), 0);
  EXPECT_EQ(add(2, hex("010203040506")), 0);
  EXPECT_EQ(used(), 16u);
}

TEST_F(TlvContract, WhatDoesNotFitBehindOthersIsRefusedAndNothingChanges) {
  startWriting(16);
  ASSERT_EQ(add(1, hex("0102")), 0);
  const Bytes before = area_;
  EXPECT_EQ(add(2, hex("01020304050607")), -1);
  EXPECT_EQ(used(), 6u);
  EXPECT_EQ(area_, before);
}

TEST_F(TlvContract, PaddingCountsWhenRoomIsShort) {
  startWriting(15);
  ASSERT_EQ(add(1, hex("0102")), 0);
  EXPECT_EQ(add(2, hex("0102030405")), -1);
  EXPECT_EQ(add(2, hex("01020304")), 0);
}

TEST_F(TlvContract, AnOverlongObjectIsTakenIntoTheEmptyAreaOfAPacket) {
  PktBuf *const packet = pktbufAllocPacket(16, 0, 1);
  ASSERT_NE(packet, nullptr);
  tlvInit(&builder_, packet->data, 16);
  const Bytes value(kLongestValue, std::byte{0x5A});
  EXPECT_EQ(add(3, value), 0);
  EXPECT_EQ(used(), 4u + 65536u);
  EXPECT_EQ(copyOf(packet->data, 4), hex("0003 FFFF"));
  EXPECT_EQ(copyOf(packet->data + 4, kLongestValue), value);
  EXPECT_EQ(packet->data[4 + 65535], 0);
  EXPECT_EQ(tlvAddObject(&builder_, nullptr, 4, 0), -1) << "nothing fits behind it";
  pktbufFree(packet);
}

TEST_F(TlvContract, AnOverlongObjectIsRefusedBehindAnother) {
  PktBuf *const packet = pktbufAllocPacket(16, 0, 1);
  ASSERT_NE(packet, nullptr);
  tlvInit(&builder_, packet->data, 16);
  ASSERT_EQ(tlvAddObject(&builder_, nullptr, 1, 0), 0);
  EXPECT_EQ(add(3, Bytes(17)), -1);
  EXPECT_EQ(used(), 4u);
  pktbufFree(packet);
}

TEST_F(TlvContract, ValuesEndAt65535Bytes) {
  startWriting(70000);
  const Bytes value(kLongestValue + 1);
  EXPECT_EQ(add(1, value), -1);
  EXPECT_EQ(used(), 0u);
  EXPECT_EQ(tlvAddObject(&builder_, value.data(), 1, 0xFFFFFFFF), -1);
  EXPECT_EQ(tlvAddObject(&builder_, value.data(), 1, kLongestValue), 0);
  EXPECT_EQ(used(), 4u + 65536u);
}

TEST_F(TlvContract, AnAreaWithoutBytesHasNoObjects) {
  tlvInit(&builder_, nullptr, 0);
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, ObjectsAreReadInOrder) {
  startReading(hex("2001 0003 010203 00  0002 0000  0003 0002 0405"));
  EXPECT_EQ(read(), "8193:01 02 03");
  EXPECT_EQ(read(), "2:");
  EXPECT_EQ(read(), "3:04 05");
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, ThePaddingOfTheLastObjectMayBeMissing) {
  startReading(hex("0001 0001 AA"));
  EXPECT_EQ(read(), "1:aa");
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, ACutHeaderIsTheEnd) {
  startReading(hex("0001 0000 0002 00"));
  EXPECT_EQ(read(), "1:");
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, ACutValueIsTheEnd) {
  startReading(hex("0001 0003 0102"));
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, ValuesOf65535BytesAreRead) {
  Bytes whole = hex("0001 FFFF");
  whole.resize(4 + 65535);
  startReading(whole);
  std::uint16_t type;
  std::uint16_t length;
  void *value;
  ASSERT_EQ(tlvGetObject(&builder_, &type, &length, &value), 0);
  EXPECT_EQ(length, 65535);
  whole.pop_back();
  startReading(whole);
  EXPECT_EQ(read(), "end");
}

TEST_F(TlvContract, WhatIsWrittenCanBeRead) {
  startWriting(4096);
  for (std::uint16_t type = 0; type < 40; ++type) {
    ASSERT_EQ(add(type, Bytes(type, static_cast<std::byte>(type))), 0);
  }
  const Bytes packet = written();
  startReading(packet);
  for (std::uint16_t type = 0; type < 40; ++type) {
    EXPECT_EQ(read(), std::to_string(type) + ":" +
                          test_support::hexText(Bytes(type, static_cast<std::byte>(type))));
  }
  EXPECT_EQ(read(), "end");
}

}  // namespace
}  // namespace contract
