#include "manager/server/policy_assembler.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace aclmgr {
namespace {

Refusal outOfOrder(std::string reason) {
  return {Status::kInvalidMessage, std::move(reason)};
}

Refusal tooMuch(std::string reason) {
  return {Status::kNoMemory, std::move(reason)};
}

}  // namespace

PolicyAssembler::Usage PolicyAssembler::usageOf(std::uint32_t connection) const {
  Usage usage;
  for (auto partial = partials_.lower_bound({connection, ""});
       partial != partials_.end() && partial->first.first == connection; ++partial) {
    ++usage.policies;
    usage.bytes += partial->second.bytes.size();
  }
  return usage;
}

Outcome<PolicyAssembler::Partials::iterator> PolicyAssembler::beginPolicy(
    const Key &key, std::uint16_t code, const PolicyChunkRequest &chunk) {
  if (chunk.chunkOffset != 0) {
    return outOfOrder(fmt::format("the first chunk begins at {}", chunk.chunkOffset));
  }
  if (chunk.totalLength > kMaxPolicyBytes) {
    return tooMuch(
        fmt::format("{} bytes of rules, {} are the limit", chunk.totalLength, kMaxPolicyBytes));
  }
  if (usageOf(key.first).policies >= kMaxPartialPolicies) {
    return tooMuch(
        fmt::format("{} unfinished policies of one client are the limit", kMaxPartialPolicies));
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

std::optional<Refusal> PolicyAssembler::refusalOf(const Key &key, const Partial &partial,
                                                  std::uint16_t code,
                                                  const PolicyChunkRequest &chunk) const {
  if (std::string problem = problemOf(partial, code, chunk); !problem.empty()) {
    return outOfOrder(std::move(problem));
  }
  if (usageOf(key.first).bytes + chunk.chunk.size() > kMaxPartialBytes) {
    return tooMuch(fmt::format("{} bytes of unfinished policies of one client are the limit",
                               kMaxPartialBytes));
  }
  if (partialBytes_ + chunk.chunk.size() > kMaxPartialBytesOfAll) {
    return tooMuch(fmt::format("{} bytes of unfinished policies of all clients are the limit",
                               kMaxPartialBytesOfAll));
  }
  return std::nullopt;
}

void PolicyAssembler::append(Partial &partial, std::span<const std::byte> chunk) {
  std::vector<std::byte> &bytes = partial.bytes;
  const std::size_t needed = bytes.size() + chunk.size();
  if (needed > bytes.capacity()) {
    // Doubled, so that a large policy is not copied with every chunk, but never beyond its total.
    bytes.reserve(std::clamp<std::size_t>(2 * bytes.capacity(), needed, partial.totalLength));
  }
  bytes.insert(bytes.end(), chunk.begin(), chunk.end());
  partialBytes_ += chunk.size();
}

Outcome<std::optional<std::vector<std::byte>>> PolicyAssembler::take(
    std::uint32_t connection, std::uint16_t code, const PolicyChunkRequest &chunk) {
  const Key key{connection, chunk.policyName};
  auto found = partials_.find(key);
  if (found != partials_.end() && chunk.chunkOffset == 0) {
    drop(found);
    found = partials_.end();
  }
  if (found == partials_.end()) {
    const auto begun = beginPolicy(key, code, chunk);
    if (!begun) return begun.refusal();
    found = begun.value();
  }
  Partial &partial = found->second;
  try {
    if (auto refusal = refusalOf(key, partial, code, chunk)) {
      drop(found);
      return std::move(*refusal);
    }
    append(partial, chunk.chunk);
  } catch (const std::bad_alloc &) {
    drop(found);
    throw;
  }
  if (partial.bytes.size() < partial.totalLength) return {std::nullopt};
  partialBytes_ -= partial.bytes.size();
  std::optional<std::vector<std::byte>> whole = std::move(partial.bytes);
  partials_.erase(found);
  return whole;
}

PolicyAssembler::Partials::iterator PolicyAssembler::drop(Partials::iterator partial) noexcept {
  partialBytes_ -= partial->second.bytes.size();
  return partials_.erase(partial);
}

void PolicyAssembler::dropConnection(std::uint32_t connection) noexcept {
  for (auto partial = partials_.begin(); partial != partials_.end();) {
    partial = partial->first.first == connection ? drop(partial) : std::next(partial);
  }
}

}  // namespace aclmgr
