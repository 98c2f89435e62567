// The applications of this process, and their requests that wait for an answer.

#include "acl_lib/client/pending_requests.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "acl_lib/encoding/message_body.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/kvtree.h"

AclApplInfoList gaclApplReqList;
std::uint32_t aclReqSeqCounter;

namespace acl {
namespace {

// Guards the ring, the trees and the counter. Never held across a call out of this file but those
// of the trees.
constinit std::mutex requestsMutex;

// The records are given away to callers who end them with free().
struct FreeBlock {
  void operator()(void *block) const noexcept { std::free(block); }
};
template <typename Record>
using Block = std::unique_ptr<Record, FreeBlock>;

template <typename Record>
Block<Record> allocateZeroed() noexcept {
  return Block<Record>(static_cast<Record *>(std::calloc(1, sizeof(Record))));
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
  AclApplInfo *const application = allocateZeroed<AclApplInfo>().release();
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

// Sequence numbers wrap: those given out since are the ones between the counter then and now.
bool isRegisteredSince(std::uint32_t lastRegistered, std::uint32_t seqNo) noexcept {
  const std::uint32_t registeredSince = loadShared(aclReqSeqCounter) - lastRegistered;
  return seqNo - lastRegistered - 1 < registeredSince;
}

bool passes(const AclApplReq &request, const RequestFilter &filter) noexcept {
  return request.kind == filter.kind && request.tag == filter.tag &&
         !isRegisteredSince(filter.lastRegistered, request.seqNo);
}

PendingRequest describe(const AclApplReq &request) noexcept {
  return {&request, request.reqCode, request.seqNo, request.cookie};
}

}  // namespace

std::optional<PendingRequest> findPendingRequest(const AclApplInfo &application,
                                                 std::uint32_t seqNo) noexcept {
  const std::lock_guard guard(requestsMutex);
  const AclApplReq *request = findBySeqNo(application.requests, seqNo);
  if (request == nullptr) return std::nullopt;
  return describe(*request);
}

std::optional<PendingRequest> findPendingRequest(const AclApplInfo &application,
                                                 const SeqNoRange &range,
                                                 const RequestFilter &filter) noexcept {
  const std::lock_guard guard(requestsMutex);
  AclApplReq *request = findFrom(application.requests, range.first);
  for (; request != nullptr && request->seqNo <= range.last; request = nextRequest(request)) {
    if (passes(*request, filter)) return describe(*request);
  }
  return std::nullopt;
}

void forgetPendingRequest(AclApplInfo &application, const PendingRequest &request) noexcept {
  const std::lock_guard guard(requestsMutex);
  // The program may have removed it, and even registered another one of the same number.
  AclApplReq *const present = findBySeqNo(application.requests, request.seqNo);
  if (present == nullptr || present != request.record) return;
  if (kvtreeDelete(present, &application.requests) == 0) std::free(present);
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
  acl::Block<AclApplReq> request = acl::allocateZeroed<AclApplReq>();
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
  const std::lock_guard guard(acl::requestsMutex);
  return acl::insertRequest(req, tree);
}

std::int32_t aclDeleteApplReq(AclApplReq *req, AclApplInfo *applInfo) noexcept {
  if (applInfo == nullptr) return -2;
  const std::lock_guard guard(acl::requestsMutex);
  return kvtreeDelete(req, &applInfo->requests);
}

AclApplReq *aclFindFirstApplReq(AclApplInfo *applInfo) noexcept {
  if (applInfo == nullptr) return nullptr;
  const std::lock_guard guard(acl::requestsMutex);
  return static_cast<AclApplReq *>(kvtreeFirst(&applInfo->requests));
}

AclApplReq *aclFindNextApplReq(AclApplReq *req) noexcept {
  const std::lock_guard guard(acl::requestsMutex);
  return acl::nextRequest(req);
}

AclApplReq *aclFindApplReqBySeqNo(std::uint32_t /*ignored*/, std::uint32_t seqNo,
                                  KvNode **tree) noexcept {
  const std::lock_guard guard(acl::requestsMutex);
  return acl::findBySeqNo(*tree, seqNo);
}

}  // extern "C"
