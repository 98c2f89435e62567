// The one way out of all replies.
#ifndef ACL_LIB_CLIENT_REPLY_CALLBACK_H
#define ACL_LIB_CLIENT_REPLY_CALLBACK_H

#include "acl_lib.h"
#include "acl_lib/transport/shared_word.h"

namespace acl {

// Hands a reply to the application, if it wants replies. No lock may be held.
inline void handToApplication(void *body) noexcept {
  if (const AclMsgCallback callback = loadShared(aclMsgCallback)) callback(body);
}

}  // namespace acl

#endif  // ACL_LIB_CLIENT_REPLY_CALLBACK_H
