// Start-up of the library, and the connection to the ACL manager.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "acl_lib.h"
#include "acl_lib/encoding/message_body.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/manager_connection.h"
#include "acl_lib/transport/receive_entry.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/board.h"
#include "platform/dispatch.h"
#include "platform/evlog.h"
#include "platform/msgbus.h"

std::uint32_t aclPeerId = 0;
std::uint32_t aclTraceBufferHandle = 0;
AclConnectionHandler aclConnectionHandler = nullptr;
AclMsgCallback aclMsgCallback = nullptr;
// Usable before aclLibInit() too: the policy store works without a connection.
pthread_rwlock_t aclPolicyLock = PTHREAD_RWLOCK_INITIALIZER;

namespace acl {
namespace {

constexpr std::uint32_t kTraceBufferSize = 10240;
constexpr DispatchDelay kRegistrationPause{1, 0};

// What the library sets on its peer, in this order.
struct PeerOption {
  std::uint32_t option, value;
};
constexpr PeerOption kPeerOptions[] = {{MSGBUS_OPTION_KEEP_ALIVE, 1},
                                       {MSGBUS_OPTION_PRIORITY, kPeerPriority},
                                       {MSGBUS_OPTION_QUEUE_LIMIT, 100000}};

// What a queue whose length cannot be told counts as: a full one, so that senders hold back.
constexpr std::int32_t kFullQueue = 100000;

template <std::size_t Width>
void setText(char (&field)[Width], const char *text) noexcept {
  copyText(reinterpret_cast<std::byte *>(field), Width, text);
}

// A work item's routine: registers a DispatchClientRecord, which it owns, with the dispatcher.
// While the dispatcher does not take it, the record stays with the next run; it is freed when it is
// taken, or when no next run can be scheduled.
void registerClient(void *record, void *unused) noexcept {
  if (dispatchAddClient(static_cast<const DispatchClientRecord *>(record), nullptr) != 0 &&
      dispatchExecuteWorkItem(registerClient, record, unused, &kRegistrationPause, 1) != 0) {
    return;
  }
  std::free(record);
}

}  // namespace
}  // namespace acl

extern "C" {

std::int32_t aclLibInit() noexcept {
  if (pthread_rwlock_init(&aclPolicyLock, nullptr) != 0) return acl::kFailed;
  acl::storeShared(aclTraceBufferHandle,
                   evlogInitTraceBuffer(acl::kComponent, acl::kTraceBufferSize, 0));
  return 0;
}

std::int32_t aclLibConnect(AclMsgCallback callback) noexcept {
  // Without its lock or its trace buffer the library still sends and receives: no result is looked
  // at.
  aclLibInit();
  acl::storeShared(aclMsgCallback, callback);
  // Nor is a missing handle an error here: every later send returns -1. A handle of an earlier call
  // is not freed, as other threads may be sending through it.
  acl::storeShared(aclHandle, transHandleCreate());
  return aclLibInitClients(nullptr, aclLibConnectionEvent);
}

std::int32_t aclLibInitClients(void * /*ignored*/, AclConnectionHandler handler) noexcept {
  if (handler != nullptr) acl::storeShared(aclConnectionHandler, handler);
  const std::uint32_t client = msgbusInitClient(acl::kRequestClient, nullptr, 0);
  if (client == 0) return acl::kFailed;
  auto *record = static_cast<DispatchClientRecord *>(std::calloc(1, sizeof(DispatchClientRecord)));
  if (record == nullptr) return acl::kNoMemory;
  record->service = client;
  record->callback = acl::kReceiveEntry;
  acl::setText(record->callbackName, "aclLibCallback");
  record->slot = static_cast<std::uint8_t>(boardGetSlotSelf());
  acl::setText(record->name, acl::kComponent);
  // A dispatcher that does not take the client yet is no failure of this call.
  acl::registerClient(record, nullptr);
  return 0;
}

std::int32_t aclLibConnectionEvent(std::uint32_t peerId, std::int32_t event) noexcept {
  // A loss leaves the handle its old peer, until the next connection.
  if (event != MSGBUS_EVENT_CONNECTED) return MSGBUS_EVENT_CONNECTED;
  TransHandle *handle = acl::loadShared(aclHandle);
  if (handle == nullptr) return 0;
  aclSetPeerOptions(peerId);
  return transHandleSetPeer(handle, peerId);
}

std::int32_t aclClosePeer() noexcept {
  msgbusDeregisterPeer(acl::loadShared(aclPeerId));
  return 0;
}

std::int32_t aclSetPeerOptions(std::uint32_t peerId) noexcept {
  std::int32_t result = 0;
  for (const auto &[option, value] : acl::kPeerOptions) {
    result = msgbusSetPeerOption(peerId, option, value);
  }
  return result;
}

std::int32_t aclLibPeerIdCurrentQueueSize() noexcept {
  const TransHandle *handle = acl::loadShared(aclHandle);
  if (handle == nullptr) return 0;
  const std::int32_t count = msgbusGetVqStatsCount(acl::loadShared(handle->peerId));
  return count >= 0 ? count : acl::kFullQueue;
}

}  // extern "C"
