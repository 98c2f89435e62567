#include "platform/host/packet_queue.h"

#include "platform/host/failure.h"

namespace swplat {

bool PacketQueue::push(const uint8_t *data, size_t length) noexcept {
  return resultOr(false, [this, data, length] {
    packets_.emplace_back(data, data + length);
    return true;
  });
}

SendOutcome PacketQueue::flush(int socket, size_t most) {
  SendOutcome outcome = SendOutcome::kSent;
  for (size_t sent = 0; sent < most && !packets_.empty(); ++sent) {
    outcome = trySend(socket, packets_.front().data(), packets_.front().size());
    if (outcome != SendOutcome::kSent) {
      break;
    }
    packets_.pop_front();
  }
  return outcome;
}

}  // namespace swplat
