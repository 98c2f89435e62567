// The announcement of a client process to the ACL manager.
#ifndef ACL_LIB_TRANSPORT_PROCESS_INFO_BODIES_H
#define ACL_LIB_TRANSPORT_PROCESS_INFO_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgProcessInfo. The bytes between the code and the name are not used by the manager.
struct ProcessInfoBody {
  static constexpr std::size_t size = 628;

  static constexpr Field<ProcessInfoBody, std::uint16_t> code{0, "code"};
  static constexpr Field<ProcessInfoBody, Name> processName{592, "processName"};

  static constexpr FieldTable table{code, processName};
};
static_assert(isWellFormed<ProcessInfoBody>());

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_PROCESS_INFO_BODIES_H
