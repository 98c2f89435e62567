// One recorded call of a platform function: comparable, and readable in a test's messages.
#ifndef SWPLAT_FAKE_CALL_H
#define SWPLAT_FAKE_CALL_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace swplat_fake {

// One argument: a number, a text or a pointer. Numbers of every type compare by value.
class Argument {
 public:
  // NOLINTBEGIN(google-explicit-constructor): expectations list plain values
  template <typename Number>
    requires std::integral<Number> || std::is_enum_v<Number>
  Argument(Number number) : value_(static_cast<std::int64_t>(number)) {}
  Argument(const char *text);  // null is the null pointer
  Argument(std::string text) : value_(std::move(text)) {}
  Argument(std::nullptr_t) : value_(static_cast<const void *>(nullptr)) {}
  Argument(const void *pointer) : value_(pointer) {}
  template <typename Result, typename... Parameters>
  Argument(Result (*function)(Parameters...)) : value_(reinterpret_cast<const void *>(function)) {}
  // NOLINTEND(google-explicit-constructor)

  // Equal to every argument; prints as "_".
  static Argument anything() { return Argument(Anything()); }

  friend bool operator==(const Argument &a, const Argument &b);
  friend std::ostream &operator<<(std::ostream &out, const Argument &argument);

 private:
  struct Anything {
    bool operator==(const Anything &) const = default;
  };
  explicit Argument(Anything anything) : value_(anything) {}

  std::variant<std::int64_t, std::string, const void *, Anything> value_;
};

// A call; prints as `msgbusSetPeerOption(7, 2, 1)`. How arguments are recorded that are neither
// numbers, texts nor opaque pointers is said at calls() in fake_platform.h.
struct Call {
  std::string function;
  std::vector<Argument> arguments;

  template <typename... Arguments>
  static Call of(std::string function, Arguments &&...arguments) {
    return {std::move(function), {Argument(std::forward<Arguments>(arguments))...}};
  }

  bool operator==(const Call &) const = default;
  friend std::ostream &operator<<(std::ostream &out, const Call &call);
};

}  // namespace swplat_fake

#endif  // SWPLAT_FAKE_CALL_H
