// The pending requests of an application, as the manager's answers find them.
//
// A pending request is a record of the application's tree. The program may remove it at any time,
// so nothing outside the lock reads a record: what an answer needs is copied out of it.
#ifndef ACL_LIB_CLIENT_PENDING_REQUESTS_H
#define ACL_LIB_CLIENT_PENDING_REQUESTS_H

#include <cstdint>

#include "acl_lib.h"

namespace acl {

// What an answer needs to know of a pending request.
struct PendingRequest {
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
};

// A record that is being answered. All of them form a list, by which whoever removes a record tells
// those who are answering it.
struct RecordInFlight {
  AclApplReq *record;  // null when there is none, and as soon as it is removed
  RecordInFlight *next;
};

// The answer to one pending request, from finding the request to forgetting it. Any thread.
//
// In between the callback may do anything: remove and free the record, answer it again, even link
// the same block again as another request of the same number. So only a record that nobody has
// removed since is removed and freed in the end.
class AnswerInFlight {
 public:
  // Finds the request of a sequence number. The application must outlive the answer.
  AnswerInFlight(AclApplInfo &application, std::uint32_t seqNo) noexcept;

  // Finds the request of the lowest sequence number in a range that a filter lets pass. Requests
  // outside the range are not visited.
  AnswerInFlight(AclApplInfo &application, const SeqNoRange &range,
                 const RequestFilter &filter) noexcept;

  // Removes the request and frees its record, unless it has been removed since.
  ~AnswerInFlight();
  AnswerInFlight(const AnswerInFlight &) = delete;
  AnswerInFlight &operator=(const AnswerInFlight &) = delete;

  // The request as it was found, whatever became of it; null when none was found.
  const PendingRequest *request() const noexcept { return found_ ? &request_ : nullptr; }

 private:
  void begin(AclApplReq *record) noexcept;

  AclApplInfo &application_;
  RecordInFlight inFlight_{};
  PendingRequest request_{};
  bool found_ = false;
};

}  // namespace acl

#endif  // ACL_LIB_CLIENT_PENDING_REQUESTS_H
