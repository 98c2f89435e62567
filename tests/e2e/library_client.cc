#include "tests/e2e/library_client.h"

#include <arpa/inet.h>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace e2e {
namespace {

std::mutex answersLock;
std::condition_variable answersChanged;
std::vector<Answer> answers;

std::uint32_t numberAt(const void *body, std::size_t offset, std::size_t width) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < width; ++i) {
    number = number << 8 | static_cast<const std::uint8_t *>(body)[offset + i];
  }
  return number;
}

void collectAnswer(void *body) {
  const std::lock_guard guard(answersLock);
  answers.push_back({static_cast<std::uint16_t>(numberAt(body, 0, 2)),
                     static_cast<std::int16_t>(numberAt(body, 2, 2)), numberAt(body, 588, 4)});
  answersChanged.notify_all();
}

}  // namespace

void connectLibrary() {
  static const int connected = aclLibConnect(collectAnswer);
  static_cast<void>(connected);
}

bool announce(const char *name, std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (aclLibSendProcessInfo(name) != 0) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

std::vector<Answer> takeAnswers(std::size_t count, std::chrono::seconds limit) {
  std::unique_lock guard(answersLock);
  answersChanged.wait_for(guard, limit, [&] { return answers.size() >= count; });
  const std::size_t taken = std::min(count, answers.size());
  const auto end = answers.begin() + static_cast<std::ptrdiff_t>(taken);
  std::vector<Answer> result(answers.begin(), end);
  answers.erase(answers.begin(), end);
  return result;
}

AclPolicyHandle buildPolicy(const char *name, std::uint32_t rules) {
  const AclPolicyHandle policy = aclLibNewPolicy(name);
  for (std::uint32_t rule = 1; rule <= rules; ++rule) {
    const std::uint32_t source[2] = {htonl(0x0A000000 + rule), 0xFFFFFFFF};
    aclLibNewRule(policy, nullptr, rule);
    aclLibAddRuleCondIPAddr(policy, rule, 0, source);
    aclLibConfigRuleAction(policy, rule, 1);
  }
  aclLibEndRule(policy);
  return policy;
}

}  // namespace e2e
