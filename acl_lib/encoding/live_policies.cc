#include "acl_lib/encoding/live_policies.h"

#include <memory>
#include <mutex>
#include <new>

namespace acl {
namespace {

using Slot = std::atomic<std::uintptr_t>;

// An open-addressing hash table of handles: 0 marks an empty slot, a search goes on from the slot
// of the hash to the next empty one. Immutable but for its slots, once published.
struct Table {
  Slot *slots;
  unsigned bits;          // it has 1 << bits slots
  const Table *previous;  // the smaller one that it replaced

  std::size_t slotCount() const noexcept { return std::size_t{1} << bits; }
  std::size_t home(std::uintptr_t handle) const noexcept { return hashOfHandle(handle, bits); }
  std::size_t next(std::size_t slot) const noexcept { return (slot + 1) & (slotCount() - 1); }
  std::size_t distance(std::size_t from, std::size_t to) const noexcept {
    return (to - from) & (slotCount() - 1);
  }
  std::uintptr_t at(std::size_t slot) const noexcept {
    return slots[slot].load(std::memory_order_relaxed);
  }
  void put(std::size_t slot, std::uintptr_t handle) const noexcept {
    slots[slot].store(handle, std::memory_order_relaxed);
  }
  // Returns the slot that holds a handle, or the empty slot where the search for it ends.
  std::size_t find(std::uintptr_t handle) const noexcept {
    std::size_t slot = home(handle);
    while (at(slot) != handle && at(slot) != 0) slot = next(slot);
    return slot;
  }
};

constexpr unsigned kFirstTableBits = 8;
constexpr unsigned kGrowthBits = 2;
constexpr std::size_t kSlotsPerPolicy = 4;

// The first table is part of the library, so that there always is one.
constinit std::array<Slot, std::size_t{1} << kFirstTableBits> firstSlots{};
constinit const Table kFirstTable{firstSlots.data(), kFirstTableBits, nullptr};

// Tables that were replaced are never freed, since a reader may still be in one. Each has a quarter
// of the next one's slots, so that all of them together take less than the current one.
constinit std::atomic<const Table *> currentTable = &kFirstTable;

constinit std::mutex writerMutex;  // guards the writing of front and tables, and policyCount
constinit std::size_t policyCount = 0;

std::uintptr_t handleOf(const AclPolicy *policy) noexcept {
  return reinterpret_cast<std::uintptr_t>(policy);
}

// Publishes a larger table with the same handles. Returns false when memory is exhausted.
bool grow(const Table &table) noexcept {
  const unsigned bits = table.bits + kGrowthBits;
  std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[std::size_t{1} << bits]());
  if (slots == nullptr) return false;
  std::unique_ptr<Table> larger(new (std::nothrow) Table{slots.get(), bits, &table});
  if (larger == nullptr) return false;
  slots.release();

  for (std::size_t slot = 0; slot < table.slotCount(); ++slot) {
    const std::uintptr_t handle = table.at(slot);
    if (handle != 0) larger->put(larger->find(handle), handle);
  }
  currentTable.store(larger.release(), std::memory_order_release);
  return true;
}

// Empties a slot and moves the handles behind it up, so that no search ends too early. A handle is
// copied before its old slot is overwritten: readers may miss it, but never find a wrong one.
void removeAt(const Table &table, std::size_t hole) noexcept {
  for (std::size_t slot = table.next(hole); table.at(slot) != 0; slot = table.next(slot)) {
    const std::size_t home = table.home(table.at(slot));
    if (table.distance(home, slot) < table.distance(hole, slot)) continue;  // may not go that far
    table.put(hole, table.at(slot));
    hole = slot;
  }
  table.put(hole, 0);
}

// Stands for a newest policy that is gone: its selfCheck is not its own address.
constinit const AclPolicy kNoPolicy{};

void putIntoFront(const AclPolicy *policy) noexcept {
  const std::uintptr_t handle = handleOf(policy);
  const std::size_t slot = hashOfHandle(handle, kFrontBits);
  if (slot != 0) livePolicyFront[slot].store(handle, std::memory_order_relaxed);
  newestPolicy.store(policy, std::memory_order_relaxed);
}

void removeFromFront(const AclPolicy *policy) noexcept {
  const std::uintptr_t handle = handleOf(policy);
  Slot &slot = livePolicyFront[hashOfHandle(handle, kFrontBits)];
  if (slot.load(std::memory_order_relaxed) == handle) slot.store(0, std::memory_order_relaxed);
  if (newestPolicy.load(std::memory_order_relaxed) == policy) {
    newestPolicy.store(&kNoPolicy, std::memory_order_relaxed);
  }
}

}  // namespace

constinit PolicyFront livePolicyFront{1};
constinit std::atomic<const AclPolicy *> newestPolicy{&kNoPolicy};

bool isLivePolicy(AclPolicyHandle handle) noexcept {
  const auto wanted = static_cast<std::uintptr_t>(handle);
  if (wanted == 0) return false;
  if (isLivePolicyInFront(handle)) return true;
  const Table &table = *currentTable.load(std::memory_order_acquire);
  std::size_t slot = table.home(wanted);
  // Writers that move handles about could keep a reader going round: one round is enough.
  for (std::size_t seen = 0; seen < table.slotCount(); ++seen) {
    const std::uintptr_t found = table.at(slot);
    if (found == wanted) return true;
    if (found == 0) return false;
    slot = table.next(slot);
  }
  return false;
}

bool registerPolicy(AclPolicy *policy) noexcept {
  const std::scoped_lock lock(writerMutex);
  const Table *table = currentTable.load(std::memory_order_relaxed);
  if ((policyCount + 1) * kSlotsPerPolicy > table->slotCount()) {
    if (!grow(*table)) return false;
    table = currentTable.load(std::memory_order_relaxed);
  }
  const std::uintptr_t handle = handleOf(policy);
  const std::size_t slot = table->find(handle);
  if (table->at(slot) == handle) return true;
  table->put(slot, handle);
  ++policyCount;
  putIntoFront(policy);
  return true;
}

bool forgetPolicy(const AclPolicy *policy) noexcept {
  const std::scoped_lock lock(writerMutex);
  const Table *table = currentTable.load(std::memory_order_relaxed);
  const std::size_t slot = table->find(handleOf(policy));
  if (table->at(slot) == 0) return false;
  removeAt(*table, slot);
  --policyCount;
  removeFromFront(policy);
  return true;
}

}  // namespace acl
