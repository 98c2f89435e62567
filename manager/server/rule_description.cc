#include "manager/server/rule_description.h"

#include <span>

#include "acl_lib/encoding/message_body.h"
#include "manager/decode/rule_terms.h"

namespace aclmgr {
namespace {

using Body = acl::RuleDescriptionBody;
using TermBody = acl::RuleTermBody;

void writeTerm(const RuleTerm &term, std::span<std::byte, TermBody::size> bytes) {
  acl::BodyWriter<TermBody> writer(bytes);
  writer.put(TermBody::type, static_cast<std::uint32_t>(term.type));
  writer.put(TermBody::matchData, std::span(term.matchData));
  writer.put(TermBody::prefixLen, term.prefixLength);
}

}  // namespace

Outcome<RuleDescription> describeRule(const DynamicRule &rule, std::uint32_t attrA,
                                      std::uint32_t attrB) {
  const auto terms = termsOf(rule.rule);
  if (!terms) return terms.refusal();
  const std::size_t count = terms.value().size();
  static_assert(kMaxRuleTerms <= Body::kTerms);
  std::array<std::byte, Body::kTerms * TermBody::size> termBytes{};
  for (std::size_t i = 0; i < count; ++i) {
    writeTerm(terms.value()[i],
              std::span<std::byte, TermBody::size>(&termBytes[i * TermBody::size], TermBody::size));
  }
  RuleDescription description{};
  acl::BodyWriter<Body> writer(description);
  writer.put(Body::ruleWord, rule.rule.id);
  writer.put(Body::name, rule.name.c_str());
  writer.put(Body::attrA, attrA);
  writer.put(Body::attrB, attrB);
  writer.put(Body::terms, std::span<const std::byte, sizeof(termBytes)>(termBytes));
  writer.put(Body::termCount, static_cast<std::int32_t>(count));
  return description;
}

}  // namespace aclmgr
