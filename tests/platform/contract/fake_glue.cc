#include <gmock/gmock.h>

#include "swplat_fake/fake_platform.h"
#include "tests/platform/contract/contract_test.h"

namespace contract {

using swplat_fake::fake;

void setUpPlatform() {
  fake().reset();
}

void checkPlatformAfterTest() {
  EXPECT_THAT(fake().violations(), testing::IsEmpty());
  EXPECT_EQ(fake().livePackets(), 0u);
}

bool dispatchUntil(const std::function<bool()> &done) {
  for (int millisecond = 0; millisecond < 5000; ++millisecond) {
    if (done()) return true;
    fake().advanceTime(0, 1000);
  }
  return done();
}

void dispatchFor(unsigned milliseconds) {
  fake().advanceTime(milliseconds / 1000, milliseconds % 1000 * 1000);
}

}  // namespace contract
