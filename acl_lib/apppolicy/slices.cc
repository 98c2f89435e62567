// Reservations of classifier slices.

#include <array>
#include <cstddef>
#include <cstdint>

#include "acl_lib.h"
#include "acl_lib/apppolicy/slice_bodies.h"
#include "acl_lib/dynrules/request_trace.h"
#include "acl_lib/encoding/results.h"
#include "acl_lib/transport/message_codes.h"
#include "platform/process.h"

namespace acl {
namespace {

// Result for an application that does not exist.
constexpr std::int32_t kNoSuchApplication = -1;

void traceRequest(const AclSliceRequest &request) noexcept {
  aclTrace(kRequestTraceLevel,
           Sprintf(" %s: ACL Slice %s %d slices for stage: %d of type: %d double_wide: %s\n",
                   applicationName(request.appId), request.unreserve != 0 ? "Unreserve" : "Reserve",
                   request.sliceCount >> 24, request.stage, request.sliceType,
                   request.doubleWide != 0 ? "TRUE" : "FALSE"));
}

}  // namespace
}  // namespace acl

extern "C" std::int32_t aclLibSliceConfig(const AclSliceRequest *sliceRequest,
                                          std::uint32_t context) noexcept {
  // Two refusals that callers can tell apart, on purpose.
  if (sliceRequest == nullptr) return acl::kInvalidArgument;
  if (sliceRequest->appId >= acl::kApplicationCount) return acl::kNoSuchApplication;
  using Body = acl::SliceBody;
  std::array<std::byte, Body::size> bytes;
  acl::BodyWriter<Body> body(bytes);
  body.put(Body::code, acl::kMsgSliceConfig);
  body.put(Body::context, context);
  body.put(Body::unreserve, sliceRequest->unreserve);
  body.put(Body::stage, sliceRequest->stage);
  body.put(Body::sliceType, sliceRequest->sliceType);
  body.put(Body::sliceCount, sliceRequest->sliceCount);
  body.put(Body::doubleWide, sliceRequest->doubleWide);
  body.put(Body::appId, sliceRequest->appId);
  acl::traceRequest(*sliceRequest);
  return aclLibSendMsg(acl::kTlvRequest, bytes.data(), bytes.size());
}
