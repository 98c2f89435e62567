#include "manager/decode/slice_requests.h"

#include "acl_lib/apppolicy/slice_bodies.h"
#include "manager/decode/body_checks.h"

namespace aclmgr {

Outcome<SliceRequest> decodeSlices(std::span<const std::byte> body) {
  using Body = acl::SliceBody;
  constexpr unsigned kCountShift = 24;  // the count is the most significant byte of its word
  const auto reader = readerOver<Body>(body);
  if (!reader) return reader.refusal();
  return SliceRequest{.appId = reader.value().get(Body::appId),
                      .givesBack = reader.value().get(Body::unreserve) != 0,
                      .slices = {.stage = reader.value().get(Body::stage),
                                 .type = reader.value().get(Body::sliceType),
                                 .doubleWide = reader.value().get(Body::doubleWide) != 0,
                                 .count = reader.value().get(Body::sliceCount) >> kCountShift}};
}

}  // namespace aclmgr
