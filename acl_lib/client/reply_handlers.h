// What the library itself does about each of the ACL manager's replies, by message code.
#ifndef ACL_LIB_CLIENT_REPLY_HANDLERS_H
#define ACL_LIB_CLIENT_REPLY_HANDLERS_H

#include <cstddef>
#include <cstdint>

#include "acl_lib/client/reply_bodies.h"

namespace acl {

enum class AfterReply {
  kCallback,      // the application gets the reply, then comes the next object
  kEndOfMessage,  // the application has its answers; what follows in the message is not read
};

struct ReplyHandler {
  std::uint16_t code;
  std::uint16_t handledSize;  // bytes that must be there
  AfterReply after;
  void (*handle)(void *body) noexcept;  // updates the local tables, fills the body in, traces
};

// No row's handledSize is larger.
inline constexpr std::size_t kLargestHandledSize = DynRuleBindingReplyBody::handledSize;

// Returns the row of a code. Codes that concern the application alone share one, which does nothing
// and needs no more than code and status.
const ReplyHandler &replyHandlerOf(std::uint16_t code) noexcept;

}  // namespace acl

#endif  // ACL_LIB_CLIENT_REPLY_HANDLERS_H
