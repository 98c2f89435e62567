// The manager's answers to the pending requests of applications.

#include <array>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/client/pending_requests.h"
#include "acl_lib/client/reply_bodies.h"
#include "acl_lib/client/reply_callback.h"
#include "acl_lib/client/reply_view.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

namespace acl {
namespace {

// What of a reply counts for all its requests. Copied first: the callback may overwrite the reply.
struct Answer {
  std::int16_t status;
  std::uint8_t appId;
};

void traceAnswer(const Answer &answer, const PendingRequest &request) noexcept {
  aclTrace(kRequestTraceLevel, Sprintf("Sending status %s to client %s for request %x seqNo %u\n",
                                       aclStatusText(answer.status), applicationName(answer.appId),
                                       static_cast<unsigned>(request.code), request.seqNo));
}

// The sequence numbers that a reply covers, in ascending order of the ranges. An empty range is one
// whose first number is above its last one.
std::array<SeqNoRange, 2> coveredRanges(std::uint32_t first, std::uint32_t last) noexcept {
  constexpr SeqNoRange kEmpty{1, 0};
  // The numbers of a wrapped reply before the wrap are compared with zero as signed ones, so that
  // the upper half of them is not covered.
  constexpr std::uint32_t kHighestPositive = INT32_MAX;
  if (first <= last) return {SeqNoRange{first, last}, kEmpty};
  return {SeqNoRange{0, last}, SeqNoRange{first, kHighestPositive}};
}

// Hands a reply to the application as the answer to one request.
//   cookie  the field of the reply that the request's cookie goes to
template <typename Body>
void answerRequest(void *reply, const Field<Body, std::uint32_t> &cookie, const Answer &answer,
                   const PendingRequest &request) noexcept {
  ReplyView<Body> view(reply);
  view.put(cookie, request.cookie);
  view.put(Body::code, request.code);
  traceAnswer(answer, request);
  handToApplication(reply);
}

}  // namespace
}  // namespace acl

extern "C" {

void aclLibSendClientConfigReply(void *reply) noexcept {
  if (reply == nullptr) return;
  using Body = acl::ApplyReplyBody;
  const acl::ReplyView<Body> view(reply);
  const acl::Answer answer{view.get(Body::status), view.get(Body::appId)};
  AclApplInfo *const application = aclLibFindApplInfo(answer.appId, 0);
  if (application == nullptr) return;
  const acl::RequestFilter filter{view.get(Body::kind), view.get(Body::tag)};
  for (acl::SeqNoRange range :
       acl::coveredRanges(view.get(Body::firstSeqNo), view.get(Body::lastSeqNo))) {
    // The callback may add and remove requests, so each one is looked up anew by its number.
    while (true) {
      const acl::AnswerInFlight inFlight(*application, range, filter);
      const acl::PendingRequest *const request = inFlight.request();
      if (request == nullptr) break;
      // A request that takes off what this reply tells about is cancelled, without a word.
      if (request->code != acl::kMsgUnapplyAppPolicy) {
        acl::answerRequest(reply, Body::cookie, answer, *request);
      }
      if (request->seqNo == range.last) break;
      range.first = request->seqNo + 1;
    }
  }
}

void aclLibSendClientUnconfigReply(void *reply) noexcept {
  if (reply == nullptr) return;
  using Body = acl::UnapplyReplyBody;
  const acl::ReplyView<Body> view(reply);
  const acl::Answer answer{view.get(Body::status), view.get(Body::appId)};
  AclApplInfo *const application = aclLibFindApplInfo(answer.appId, 0);
  if (application == nullptr) return;
  const acl::AnswerInFlight inFlight(*application, view.get(Body::seqNo));
  // This reply names its request, so it is answered whatever its code: here a request that takes
  // something off is not cancelled without a word.
  if (const acl::PendingRequest *request = inFlight.request()) {
    acl::answerRequest(reply, Body::seqNo, answer, *request);
  }
}

}  // extern "C"
