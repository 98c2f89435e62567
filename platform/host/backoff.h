// Pauses between attempts to connect.
#ifndef PLATFORM_HOST_BACKOFF_H
#define PLATFORM_HOST_BACKOFF_H

#include <algorithm>
#include <chrono>

namespace swplat {

// 50 ms at first, doubling to 1 s.
class Backoff {
 public:
  static constexpr std::chrono::milliseconds kFirst{50};
  static constexpr std::chrono::milliseconds kLongest{1000};

  // Returns the next pause.
  std::chrono::milliseconds next() {
    const std::chrono::milliseconds pause = pause_;
    pause_ = std::min(pause_ * 2, kLongest);
    return pause;
  }

  // Starts over, after a connection was made.
  void reset() { pause_ = kFirst; }

 private:
  std::chrono::milliseconds pause_ = kFirst;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_BACKOFF_H
