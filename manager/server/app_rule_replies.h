// Replies to requests about rules that clients evaluate themselves. For their arguments see
// replies.h.
#ifndef MANAGER_SERVER_APP_RULE_REPLIES_H
#define MANAGER_SERVER_APP_RULE_REPLIES_H

#include <cstddef>
#include <span>
#include <vector>

#include "manager/model/status.h"
#include "manager/server/rule_description.h"

namespace aclmgr {

// Without a description, from which the client learns that its rule is to be dropped.
std::vector<std::byte> appRuleReply(std::span<const std::byte> request, Status status);
std::vector<std::byte> describedRuleReply(std::span<const std::byte> request, Status status,
                                          const RuleDescription &description);

std::vector<std::byte> ruleValidityReply(std::span<const std::byte> request, Status status);

}  // namespace aclmgr

#endif  // MANAGER_SERVER_APP_RULE_REPLIES_H
