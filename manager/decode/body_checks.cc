#include "manager/decode/body_checks.h"

#include <fmt/format.h>

#include <utility>

namespace aclmgr {

Refusal invalidMessage(std::string reason) {
  return {Status::kInvalidMessage, std::move(reason)};
}

Refusal wrongLength(std::size_t length, std::size_t expected) {
  return invalidMessage(fmt::format("body of {} bytes, {} expected", length, expected));
}

Refusal tooShort(std::size_t length, std::size_t head) {
  return invalidMessage(fmt::format("body of {} bytes, its head has {}", length, head));
}

std::optional<Refusal> problemOfName(std::string_view name, std::size_t width) {
  if (name.size() == width) return invalidMessage("the name is not terminated");
  return std::nullopt;
}

std::optional<Refusal> problemOfNameOf(std::string_view of, std::string_view name,
                                       std::size_t width) {
  if (name.empty()) return invalidMessage(fmt::format("the {}'s name is empty", of));
  return problemOfName(name, width);
}

std::optional<Refusal> problemOfFixedWord(std::uint32_t word, std::uint32_t expected) {
  if (word == expected) return std::nullopt;
  return invalidMessage(fmt::format("the fixed word is {}, {} expected", word, expected));
}

std::optional<Refusal> problemOfTail(std::size_t present, std::size_t announced) {
  if (present == announced) return std::nullopt;
  return invalidMessage(
      fmt::format("{} bytes behind the body's head, {} announced", present, announced));
}

}  // namespace aclmgr
