// How many bytes of value each kind of condition and action has.
#ifndef MANAGER_DECODE_ENTRY_WIDTHS_H
#define MANAGER_DECODE_ENTRY_WIDTHS_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace aclmgr {

// Returns the width of a condition's value; none for a type that does not exist.
std::optional<std::size_t> conditionWidth(std::uint32_t type) noexcept;

// As conditionWidth(), for an action.
std::optional<std::size_t> actionWidth(std::uint32_t type) noexcept;

}  // namespace aclmgr

#endif  // MANAGER_DECODE_ENTRY_WIDTHS_H
