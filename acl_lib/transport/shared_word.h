// Exported plain words that several threads use.
//
// The interface exports them as plain C words, so they cannot be std::atomic. The compiler's atomic
// built-ins give the same accesses: a reader sees a whole value, and with it everything its writer
// wrote before.
#ifndef ACL_LIB_TRANSPORT_SHARED_WORD_H
#define ACL_LIB_TRANSPORT_SHARED_WORD_H

#include <type_traits>

namespace acl {

// A number or a pointer that the target loads and stores in one access.
template <typename Word>
inline constexpr bool isSharedWord = std::is_scalar_v<Word> && sizeof(Word) <= sizeof(void *);

template <typename Word>
  requires isSharedWord<Word>
Word loadShared(const Word &word) noexcept {
  return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}

template <typename Word>
  requires isSharedWord<Word>
void storeShared(Word &word, std::type_identity_t<Word> value) noexcept {
  __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

// Sets a null pointer; one that another thread has set meanwhile stays. Returns what it then is.
template <typename Pointer>
  requires std::is_pointer_v<Pointer>
Pointer setSharedIfNull(Pointer &pointer, std::type_identity_t<Pointer> value) noexcept {
  Pointer present = nullptr;
  const bool wasNull = __atomic_compare_exchange_n(&pointer, &present, value, false,
                                                   __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
  return wasNull ? value : present;
}

}  // namespace acl

#endif  // ACL_LIB_TRANSPORT_SHARED_WORD_H
