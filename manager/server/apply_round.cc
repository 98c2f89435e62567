#include "manager/server/apply_round.h"

#include <ranges>
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

// From the last request to the first, with the keys of the accepted applies that a run has behind
// the request.
void cancelUnapplies(std::span<CarriedOut> round) {
  std::set<ApplicationPolicyKey> applied;
  std::optional<AppPolicyHead> next;  // the first request of that run
  for (CarriedOut &current : round | std::views::reverse) {
    const AppPolicyHead head = appPolicyHeadOf(current.request.body);
    if (!next || !comesBehind(*next, head)) applied.clear();
    next = head;
    if (head.code == acl::kMsgApplyAppPolicy && statusOf(current) == Status::kOk) {
      applied.insert(head.key);
    } else if (head.code == acl::kMsgUnapplyAppPolicy && isCancellable(current) &&
               applied.contains(unapplyKey(head.key))) {
      current.answer = {Status::kCancelled, "a request behind it applies the policy anew"};
    } else {
      next.reset();
    }
  }
}

}  // namespace

bool isAnsweredInRounds(std::uint16_t code) noexcept {
  return code == acl::kMsgApplyAppPolicy || code == acl::kMsgUnapplyAppPolicy;
}

std::vector<std::vector<std::byte>> answerRound(std::span<CarriedOut> round) {
  cancelUnapplies(round);
  std::vector<std::vector<std::byte>> replies;
  std::optional<AppPolicyHead> last;  // of the run that the last reply answers
  Status lastStatus = Status::kOk;
  for (const CarriedOut &current : round) {
    const AppPolicyHead head = appPolicyHeadOf(current.request.body);
    const bool isCancelled = statusOf(current) == Status::kCancelled;
    const Status status = isCancelled ? Status::kOk : statusOf(current);
    if (head.code == acl::kMsgUnapplyAppPolicy && !isCancelled) {
      replies.push_back(unapplyReply(current.request.body, status));
      last.reset();
      continue;
    }
    if (last && comesBehind(head, *last) && status == lastStatus) {
      extendApplyReply(replies.back(), head.seqNo);
    } else {
      replies.push_back(applyReply(current.request.body, status));
    }
    last = head;
    lastStatus = status;
  }
  return replies;
}

}  // namespace aclmgr
