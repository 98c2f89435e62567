// A reply where it lies: its fields are read and overwritten in place.
#ifndef ACL_LIB_CLIENT_REPLY_VIEW_H
#define ACL_LIB_CLIENT_REPLY_VIEW_H

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"

namespace acl {

// Of a reply, only the first Body::handledSize bytes need be there (reply_bodies.h); no field that
// ends behind them may be used.
template <typename Body>
class ReplyView {
 public:
  // `body` is borrowed: Body::handledSize bytes or more.
  explicit ReplyView(void *body) noexcept : bytes_(static_cast<std::byte *>(body)) {}

  template <std::integral Value>
  Value get(const Field<Body, Value> &field) const noexcept {
    return loadBig<Value>(at(field));
  }

  // The text up to its NUL, or the whole field when there is none.
  template <std::size_t Width>
  std::string_view get(const Field<Body, Text<Width>> &field) const noexcept {
    const char *text = textAt(field);
    return {text, ::strnlen(text, Width)};
  }

  template <std::size_t Width>
  std::span<const std::byte, Width> get(const Field<Body, Bytes<Width>> &field) const noexcept {
    return std::span<const std::byte, Width>(at(field), Width);
  }

  // The characters of a text, of which a NUL may be missing.
  template <std::size_t Width>
  const char *textAt(const Field<Body, Text<Width>> &field) const noexcept {
    return reinterpret_cast<const char *>(at(field));
  }

  template <std::integral Value>
  void put(const Field<Body, Value> &field, Value value) noexcept {
    storeBig(at(field), value);
  }

  template <std::size_t Width>
  void put(const Field<Body, Text<Width>> &field, const char *text) noexcept {
    copyText(at(field), Width, text);
  }

 private:
  template <typename Value>
  std::byte *at(const Field<Body, Value> &field) const noexcept {
    assert(field.offset + field.width <= Body::handledSize);
    return bytes_ + field.offset;
  }

  std::byte *bytes_;
};

}  // namespace acl

#endif  // ACL_LIB_CLIENT_REPLY_VIEW_H
