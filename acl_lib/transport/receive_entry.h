// Where start-up finds the receive entry.
//
// The dispatcher delivers everything from the ACL manager to one function, which belongs to the
// client subsystem, above this one. This is the only link in that direction, and this header is all
// of it.
#ifndef ACL_LIB_TRANSPORT_RECEIVE_ENTRY_H
#define ACL_LIB_TRANSPORT_RECEIVE_ENTRY_H

#include "acl_lib.h"
#include "platform/dispatch.h"

namespace acl {

inline constexpr DispatchReceiveCallback kReceiveEntry = aclLibCallback;

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_RECEIVE_ENTRY_H
