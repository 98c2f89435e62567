// Request bodies about classifier slices into requests.
#ifndef MANAGER_DECODE_SLICE_REQUESTS_H
#define MANAGER_DECODE_SLICE_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "manager/decode/outcome.h"
#include "manager/model/slice_pool.h"

namespace aclmgr {

// Slices are reserved or given back.
struct SliceRequest {
  std::uint32_t appId;
  bool givesBack;
  Slices slices;
};

// Decodes the body of one request. kInvalidMessage, and why, for a body of another length.
Outcome<SliceRequest> decodeSlices(std::span<const std::byte> body);

}  // namespace aclmgr

#endif  // MANAGER_DECODE_SLICE_REQUESTS_H
