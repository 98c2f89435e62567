// The body of the requests about classifier slices.
#ifndef ACL_LIB_APPPOLICY_SLICE_BODIES_H
#define ACL_LIB_APPPOLICY_SLICE_BODIES_H

#include "acl_lib/encoding/message_body.h"

namespace acl {

// kMsgSliceConfig.
struct SliceBody {
  static constexpr std::size_t size = 616;

  static constexpr Field<SliceBody, std::uint16_t> code{0, "code"};
  static constexpr Field<SliceBody, std::uint32_t> context{588, "context"};
  static constexpr Field<SliceBody, std::uint32_t> unreserve{592, "unreserve"};
  static constexpr Field<SliceBody, std::uint32_t> stage{596, "stage"};
  static constexpr Field<SliceBody, std::uint32_t> sliceType{600, "sliceType"};
  // The count in its most significant byte.
  static constexpr Field<SliceBody, std::uint32_t> sliceCount{604, "sliceCount"};
  static constexpr Field<SliceBody, std::uint32_t> doubleWide{608, "doubleWide"};
  static constexpr Field<SliceBody, std::uint32_t> appId{612, "appId"};

  static constexpr FieldTable table{code,      context,    unreserve,  stage,
                                    sliceType, sliceCount, doubleWide, appId};
};
static_assert(isWellFormed<SliceBody>());

}  // namespace acl

#endif  // ACL_LIB_APPPOLICY_SLICE_BODIES_H
