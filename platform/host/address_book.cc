#include "platform/host/address_book.h"

#include <algorithm>

namespace swplat {
namespace {

// Numbers begin above 32 bits, so that an address cut to a word is noticed.
constexpr uint64_t kFirstNumber = uint64_t{1} << 32;

}  // namespace

std::string ComponentAddress::socketFile() const {
  return name + "." + std::to_string(slot) + ".sock";
}

std::string ComponentAddress::claimFile() const {
  return name + "." + std::to_string(slot) + ".lock";
}

AddressBook &AddressBook::instance() {
  // Never destroyed: the dispatcher's thread may use it while the process exits.
  static AddressBook *const book = new AddressBook;
  return *book;
}

uint64_t AddressBook::intern(const ComponentAddress &address) {
  const std::lock_guard<std::mutex> guard(mutex_);
  const auto known = std::find_if(known_.begin(), known_.end(), [&](const ComponentAddress &other) {
    return other.slot == address.slot && other.name == address.name;
  });
  const uint64_t number = kFirstNumber + static_cast<uint64_t>(known - known_.begin());
  if (known == known_.end()) {
    known_.push_back(address);
  }
  return number;
}

std::optional<ComponentAddress> AddressBook::resolve(uint64_t number) {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (number < kFirstNumber || number - kFirstNumber >= known_.size()) {
    return std::nullopt;
  }
  return known_[static_cast<size_t>(number - kFirstNumber)];
}

}  // namespace swplat
