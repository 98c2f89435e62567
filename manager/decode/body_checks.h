// What the decoders of all request bodies look at.
#ifndef MANAGER_DECODE_BODY_CHECKS_H
#define MANAGER_DECODE_BODY_CHECKS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "acl_lib/encoding/message_body.h"
#include "manager/decode/outcome.h"

namespace aclmgr {

// kInvalidMessage, for people with a reason.
Refusal invalidMessage(std::string reason);
// For a body of another length than its table's, and for one that is shorter than its head.
Refusal wrongLength(std::size_t length, std::size_t expected);
Refusal tooShort(std::size_t length, std::size_t head);

// Returns why a name field is refused, if it is. A name that fills its field has no NUL.
std::optional<Refusal> problemOfName(std::string_view name, std::size_t width = acl::kNameWidth);

// The same for a name that may not be empty; `of` says whose name it is: "policy".
std::optional<Refusal> problemOfNameOf(std::string_view of, std::string_view name,
                                       std::size_t width = acl::kNameWidth);

// Returns why a word of a body that has one value only is refused, if it is.
std::optional<Refusal> problemOfFixedWord(std::uint32_t word, std::uint32_t expected);

// Returns why the bytes behind a body's head are refused, if they are.
std::optional<Refusal> problemOfTail(std::size_t present, std::size_t announced);

// Returns a reader over a body that has exactly the bytes of its table.
template <typename Body>
Outcome<acl::BodyReader<Body>> readerOver(std::span<const std::byte> body) {
  const auto reader = acl::BodyReader<Body>::over(body);
  if (!reader || body.size() != Body::size) return wrongLength(body.size(), Body::size);
  return *reader;
}

}  // namespace aclmgr

#endif  // MANAGER_DECODE_BODY_CHECKS_H
