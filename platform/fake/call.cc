#include "swplat_fake/call.h"

#include <ostream>

namespace swplat_fake {

Argument::Argument(const char *text) : value_(static_cast<const void *>(nullptr)) {
  if (text != nullptr) value_ = std::string(text);
}

bool operator==(const Argument &a, const Argument &b) {
  return a.value_ == b.value_ || std::holds_alternative<Argument::Anything>(a.value_) ||
         std::holds_alternative<Argument::Anything>(b.value_);
}

std::ostream &operator<<(std::ostream &out, const Argument &argument) {
  if (const auto *number = std::get_if<std::int64_t>(&argument.value_)) return out << *number;
  if (const auto *text = std::get_if<std::string>(&argument.value_))
    return out << '"' << *text << '"';
  if (const auto *pointer = std::get_if<const void *>(&argument.value_)) {
    return *pointer == nullptr ? out << "null" : out << *pointer;
  }
  return out << '_';
}

std::ostream &operator<<(std::ostream &out, const Call &call) {
  out << call.function << '(';
  const char *separator = "";
  for (const Argument &argument : call.arguments) {
    out << separator << argument;
    separator = ", ";
  }
  return out << ')';
}

}  // namespace swplat_fake
