#include "platform/board.h"

#include "platform/host/board_facts.h"
#include "platform/host/failure.h"
#include "platform/host/process_state.h"
#include "platform/process.h"

namespace {

// Reads one fact; the default when memory for the facts is exhausted.
uint32_t fact(uint32_t swplat::BoardFacts::*which) {
  return swplat::resultOr<uint32_t>(1, [which] { return swplat::boardFacts().*which; });
}

}  // namespace

extern "C" {

uint32_t boardGetSlotSelf(void) noexcept {
  return fact(&swplat::BoardFacts::slot);
}

uint32_t boardGetChassisId(void) noexcept {
  return fact(&swplat::BoardFacts::chassis);
}

uint32_t boardGetPlatformId(void) noexcept {
  return fact(&swplat::BoardFacts::platform);
}

int32_t boardGetProcessState(const char *name) noexcept {
  return swplat::resultOr(int32_t{0}, [name] { return swplat::publishedProcessState(name); });
}

int32_t boardCardEgressAclCapable(uint32_t /*slot: one setting holds for the chassis*/) noexcept {
  return static_cast<int32_t>(fact(&swplat::BoardFacts::egressAcl));
}

const char *platGetProcessName(void) noexcept {
  return swplat::resultOr<const char *>("",
                                        [] { return swplat::boardFacts().processName.c_str(); });
}

}  // extern "C"
