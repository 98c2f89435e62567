#include "manager/decode/policy_requests.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/policy/policy_bodies.h"
#include "acl_lib/transport/process_info_bodies.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {
namespace {

// The only bit of applyFlags that clients may set.
constexpr std::uint8_t kKnownApplyFlags = 2;

}  // namespace

Outcome<ProcessInfoRequest> decodeProcessInfo(std::span<const std::byte> body) {
  using Body = acl::ProcessInfoBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::processName);
  if (const auto problem = problemOfName(name)) return *problem;
  return ProcessInfoRequest{std::string(name)};
}

Outcome<PolicyChunkRequest> decodePolicyChunk(std::span<const std::byte> body) {
  using Body = acl::PolicyChunkBody;
  const auto reader = acl::BodyReader<Body>::over(body);
  if (!reader) return tooShort(body.size(), Body::size);
  const std::span<const std::byte> chunk = body.subspan(Body::size);
  if (const auto problem = problemOfTail(chunk.size(), reader->get(Body::chunkLength))) {
    return *problem;
  }
  const std::string_view name = reader->get(Body::policyName);
  if (const auto problem = problemOfNameOf("policy", name)) return *problem;
  return PolicyChunkRequest{.policyName = std::string(name),
                            .totalLength = reader->get(Body::totalLength),
                            .chunkOffset = reader->get(Body::chunkOffset),
                            .ruleCount = reader->get(Body::ruleCount),
                            .attribute = reader->get(Body::policyAttr),
                            .chunk = chunk};
}

Outcome<DeletePolicyRequest> decodeDeletePolicy(std::span<const std::byte> body) {
  using Body = acl::DeletePolicyBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::policyName);
  if (const auto problem = problemOfNameOf("policy", name)) return *problem;
  return DeletePolicyRequest{std::string(name)};
}

Outcome<BindingRequest> decodeBinding(std::span<const std::byte> body) {
  using Body = acl::PolicyBindingBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  const std::string_view name = reader.value().get(Body::policyName);
  if (const auto problem = problemOfNameOf("policy", name)) return *problem;
  const std::uint8_t applyFlags = reader.value().get(Body::applyFlags);
  if ((applyFlags & ~kKnownApplyFlags) != 0) {
    return Refusal{Status::kInvalidParameter, fmt::format("unknown apply flags {:#x}", applyFlags)};
  }
  return BindingRequest{.policyName = std::string(name),
                        .point = {.port = reader.value().get(Body::port),
                                  .vlan = reader.value().get(Body::vlan),
                                  .direction = reader.value().get(Body::direction)},
                        .applyFlags = applyFlags};
}

Outcome<ModifyRuleRequest> decodeModifyRule(std::span<const std::byte> body) {
  using Body = acl::ModifyRuleBody;
  const auto reader = acl::BodyReader<Body>::over(body);
  if (!reader) return tooShort(body.size(), Body::size);
  const std::span<const std::byte> rules = body.subspan(Body::size);
  if (const auto problem = problemOfTail(rules.size(), reader->get(Body::rulesLength))) {
    return *problem;
  }
  const std::string_view name = reader->get(Body::policyName);
  if (const auto problem = problemOfNameOf("policy", name)) return *problem;
  return ModifyRuleRequest{.policyName = std::string(name),
                           .argument1 = reader->get(Body::argument1),
                           .argument2 = reader->get(Body::argument2),
                           .argument3 = reader->get(Body::argument3),
                           .argument8bit = reader->get(Body::argument8bit),
                           .rules = rules};
}

}  // namespace aclmgr
