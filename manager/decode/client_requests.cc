#include "manager/decode/client_requests.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/policy/client_request_bodies.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {

Outcome<MoveAttributeRequest> decodeMoveAttribute(std::span<const std::byte> body) {
  using Body = acl::MoveAttributeBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  if (const auto problem =
          problemOfFixedWord(reader.value().get(Body::fixedWord), Body::kFixedWord)) {
    return *problem;
  }
  return MoveAttributeRequest{.attribute = reader.value().get(Body::attribute),
                              .fromApplication = reader.value().get(Body::fromApplication),
                              .toApplication = reader.value().get(Body::toApplication)};
}

Outcome<CheckPolicyRequest> decodeCheckPolicy(std::span<const std::byte> body) {
  using Body = acl::CheckPolicyBody;
  using Entry = acl::PolicyEntryBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  if (const auto problem =
          problemOfFixedWord(reader.value().get(Body::fixedWord), Body::kFixedWord)) {
    return *problem;
  }
  const std::uint32_t count = reader.value().get(Body::count);
  if (count > Body::kMaxEntries) {
    return Refusal{Status::kInvalidParameter, fmt::format("{} policies", count)};
  }
  std::span<const std::byte> bytes = reader.value().get(Body::entries);
  CheckPolicyRequest request;
  request.policies.reserve(count);
  for (; request.policies.size() < count; bytes = bytes.subspan<Entry::size>()) {
    const acl::BodyReader<Entry> entry(bytes.first<Entry::size>());
    const std::string_view name = entry.get(Entry::policyName);
    if (const auto problem = problemOfNameOf("policy", name)) return *problem;
    request.policies.emplace_back(entry.get(Entry::type), entry.get(Entry::value),
                                  std::string(name));
  }
  return request;
}

Outcome<CleanClientRequest> decodeCleanClient(std::span<const std::byte> body) {
  using Body = acl::CleanClientBody;
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  return CleanClientRequest{.clientNumber = reader.value().get(Body::clientNumber),
                            .word1 = reader.value().get(Body::word1),
                            .word2 = reader.value().get(Body::word2)};
}

}  // namespace aclmgr
