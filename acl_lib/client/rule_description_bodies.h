// The description of a dynamic rule inside the manager's replies: an AclClientEntry as it lies in
// the memory of a 32-bit big-endian processor.
#ifndef ACL_LIB_CLIENT_RULE_DESCRIPTION_BODIES_H
#define ACL_LIB_CLIENT_RULE_DESCRIPTION_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// One AclRuleTerm.
struct RuleTermBody {
  static constexpr std::size_t size = 84;

  static constexpr Field<RuleTermBody, std::uint32_t> type{12, "type"};
  static constexpr Field<RuleTermBody, std::uint32_t> wildcard{32, "wildcard"};
  static constexpr Field<RuleTermBody, Bytes<16>> matchData{44, "matchData"};
  static constexpr Field<RuleTermBody, std::uint32_t> prefixLen{60, "prefixLen"};

  static constexpr FieldTable table{type, wildcard, matchData, prefixLen};
};
static_assert(isWellFormed<RuleTermBody>());

// An AclClientEntry up to its termCount. The links at its head mean nothing here.
struct RuleDescriptionBody {
  static constexpr std::size_t size = 480;
  static constexpr std::size_t kTerms = 5;

  static constexpr Field<RuleDescriptionBody, std::uint32_t> ruleWord{8, "ruleWord"};
  static constexpr Field<RuleDescriptionBody, Name> name{12, "name"};
  static constexpr Field<RuleDescriptionBody, std::uint32_t> attrA{48, "attrA"};
  static constexpr Field<RuleDescriptionBody, std::uint32_t> attrB{52, "attrB"};
  // kTerms RuleTermBody.
  static constexpr Field<RuleDescriptionBody, Bytes<kTerms * RuleTermBody::size>> terms{56,
                                                                                        "terms"};
  static constexpr Field<RuleDescriptionBody, std::int32_t> termCount{476, "termCount"};

  static constexpr FieldTable table{ruleWord, name, attrA, attrB, terms, termCount};
};
static_assert(isWellFormed<RuleDescriptionBody>());

}  // namespace acl

#endif  // ACL_LIB_CLIENT_RULE_DESCRIPTION_BODIES_H
