// The one way out of all trace lines.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <mutex>

#include "acl_lib.h"
#include "acl_lib/transport/shared_word.h"
#include "platform/cliagent.h"
#include "platform/evlog.h"

AclTraceState *aclState = nullptr;

namespace acl {
namespace {

constexpr std::uint32_t kLevelMask = 0xF;
constexpr std::uint32_t kPrint = 0x10;
constexpr std::uint32_t kPushToCli = 0x40;

// Lines of this level reach the trace buffer only from this debug level on.
constexpr std::uint32_t kVerboseLevel = 8;
constexpr std::int32_t kVerboseDebugLevel = 3;

// What is printed in front of a line, by level; nothing in front of the others.
constexpr const char *kPrefixes[] = {"", "***Critical: ", "***Error: ", "***Warning: "};

const char *prefixOf(std::uint32_t level) noexcept {
  return level < std::size(kPrefixes) ? kPrefixes[level] : "";
}

AclTraceState defaultState;
constinit std::mutex installerMutex;  // held while defaultState is zeroed and installed

// Installs a record of zeros. Only the thread that finds none installed zeroes the record, never
// one that comes late: the application may have changed the settings since. While a record is
// installed, no trace takes the mutex.
const AclTraceState &installDefaults() noexcept {
  const std::lock_guard guard(installerMutex);
  if (const AclTraceState *installed = loadShared(aclState)) return *installed;
  storeShared(defaultState.debugLevel, 0);
  storeShared(defaultState.printLevel, 0);
  storeShared(defaultState.cliHandle, 0);
  return *setSharedIfNull(aclState, &defaultState);
}

// The settings in force; a record of zeros until someone provides others.
const AclTraceState &settings() noexcept {
  // Loaded once: it may be taken away or replaced at any time.
  const AclTraceState *installed = loadShared(aclState);
  return installed != nullptr ? *installed : installDefaults();
}

// What is too verbose for the trace buffer may still be printed and pushed: those have gates of
// their own.
void writeToBuffer(std::uint32_t level, const char *text, std::int32_t debugLevel) noexcept {
  if (level == kVerboseLevel && debugLevel < kVerboseDebugLevel) return;
  const std::uint32_t buffer = loadShared(aclTraceBufferHandle);
  if (buffer == 0) return;
  evlogTraceLog(buffer, level, text, static_cast<std::uint32_t>(std::strlen(text)));
}

}  // namespace
}  // namespace acl

extern "C" {

const char *aclTrace(std::uint32_t flags, const char *text) noexcept {
  const AclTraceState &settings = acl::settings();
  const std::uint32_t level = flags & acl::kLevelMask;
  const std::int32_t printLevel = acl::loadShared(settings.printLevel);
  const std::int32_t cliHandle = acl::loadShared(settings.cliHandle);
  if (text == nullptr || *text == '\0') return text;
  acl::writeToBuffer(level, text, acl::loadShared(settings.debugLevel));
  if ((flags & acl::kPrint) != 0 && printLevel >= static_cast<std::int32_t>(level)) {
    std::printf("%s%s", acl::prefixOf(level), text);
  }
  if ((flags & acl::kPushToCli) != 0 && cliHandle != 0) cliagentNotifyCLI(cliHandle, text);
  return text;
}

}  // extern "C"
