// The announcement of this process to the ACL manager.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/transport/message_codes.h"
#include "acl_lib/transport/process_info_bodies.h"

extern "C" {

std::int32_t aclLibSendProcessInfo(const char *name) noexcept {
  using Body = acl::ProcessInfoBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgProcessInfo);
  body.put(Body::processName, name);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}

}  // extern "C"
