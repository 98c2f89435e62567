// The application's side of a test: the library connected, and its answers collected.
#ifndef TESTS_E2E_LIBRARY_CLIENT_H
#define TESTS_E2E_LIBRARY_CLIENT_H

#include <acl_lib.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace e2e {

struct Answer {
  std::uint16_t code;
  std::int16_t status;
  std::uint32_t cookie;  // at 588: every reply of the manager reaches that far
};

inline constexpr std::chrono::seconds kAnswerLimit{60};

// Connects the library once for the process; the answers are collected from then on.
void connectLibrary();
// Waits until the process can be announced, which also makes the manager answer once. Returns
// whether that came to pass.
bool announce(const char *name, std::chrono::seconds limit = kAnswerLimit);
// Returns the manager's peer, 0 while it is not connected.
inline std::uint32_t managersPeer() {
  return __atomic_load_n(&aclPeerId, __ATOMIC_ACQUIRE);  // the dispatcher's thread writes it
}
// Waits for `count` answers that were not taken yet and takes them; fewer on a time-out.
std::vector<Answer> takeAnswers(std::size_t count, std::chrono::seconds limit = kAnswerLimit);

// Builds a policy of `rules` rules, each with a source prefix of its own and a permit (64 bytes).
AclPolicyHandle buildPolicy(const char *name, std::uint32_t rules);

}  // namespace e2e

#endif  // TESTS_E2E_LIBRARY_CLIENT_H
