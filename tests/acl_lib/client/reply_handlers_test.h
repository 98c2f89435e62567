// What the tests of the handled replies share.
#ifndef TESTS_ACL_LIB_CLIENT_REPLY_HANDLERS_TEST_H
#define TESTS_ACL_LIB_CLIENT_REPLY_HANDLERS_TEST_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/acl_lib/client/reply_test.h"

namespace acl_test {

// The handled codes, and how long a reply must be to be handled in place.
struct HandledCode {
  std::uint16_t code;
  std::size_t handledSize;
  bool endsMessage;
};
inline constexpr HandledCode kHandledCodes[] = {
    {0x2002, 625, false},  {0x3001, 625, false}, {0x3002, 625, false}, {0x3003, 2080, false},
    {0x3004, 2080, false}, {0x3007, 641, false}, {0x3009, 632, false}, {0x300B, 608, true},
    {0x300C, 594, true},   {0x3011, 688, false}, {0x301D, 604, false},
};

inline const std::string kLongName = "abcdefghijklmnopqrstuvwxyz0123456";  // 33 characters: no NUL
inline const std::string kCutName = "abcdefghijklmnopqrstuvwxyz012345";    // what is read of it

class ReplyHandlersTest : public ReplyTest {
 protected:
  void SetUp() override {
    ReplyTest::SetUp();
    aclLibDeleteRule(nullptr);
  }

  void TearDown() override {
    aclLibDeleteRule(nullptr);
    ReplyTest::TearDown();
  }

  // Bytes 16 to 78 of the only answer: the areas that the library may fill.
  static Bytes areas() {
    EXPECT_EQ(answers().size(), 1U);
    return test_support::copyOf(answers().at(0).data() + 16, 63);
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_CLIENT_REPLY_HANDLERS_TEST_H
