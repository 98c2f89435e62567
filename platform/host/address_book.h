// Messaging addresses: where a component is served, as the numbers that directory records carry.
#ifndef PLATFORM_HOST_ADDRESS_BOOK_H
#define PLATFORM_HOST_ADDRESS_BOOK_H

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace swplat {

// Where a component is served. File names are relative to the runtime directory.
struct ComponentAddress {
  std::string name;
  uint8_t slot;

  // Returns `<name>.<slot>.sock`.
  std::string socketFile() const;
  // Returns `<name>.<slot>.lock`, the claim file of the serving process.
  std::string claimFile() const;
};

// Gives every component asked for a number that means it for the life of the process. Thread-safe.
class AddressBook {
 public:
  // The book of this process.
  static AddressBook &instance();

  // Returns the component's number, never 0; the same one each time.
  uint64_t intern(const ComponentAddress &address);

  // Returns the component, none for a number that intern() never returned.
  std::optional<ComponentAddress> resolve(uint64_t number);

 private:
  std::mutex mutex_;
  std::vector<ComponentAddress> known_;
};

}  // namespace swplat

#endif  // PLATFORM_HOST_ADDRESS_BOOK_H
