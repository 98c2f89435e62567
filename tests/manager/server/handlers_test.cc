#include "manager/server/handlers.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/manager/server/served_requests.h"

namespace aclmgr {
namespace {

using test_support::Bytes;
using test_support::hex;
using test_support::join;

class HandlersTest : public testing::Test, protected test_support::ServedRequests {};

TEST_F(HandlersTest, UnknownCodesAreInvalidMessages) {
  for (const char *code : {"0000", "1FFF", "2007", "3005", "3011", "FFFF"}) {
    EXPECT_EQ(serve(join(hex(code), Bytes(650))), -3) << code;
    EXPECT_EQ(serve(hex(code)), -3) << code;
  }
  EXPECT_EQ(text.fields, "0xffff");
}

TEST_F(HandlersTest, ReplyToAnUnknownCodeHas592BytesWithTheHeader) {
  Bytes request(640);
  for (std::size_t i = 2; i < 592; ++i) request[i] = static_cast<std::byte>(i & 0xFF);
  request[0] = std::byte{0x30};
  request[1] = std::byte{0x05};
  EXPECT_EQ(serve(request), -3);
  Bytes expected(request.begin(), request.begin() + 592);
  expected[2] = std::byte{0xFF};  // -3
  expected[3] = std::byte{0xFD};
  EXPECT_EQ(reply, expected);
}

TEST_F(HandlersTest, ShortRequestOfAnUnknownCodeIsEchoedAsIfZerosFollowed) {
  EXPECT_EQ(serve(hex("4000")), -3);
  EXPECT_EQ(reply, join(hex("4000 FFFD"), Bytes(588)));
}

TEST_F(HandlersTest, PortsAreShownAsSlotAndPort) {
  EXPECT_EQ(portText(0), "0:0");
  EXPECT_EQ(portText(0x00FFFFFF), "255:65535");
}

}  // namespace
}  // namespace aclmgr
