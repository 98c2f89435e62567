#include <cstring>

#include "platform/dirsvc.h"
#include "platform/host/address_book.h"
#include "platform/host/claim_file.h"
#include "platform/host/component_name.h"
#include "platform/host/failure.h"
#include "platform/host/runtime_directory.h"

namespace swplat {
namespace {

static_assert(sizeof(DirsvcRecord) == 52);
static_assert(kLongestComponentName + 1 == sizeof(DirsvcRecord::name));

// The claim of the serving process is looked at, not its socket: a connection made to try it out
// would be a client to the server.
bool isServed(const ComponentAddress &address) {
  const FileDescriptor directory = openRuntimeDirectory(OpenDirectory::kExisting);
  return ClaimFile::isAnnounced(directory.number(), address.claimFile());
}

int32_t lookUp(const void *key, void *result) {
  DirsvcRecord record = {};
  std::memcpy(&record, key, sizeof(record));
  const ComponentAddress address{
      std::string(record.name, strnlen(record.name, sizeof(record.name))), record.slot};
  if (!isComponentName(address.name.c_str()) || !isServed(address)) {
    return -1;
  }
  record.address = AddressBook::instance().intern(address);
  record.port = static_cast<uint32_t>(record.address);  // which entry of the address book it is
  record.reserved = 0;
  std::memcpy(result, &record, sizeof(record));
  return 0;
}

}  // namespace
}  // namespace swplat

extern "C" int32_t dirsvcGetEntryByAttr(const void *key, void *result) noexcept {
  if (key == nullptr || result == nullptr) {
    return -1;
  }
  return swplat::resultOr(int32_t{-1}, [key, result] { return swplat::lookUp(key, result); });
}
