// A reply where it lies: its fields are read and overwritten in place.
#ifndef ACL_LIB_CLIENT_REPLY_VIEW_H
#define ACL_LIB_CLIENT_REPLY_VIEW_H

#include <array>
#include <cassert>
#include <concepts>
#include <cstddef>
#include <span>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/encoding/message_body.h"

namespace acl {

// A name of a reply, which may lack its NUL, as the library's calls and trace lines take names:
// ended, and of 32 characters at most.
class EndedName {
 public:
  explicit EndedName(const std::byte *field) noexcept {
    copyText(name_.data(), name_.size(), reinterpret_cast<const char *>(field));
  }
  const char *text() const noexcept { return reinterpret_cast<const char *>(name_.data()); }

 private:
  std::array<std::byte, kNameWidth> name_;
};

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

  EndedName get(const Field<Body, Name> &field) const noexcept { return EndedName(at(field)); }

  template <std::size_t Width>
  std::span<const std::byte, Width> get(const Field<Body, Bytes<Width>> &field) const noexcept {
    return std::span<const std::byte, Width>(at(field), Width);
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
