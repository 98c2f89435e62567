#include "acl_lib/client/rule_description.h"

#include <cstdint>
#include <cstring>
#include <iterator>

#include "acl_lib/client/rule_table.h"
#include "acl_lib/encoding/byte_order.h"

namespace acl {
namespace {

// Turns the two numbers of the wire into those of the host.
void copyValueAndMask(std::uint8_t *matchData, const std::byte *bytes) noexcept {
  const ValueAndMask numbers{loadBig<std::uint32_t>(bytes + offsetof(ValueAndMask, value)),
                             loadBig<std::uint32_t>(bytes + offsetof(ValueAndMask, mask))};
  std::memcpy(matchData, &numbers, sizeof(numbers));
}

AclRuleTerm decodeTerm(std::span<const std::byte, RuleTermBody::size> bytes) noexcept {
  using Body = RuleTermBody;
  const BodyReader<Body> body(bytes);
  const auto matchData = body.get(Body::matchData);
  AclRuleTerm term{};
  static_assert(sizeof(term.matchData) == decltype(matchData)::extent);
  term.type = body.get(Body::type);
  term.wildcard = body.get(Body::wildcard);
  std::memcpy(term.matchData, matchData.data(), sizeof(term.matchData));
  // Other data are bytes, not numbers.
  if (term.type == kMatchValue) copyValueAndMask(term.matchData, matchData.data());
  term.prefixLen = body.get(Body::prefixLen);
  return term;
}

}  // namespace

AclClientEntry decodeRuleDescription(
    std::span<const std::byte, RuleDescriptionBody::size> description) noexcept {
  using Body = RuleDescriptionBody;
  const BodyReader<Body> body(description);
  AclClientEntry entry{};
  entry.ruleWord = body.get(Body::ruleWord);
  body.get(Body::name).copy(entry.name, sizeof(entry.name) - 1);
  entry.attrA = body.get(Body::attrA);
  entry.attrB = body.get(Body::attrB);
  static_assert(std::size(decltype(entry.terms){}) == Body::kTerms);
  std::span<const std::byte> terms = body.get(Body::terms);
  for (AclRuleTerm &term : entry.terms) {
    term = decodeTerm(terms.first<RuleTermBody::size>());
    terms = terms.subspan(RuleTermBody::size);
  }
  entry.termCount = body.get(Body::termCount);
  return entry;
}

}  // namespace acl
