// What is done about each message code.
#ifndef MANAGER_SERVER_HANDLERS_H
#define MANAGER_SERVER_HANDLERS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/model/application_policy_store.h"
#include "manager/model/dynamic_rule_store.h"
#include "manager/model/meter_store.h"
#include "manager/model/peers.h"
#include "manager/model/policy_store.h"
#include "manager/model/slice_pool.h"
#include "manager/server/answer.h"
#include "manager/server/policy_assembler.h"

namespace aclmgr {

// Everything the manager knows.
struct ManagerState {
  PolicyStore policies;
  DynamicRuleStore dynamicRules;
  MeterStore meters;
  Peers peers;
  PolicyAssembler assembler;
  ApplicationPolicyStore applicationPolicies{dynamicRules, policies};
  SlicePool slices;
};

// One request as it came.
struct Request {
  std::uint32_t connection;
  std::uint16_t code;
  std::span<const std::byte> body;
  bool wantsRulesText;  // whether RequestText::rules is to be filled
};

// Carries a request out. Returns what is to be answered, or nothing when its policy is not yet
// complete. A request that is refused changes nothing but what PolicyAssembler::take() drops. May
// throw std::bad_alloc.
using Handle = std::optional<Answer> (*)(ManagerState &state, const Request &request,
                                         RequestText &text);

// Returns the body of a reply made from the request that it answers (reply_bodies.h).
//   request  the request's body as it came, at least its code; echoed fields that it is too short
//            for are zero, and a name that is not terminated is cut
using MakeReply = std::vector<std::byte> (*)(std::span<const std::byte> request, Status status);

// One row of the table of codes.
struct Handler {
  std::uint16_t code;
  std::string_view codeName;
  Handle handle;
  MakeReply makeReply;
};

// Returns the answer that tells of a refusal.
Answer answerOf(const Refusal &refusal);

// Returns a port word in the words of the clients: slot:port.
std::string portText(std::uint32_t port);

// Returns a point in words: port, VLAN and direction.
std::string pointText(const BindingPoint &point);

// Returns the row of a code; of codes that the manager does not know, the row that refuses them.
const Handler &handlerOf(std::uint16_t code) noexcept;

}  // namespace aclmgr

#endif  // MANAGER_SERVER_HANDLERS_H
