#include "manager/server/apply_round.h"

#include <set>
#include <utility>

#include "acl_lib/encoding/byte_order.h"
#include "acl_lib/transport/message_codes.h"

namespace aclmgr {
namespace {

// Returns the head of a request about an application policy; nothing for any other request.
std::optional<AppPolicyHead> headOf(std::span<const std::byte> body) noexcept {
  const auto code = acl::loadBig<std::uint16_t>(body.data() + acl::kCodeOffset);
  if (code != acl::kMsgApplyAppPolicy && code != acl::kMsgUnapplyAppPolicy) return std::nullopt;
  return appPolicyHeadOf(body);
}

ApplyRange rangeOf(const AppPolicyHead &head) noexcept {
  return {.appId = head.key.appId,
          .kind = head.key.kind,
          .tag = head.key.tag,
          .firstSeqNo = head.seqNo,
          .lastSeqNo = head.seqNo};
}

// Whether a request comes directly behind the requests of a range.
bool comesBehind(const ApplyRange &range, const AppPolicyHead &head) noexcept {
  return range.appId == head.key.appId && range.kind == head.key.kind &&
         range.tag == head.key.tag && head.seqNo != 0 && head.seqNo == range.lastSeqNo + 1;
}

bool isInRuns(const Request &request) noexcept {
  return request.code == acl::kMsgApplyAppPolicy || request.isSuperseded;
}

}  // namespace

// From the last request to the first, with what the applies replace that a run has behind the
// request.
ApplyRound::ApplyRound(std::span<const std::span<const std::byte>> bodies)
    : superseded_(bodies.size()) {
  std::set<ApplicationPolicyKey> replaced;
  std::optional<AppPolicyHead> next;  // in the same run
  for (std::size_t i = bodies.size(); i > 0; --i) {
    std::optional<AppPolicyHead> head = headOf(bodies[i - 1]);
    if (!head || !next || !comesBehind(rangeOf(*head), *next)) replaced.clear();
    if (head && head->code == acl::kMsgApplyAppPolicy) {
      replaced.insert(unapplyKey(head->key));
    } else if (head) {
      superseded_[i - 1] = replaced.contains(unapplyKey(head->key));
      if (!superseded_[i - 1]) head.reset();
    }
    next = head;
  }
}

bool ApplyRound::extend(const Request &request, Status status) noexcept {
  if (!run_ || !isInRuns(request)) return false;
  const AppPolicyHead head = appPolicyHeadOf(request.body);
  if (!comesBehind(run_->range, head)) return false;
  if (!request.isSuperseded) {
    if (run_->status.value_or(status) != status) return false;
    run_->status = status;
  }
  run_->range.lastSeqNo = head.seqNo;
  return true;
}

bool ApplyRound::begin(const Request &request, Status status) noexcept {
  if (!isInRuns(request)) return false;
  run_ = Run{rangeOf(appPolicyHeadOf(request.body)), std::nullopt};
  if (!request.isSuperseded) run_->status = status;
  return true;
}

std::optional<std::vector<std::byte>> ApplyRound::finish() {
  const std::optional<Run> ended = std::exchange(run_, std::nullopt);
  if (!ended) return std::nullopt;
  // A superseded unapply has an apply of its run behind it, so there is a status.
  return applyRangeReply(ended->range, *ended->status);
}

}  // namespace aclmgr
