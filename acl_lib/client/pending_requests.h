// The pending requests of an application, as the manager's answers find them.
//
// A pending request is a record of the application's tree. The program may remove it at any time,
// so nothing outside the lock reads a record: what an answer needs is copied out of it.
#ifndef ACL_LIB_CLIENT_PENDING_REQUESTS_H
#define ACL_LIB_CLIENT_PENDING_REQUESTS_H

#include <cstdint>
#include <optional>

#include "acl_lib.h"

namespace acl {

// What an answer needs to know of a pending request.
struct PendingRequest {
  const AclApplReq *record;  // tells it from another one; may be gone, never read through
  std::uint16_t code;
  std::uint32_t seqNo;
  std::uint32_t cookie;
};

// Sequence numbers, both ends included.
struct SeqNoRange {
  std::uint32_t first, last;
};

// What a reply to many requests says about those it is for.
struct RequestFilter {
  std::uint8_t kind;
  std::uint32_t tag;
  // aclReqSeqCounter when the reply came: requests that were registered since are not meant.
  std::uint32_t lastRegistered;
};

// Returns the request of a sequence number, nothing when there is none. Any thread.
std::optional<PendingRequest> findPendingRequest(const AclApplInfo &application,
                                                 std::uint32_t seqNo) noexcept;

// Returns the request of the lowest sequence number in a range that a filter lets pass, nothing
// when there is none. Requests outside the range are not visited. Any thread.
std::optional<PendingRequest> findPendingRequest(const AclApplInfo &application,
                                                 const SeqNoRange &range,
                                                 const RequestFilter &filter) noexcept;

// Removes a request and frees its record; ignored when it is not pending any more. Any thread.
void forgetPendingRequest(AclApplInfo &application, const PendingRequest &request) noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_PENDING_REQUESTS_H
