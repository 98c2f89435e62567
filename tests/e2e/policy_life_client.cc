// Takes one policy through its life at the manager, several times over.
//   e2e_client NAME ROUNDS
// Exit status: 0 when every answer came and had status 0.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tests/e2e/library_client.h"

namespace {

bool answeredWell(std::size_t count) {
  const auto answers = e2e::takeAnswers(count);
  for (const auto &answer : answers) {
    if (answer.status != 0) {
      std::fprintf(stderr, "code %#x: status %d\n", answer.code, answer.status);
      return false;
    }
  }
  return answers.size() == count;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 3) return 2;
  // A port of its own, as there is one policy per point and many clients may run at a time.
  const auto port = static_cast<std::uint32_t>(getpid()) & 0xFFFF;
  e2e::connectLibrary();
  if (!e2e::announce(argv[1]) || !answeredWell(1)) return 1;
  for (int round = std::atoi(argv[2]); round > 0; --round) {
    const AclPolicyHandle policy = e2e::buildPolicy(argv[1], 20);
    constexpr std::uint32_t kVlan = 10;
    aclLibConfigPolicy(policy, kVlan, port, 0, nullptr);  // downloads it first
    aclLibRefreshPolicy(policy);
    aclLibUnconfigPolicy(policy, kVlan, port, 0, nullptr);
    aclLibDeletePolicy(policy, nullptr);
    if (!answeredWell(5)) return 1;
  }
  return 0;
}
