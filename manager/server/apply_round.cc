#include "manager/server/apply_round.h"

#include <cstddef>
#include <set>

#include "acl_lib/transport/message_codes.h"
#include "manager/decode/app_policy_requests.h"
#include "manager/server/app_policy_replies.h"

namespace aclmgr {
namespace {

// Whether a request may stand directly behind another one in a run.
bool comesBehind(const AppPolicyHead &head, const AppPolicyHead &before) noexcept {
  return head.key.appId == before.key.appId && head.key.kind == before.key.kind &&
         head.key.tag == before.key.tag && head.seqNo != 0 && head.seqNo == before.seqNo + 1;
}

Status statusOf(const CarriedOut &request) noexcept {
  return request.answer ? request.answer->status : Status::kOk;
}

bool isCancellable(const CarriedOut &unapply) noexcept {
  return statusOf(unapply) == Status::kOk || statusOf(unapply) == Status::kInstanceNotExist;
}

std::vector<AppPolicyHead> headsOf(std::span<const CarriedOut> round) {
  std::vector<AppPolicyHead> heads;
  heads.reserve(round.size());
  for (const CarriedOut &done : round) heads.push_back(appPolicyHeadOf(done.request.body));
  return heads;
}

// From the last request to the first, with the keys of the accepted applies that a run has behind
// the request.
void cancelUnapplies(std::span<CarriedOut> round, std::span<const AppPolicyHead> heads) {
  std::set<ApplicationPolicyKey> applied;
  const AppPolicyHead *next = nullptr;  // the first request of that run
  for (std::size_t i = round.size(); i-- > 0;) {
    const AppPolicyHead &head = heads[i];
    if (next == nullptr || !comesBehind(*next, head)) applied.clear();
    next = &head;
    if (head.code == acl::kMsgApplyAppPolicy && statusOf(round[i]) == Status::kOk) {
      applied.insert(head.key);
    } else if (head.code == acl::kMsgUnapplyAppPolicy && isCancellable(round[i]) &&
               applied.contains(unapplyKey(head.key))) {
      round[i].answer = {Status::kCancelled, "a request behind it applies the policy anew"};
    } else {
      next = nullptr;
    }
  }
}

}  // namespace

bool isAnsweredInRounds(std::uint16_t code) noexcept {
  return code == acl::kMsgApplyAppPolicy || code == acl::kMsgUnapplyAppPolicy;
}

std::vector<std::vector<std::byte>> answerRound(std::span<CarriedOut> round) {
  const std::vector<AppPolicyHead> heads = headsOf(round);
  cancelUnapplies(round, heads);
  std::vector<std::vector<std::byte>> replies;
  const AppPolicyHead *last = nullptr;  // of the run that the last reply answers
  Status lastStatus = Status::kOk;
  for (std::size_t i = 0; i < round.size(); ++i) {
    const AppPolicyHead &head = heads[i];
    const bool isCancelled = statusOf(round[i]) == Status::kCancelled;
    const Status status = isCancelled ? Status::kOk : statusOf(round[i]);
    if (head.code == acl::kMsgUnapplyAppPolicy && !isCancelled) {
      replies.push_back(unapplyReply(round[i].request.body, status));
      last = nullptr;
      continue;
    }
    if (last != nullptr && comesBehind(head, *last) && status == lastStatus) {
      extendApplyReply(replies.back(), head.seqNo);
    } else {
      replies.push_back(applyReply(round[i].request.body, status));
    }
    last = &head;
    lastStatus = status;
  }
  return replies;
}

}  // namespace aclmgr
