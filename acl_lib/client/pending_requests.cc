// The applications of this process, and their requests that wait for an answer.

#include "acl_lib/client/pending_requests.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/kvtree.h"

AclApplInfoList gaclApplReqList;
std::uint32_t aclReqSeqCounter;

namespace acl {
namespace {

// Guards the ring, the trees, the counter and the list of answers in flight. Never held across a
// call out of this file but those of the trees.
constinit std::mutex requestsMutex;

constinit RecordInFlight *firstInFlight = nullptr;

// The records are given away to callers who end them with free().
struct FreeBlock {
  void operator()(void *block) const noexcept { std::free(block); }
};
using RequestBlock = std::unique_ptr<AclApplReq, FreeBlock>;

template <typename Record>
Record *allocateZeroed() noexcept {
  return static_cast<Record *>(std::calloc(1, sizeof(Record)));
}

AclApplReq *requestOf(KvNode *node) noexcept {
  return reinterpret_cast<AclApplReq *>(node);
}

AclApplInfo *findApplication(std::uint32_t applId) noexcept {
  AclApplInfo *const first = loadShared(gaclApplReqList.first);
  if (first == nullptr) return nullptr;
  AclApplInfo *application = first;
  do {
    if (application->applId == applId) return application;
    application = application->next;
  } while (application != first);
  return nullptr;
}

void linkAtTail(AclApplInfo *application) noexcept {
  AclApplInfo *const first = loadShared(gaclApplReqList.first);
  if (first == nullptr) {
    application->next = application->prev = application;
    storeShared(gaclApplReqList.first, application);
    return;
  }
  application->next = first;
  application->prev = first->prev;
  first->prev->next = application;
  first->prev = application;
}

// The ring's count word stays as it is: it is no part of what this library keeps.
AclApplInfo *createApplication(std::uint32_t applId) noexcept {
  auto *const application = allocateZeroed<AclApplInfo>();
  if (application == nullptr) return nullptr;
  application->applId = static_cast<std::uint8_t>(applId);
  linkAtTail(application);
  return application;
}

AclApplInfo *findOrCreateApplication(std::uint32_t applId) noexcept {
  // Id 0 stands for the first application there is. An id above 255 equals no stored byte.
  if (applId == 0) return loadShared(gaclApplReqList.first);
  AclApplInfo *const application = findApplication(applId);
  return application != nullptr ? application : createApplication(applId);
}

// Wraps: after the highest number comes 0, which a caller cannot tell from a failure.
std::uint32_t nextSeqNo() noexcept {
  const std::uint32_t seqNo = loadShared(aclReqSeqCounter) + 1;
  storeShared(aclReqSeqCounter, seqNo);
  return seqNo;
}

std::int32_t insertRequest(AclApplReq *request, KvNode **tree) noexcept {
  return kvtreeInsert(request, tree, aclApplReqCmpFuncBySeqNo);
}

// Every removal goes through here, so that answers in flight learn of it.
std::int32_t removeRequest(AclApplReq *request, AclApplInfo &application) noexcept {
  const std::int32_t result = kvtreeDelete(request, &application.requests);
  if (result != 0) return result;
  for (RecordInFlight *other = firstInFlight; other != nullptr; other = other->next) {
    if (other->record == request) other->record = nullptr;
  }
  return 0;
}

AclApplReq *findBySeqNo(KvNode *root, std::uint32_t seqNo) noexcept {
  AclApplReq key{};
  key.seqNo = seqNo;
  return static_cast<AclApplReq *>(findNode(&key, root, aclApplReqCmpFuncBySeqNo));
}

// Returns the request of the lowest sequence number that is not below `seqNo`.
AclApplReq *findFrom(KvNode *root, std::uint32_t seqNo) noexcept {
  AclApplReq *found = nullptr;
  for (KvNode *node = root; node != nullptr;) {
    AclApplReq *const request = requestOf(node);
    if (request->seqNo < seqNo) {
      node = node->right;
    } else {
      found = request;
      node = node->left;
    }
  }
  return found;
}

AclApplReq *nextRequest(AclApplReq *request) noexcept {
  return static_cast<AclApplReq *>(kvtreeNext(request));
}

AclApplReq *findLowest(KvNode *root, const SeqNoRange &range,
                       const RequestFilter &filter) noexcept {
  AclApplReq *request = findFrom(root, range.first);
  for (; request != nullptr && request->seqNo <= range.last; request = nextRequest(request)) {
    if (request->kind == filter.kind && request->tag == filter.tag) return request;
  }
  return nullptr;
}

// Answers of other threads may have begun since.
void takeOutOfList(RecordInFlight &ended) noexcept {
  RecordInFlight **link = &firstInFlight;
  while (*link != &ended) link = &(*link)->next;
  *link = ended.next;
}

}  // namespace

AnswerInFlight::AnswerInFlight(AclApplInfo &application, std::uint32_t seqNo) noexcept
    : application_(application) {
  const std::lock_guard guard(requestsMutex);
  begin(findBySeqNo(application.requests, seqNo));
}

AnswerInFlight::AnswerInFlight(AclApplInfo &application, const SeqNoRange &range,
                               const RequestFilter &filter) noexcept
    : application_(application) {
  const std::lock_guard guard(requestsMutex);
  begin(findLowest(application.requests, range, filter));
}

void AnswerInFlight::begin(AclApplReq *record) noexcept {
  if (record == nullptr) return;
  request_ = {record->reqCode, record->seqNo, record->cookie};
  found_ = true;
  inFlight_ = {record, firstInFlight};
  firstInFlight = &inFlight_;
}

AnswerInFlight::~AnswerInFlight() {
  if (!found_) return;
  const std::lock_guard guard(requestsMutex);
  takeOutOfList(inFlight_);
  AclApplReq *const record = inFlight_.record;
  if (record != nullptr && removeRequest(record, application_) == 0) std::free(record);
}

}  // namespace acl

extern "C" {

std::uint32_t aclLibGetApplCount(void) noexcept {
  return acl::loadShared(gaclApplReqList.first) == nullptr ? 0
                                                           : acl::loadShared(gaclApplReqList.count);
}

AclApplInfo *aclLibFindApplInfo(std::uint32_t applId, std::uint32_t create) noexcept {
  const std::lock_guard guard(acl::requestsMutex);
  if (create != 0) return acl::findOrCreateApplication(applId);
  return applId == 0 ? acl::loadShared(gaclApplReqList.first) : acl::findApplication(applId);
}

std::uint32_t aclLibGetClientSeqNo(std::uint32_t applId, std::int32_t reqCode, std::uint32_t cookie,
                                   const char *name, std::uint8_t kind,
                                   std::uint32_t tag) noexcept {
  const std::lock_guard guard(acl::requestsMutex);
  AclApplInfo *const application = acl::findOrCreateApplication(applId);
  if (application == nullptr) return 0;
  acl::RequestBlock request(acl::allocateZeroed<AclApplReq>());
  if (request == nullptr) return 0;
  request->seqNo = acl::nextSeqNo();
  request->reqCode = static_cast<std::uint16_t>(reqCode);
  request->cookie = cookie;
  acl::copyText(reinterpret_cast<std::byte *>(request->name), sizeof(request->name), name);
  request->kind = kind;
  request->tag = tag;
  // Refused when a request still waits that had this number before the numbers wrapped.
  if (acl::insertRequest(request.get(), &application->requests) != 0) return 0;
  return request.release()->seqNo;
}

std::int32_t aclApplReqCmpFuncBySeqNo(const void *a, const void *b) noexcept {
  const std::uint32_t seqNo = static_cast<const AclApplReq *>(a)->seqNo;
  const std::uint32_t otherSeqNo = static_cast<const AclApplReq *>(b)->seqNo;
  if (seqNo == otherSeqNo) return 0;
  return seqNo > otherSeqNo ? 1 : -1;
}

std::int32_t aclInsertApplReq(AclApplReq *req, KvNode **tree) noexcept {
  if (req == nullptr || tree == nullptr) return acl::kInvalidArgument;
  const std::lock_guard guard(acl::requestsMutex);
  return acl::insertRequest(req, tree);
}

std::int32_t aclDeleteApplReq(AclApplReq *req, AclApplInfo *applInfo) noexcept {
  if (applInfo == nullptr) return acl::kInvalidArgument;
  const std::lock_guard guard(acl::requestsMutex);
  return acl::removeRequest(req, *applInfo);
}

AclApplReq *aclFindFirstApplReq(AclApplInfo *applInfo) noexcept {
  if (applInfo == nullptr) return nullptr;
  const std::lock_guard guard(acl::requestsMutex);
  return static_cast<AclApplReq *>(kvtreeFirst(&applInfo->requests));
}

AclApplReq *aclFindNextApplReq(AclApplReq *req) noexcept {
  if (req == nullptr) return nullptr;
  const std::lock_guard guard(acl::requestsMutex);
  return acl::nextRequest(req);
}

AclApplReq *aclFindApplReqBySeqNo(std::uint32_t /*ignored*/, std::uint32_t seqNo,
                                  KvNode **tree) noexcept {
  if (tree == nullptr) return nullptr;
  const std::lock_guard guard(acl::requestsMutex);
  return acl::findBySeqNo(*tree, seqNo);
}

}  // extern "C"
