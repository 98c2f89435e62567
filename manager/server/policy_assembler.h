// Policies put together from their chunks.
#ifndef MANAGER_SERVER_POLICY_ASSEMBLER_H
#define MANAGER_SERVER_POLICY_ASSEMBLER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "manager/decode/outcome.h"
#include "manager/decode/policy_requests.h"

namespace aclmgr {

// Bytes of encoded rules that one policy may have. 65535 rules, the most that a request can
// announce, of 1023 bytes, the most that a rule can have, are below it.
inline constexpr std::uint32_t kMaxPolicyBytes = 64U * 1024 * 1024;
static_assert(kMaxPolicyBytes > 65535U * 1023U);

// Policies that one connection may have begun and not finished. Clients send the chunks of a policy
// one after the other; a few threads of one client may do so at a time.
inline constexpr std::size_t kMaxPartialPolicies = 64;

// Bytes of rules that unfinished policies may have at a time: those of one connection, which is one
// policy of the largest size, and those of all connections. Only bytes that have come count, not
// those that are announced.
inline constexpr std::size_t kMaxPartialBytes = kMaxPolicyBytes;
inline constexpr std::size_t kMaxPartialBytesOfAll = 4 * kMaxPartialBytes;

// Keeps what has come of each policy, per connection. Chunks of a policy come in order: the first
// at offset 0, each next one where the last one ended, all with the same code, total length and
// counts. A chunk at offset 0 begins the policy anew: a client that gave up on a download may
// repeat it. Not thread-safe.
class PolicyAssembler {
 public:
  // Takes the next chunk. Returns the encoded rules when it completes the policy; nothing when more
  // is to come; a refusal when the chunk does not continue the policy (kInvalidMessage) or a limit
  // is passed (kNoMemory): what had come of the policy is then dropped. May throw std::bad_alloc,
  // with the same effect.
  Outcome<std::optional<std::vector<std::byte>>> take(std::uint32_t connection, std::uint16_t code,
                                                      const PolicyChunkRequest &chunk);

  // Drops what a connection has begun.
  void dropConnection(std::uint32_t connection) noexcept;

  // Returns how many policies are begun and not finished, and how many bytes of them have come.
  std::size_t partialCount() const noexcept { return partials_.size(); }
  std::size_t partialBytes() const noexcept { return partialBytes_; }

 private:
  struct Partial {
    std::uint16_t code;
    std::uint32_t totalLength;
    std::uint16_t ruleCount;
    std::uint16_t attribute;
    std::vector<std::byte> bytes;
  };
  using Key = std::pair<std::uint32_t, std::string>;  // connection, policy name
  using Partials = std::map<Key, Partial>;

  // What a connection has begun and not finished.
  struct Usage {
    std::size_t policies = 0;
    std::size_t bytes = 0;
  };

  Usage usageOf(std::uint32_t connection) const;
  Outcome<Partials::iterator> beginPolicy(const Key &key, std::uint16_t code,
                                          const PolicyChunkRequest &chunk);
  // Returns why the chunk does not continue what has come so far; empty when it does.
  static std::string problemOf(const Partial &partial, std::uint16_t code,
                               const PolicyChunkRequest &chunk);
  // Returns the refusal of a chunk that is out of order or passes a limit; none for any other.
  std::optional<Refusal> refusalOf(const Key &key, const Partial &partial, std::uint16_t code,
                                   const PolicyChunkRequest &chunk) const;
  void append(Partial &partial, std::span<const std::byte> chunk);
  // Forgets a partial policy. Returns the one behind it.
  Partials::iterator drop(Partials::iterator partial) noexcept;

  Partials partials_;
  std::size_t partialBytes_ = 0;  // of all partials
};

}  // namespace aclmgr

#endif  // MANAGER_SERVER_POLICY_ASSEMBLER_H
