#include "manager/server/policy_assembler.h"

#include <fmt/format.h>

#include <iterator>
#include <new>

namespace aclmgr {
namespace {

Refusal outOfOrder(std::string reason) {
  return {Status::kInvalidMessage, std::move(reason)};
}

}  // namespace

std::size_t PolicyAssembler::partialCountOf(std::uint32_t connection) const {
  std::size_t count = 0;
  for (auto partial = partials_.lower_bound({connection, ""});
       partial != partials_.end() && partial->first.first == connection; ++partial) {
    ++count;
  }
  return count;
}

Outcome<PolicyAssembler::Partials::iterator> PolicyAssembler::beginPolicy(
    const Key &key, std::uint16_t code, const PolicyChunkRequest &chunk) {
  if (chunk.chunkOffset != 0) {
    return outOfOrder(fmt::format("the first chunk begins at {}", chunk.chunkOffset));
  }
  if (chunk.totalLength > kMaxPolicyBytes) {
    return Refusal{Status::kNoMemory, fmt::format("{} bytes of rules, {} are the limit",
                                                  chunk.totalLength, kMaxPolicyBytes)};
  }
  if (partialCountOf(key.first) >= kMaxPartialPolicies) {
    return Refusal{Status::kNoMemory, fmt::format("{} unfinished policies of one client are the "
                                                  "limit",
                                                  kMaxPartialPolicies)};
  }
  return partials_
      .emplace(key, Partial{code, chunk.totalLength, chunk.ruleCount, chunk.attribute, {}})
      .first;
}

std::string PolicyAssembler::problemOf(const Partial &partial, std::uint16_t code,
                                       const PolicyChunkRequest &chunk) {
  const std::size_t have = partial.bytes.size();
  if (partial.code != code || partial.totalLength != chunk.totalLength ||
      partial.ruleCount != chunk.ruleCount || partial.attribute != chunk.attribute) {
    return "the chunk announces another policy than the ones before";
  }
  if (chunk.chunkOffset != have) {
    return fmt::format("chunk at {} where {} was expected", chunk.chunkOffset, have);
  }
  if (chunk.chunk.size() > partial.totalLength - have) {
    return fmt::format("chunk of {} bytes at {} runs over the total of {}", chunk.chunk.size(),
                       have, partial.totalLength);
  }
  if (chunk.chunk.empty() && partial.totalLength != 0) return "the chunk is empty";
  return {};
}

Outcome<std::optional<std::vector<std::byte>>> PolicyAssembler::take(
    std::uint32_t connection, std::uint16_t code, const PolicyChunkRequest &chunk) {
  const Key key{connection, chunk.policyName};
  auto found = partials_.find(key);
  if (found == partials_.end()) {
    const auto begun = beginPolicy(key, code, chunk);
    if (!begun) return begun.refusal();
    found = begun.value();
  }
  Partial &partial = found->second;
  if (std::string problem = problemOf(partial, code, chunk); !problem.empty()) {
    partials_.erase(found);
    return outOfOrder(std::move(problem));
  }
  try {
    partial.bytes.insert(partial.bytes.end(), chunk.chunk.begin(), chunk.chunk.end());
  } catch (const std::bad_alloc &) {
    partials_.erase(found);
    throw;
  }
  if (partial.bytes.size() < partial.totalLength) return {std::nullopt};
  std::optional<std::vector<std::byte>> whole = std::move(partial.bytes);
  partials_.erase(found);
  return whole;
}

void PolicyAssembler::dropConnection(std::uint32_t connection) {
  std::erase_if(partials_, [=](const auto &partial) { return partial.first.first == connection; });
}

}  // namespace aclmgr
