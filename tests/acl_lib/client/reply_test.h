// What tests of the manager's replies share: replies written byte by byte, and what became of them.
#ifndef TESTS_ACL_LIB_CLIENT_REPLY_TEST_H
#define TESTS_ACL_LIB_CLIENT_REPLY_TEST_H

#include <memory>
#include <string_view>

#include "tests/acl_lib/library_test.h"

namespace acl_test {

// A reply that is put together field by field; zeros otherwise.
class Reply {
 public:
  Reply(std::size_t size, std::uint16_t code, int status) : bytes_(size) {
    half(0, code);
    half(2, static_cast<std::uint16_t>(status));
  }

  Reply &byte(std::size_t offset, std::uint8_t value) {
    bytes_.at(offset) = std::byte{value};
    return *this;
  }
  Reply &half(std::size_t offset, std::uint16_t value) {
    byte(offset, static_cast<std::uint8_t>(value >> 8));
    return byte(offset + 1, static_cast<std::uint8_t>(value & 0xFF));
  }
  Reply &word(std::size_t offset, std::uint32_t value) {
    half(offset, static_cast<std::uint16_t>(value >> 16));
    return half(offset + 2, static_cast<std::uint16_t>(value & 0xFFFF));
  }
  Reply &text(std::size_t offset, std::string_view text) { return put(offset, bytesOf(text)); }
  Reply &put(std::size_t offset, const Bytes &bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes_.at(offset + i) = bytes[i];
    return *this;
  }

  const Bytes &bytes() const { return bytes_; }
  Bytes first(std::size_t length) const {
    return Bytes(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(length));
  }

 private:
  Bytes bytes_;
};

// The text in a field of `width` bytes.
inline std::string textAt(const Bytes &body, std::size_t offset, std::size_t width = 33) {
  std::string text;
  for (std::size_t i = 0; i < width && body.at(offset + i) != std::byte{0}; ++i) {
    text += static_cast<char>(body.at(offset + i));
  }
  return text;
}

// Traces go to a buffer, and each reply that the callback gets is kept.
class ReplyTest : public LibraryTest {
 protected:
  static constexpr std::uint32_t kTraceBuffer = 5;

  void SetUp() override {
    LibraryTest::SetUp();
    aclTraceBufferHandle = kTraceBuffer;
    aclMsgCallback = keepAnswer;
    answers().clear();
    handedOver().clear();
    answerSize() = 4;
  }

  // The replies as the callback got them: their first answerSize() bytes, and where they lay.
  static std::vector<Bytes> &answers() {
    static std::vector<Bytes> all;
    return all;
  }
  static std::vector<const void *> &handedOver() {
    static std::vector<const void *> all;
    return all;
  }
  static std::size_t &answerSize() {
    static std::size_t size;
    return size;
  }
  static void keepAnswer(void *body) {
    const test_support::AllocationExemption exemption;
    answers().push_back(test_support::copyOf(body, answerSize()));
    handedOver().push_back(body);
  }

  static std::vector<std::uint16_t> codesOfAnswers() {
    std::vector<std::uint16_t> codes;
    for (const Bytes &answer : answers()) codes.push_back(codeOf(answer));
    return codes;
  }

  // The lines traced so far; all are the library's own.
  static std::vector<std::string> traces() {
    std::vector<std::string> texts;
    for (const swplat_fake::TraceLine &line : fake().traceLines()) {
      EXPECT_EQ(line.handle, kTraceBuffer);
      EXPECT_EQ(line.level, 7U);
      texts.push_back(line.text);
    }
    return texts;
  }

  // Handles a message that lies in a heap block of exactly its size. Returns what then is in it.
  static Bytes handle(const Bytes &message) {
    const auto block = std::make_unique<std::byte[]>(message.size());
    std::ranges::copy(message, block.get());
    const auto length = static_cast<std::uint32_t>(message.size());
    PktBuf packet{};
    packet.data = reinterpret_cast<std::uint8_t *>(block.get());
    packet.length = packet.capacity = length;
    aclMsgHandler(kPeer, &packet, static_cast<std::int32_t>(length), &packet);
    return test_support::copyOf(block.get(), message.size());
  }

  static Bytes objectOf(const Bytes &body) { return swplat_fake::object(0x1003, body); }

  // The same with a message of one reply. Returns the reply as it is then, when it is handled in
  // place.
  static Bytes handleReply(const Bytes &body) {
    const Bytes message = handle(objectOf(body));
    return test_support::copyOf(message.data() + 4, body.size());
  }
};

}  // namespace acl_test

#endif  // TESTS_ACL_LIB_CLIENT_REPLY_TEST_H
