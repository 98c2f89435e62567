// The fixture of the fake platform's own tests.
#ifndef TESTS_PLATFORM_FAKE_FAKE_TEST_H
#define TESTS_PLATFORM_FAKE_FAKE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

#include "swplat_fake/fake_platform.h"
#include "tests/support/bytes.h"

namespace swplat_fake {

class FakeTest : public testing::Test {
 protected:
  void SetUp() override { fake().reset(); }

  // A client record for a component, with the callback given.
  static DispatchClientRecord clientRecord(std::string_view component, std::uint32_t service,
                                           DispatchReceiveCallback callback) {
    DispatchClientRecord record{};
    record.service = service;
    component.copy(record.name, sizeof(record.name) - 1);
    record.slot = 4;
    record.callback = callback;
    record.context = 0x55;
    return record;
  }

  static PktBuf *packetWith(const Bytes &bytes) {
    PktBuf *const packet = pktbufAllocPacket(static_cast<std::uint32_t>(bytes.size()), 0, 1);
    if (!bytes.empty()) std::memcpy(packet->data, bytes.data(), bytes.size());
    return packet;
  }
};

}  // namespace swplat_fake

#endif  // TESTS_PLATFORM_FAKE_FAKE_TEST_H
