#pragma once

#include <cstddef>

/// Calls of virtual operations by their place in the table, as a program does that was compiled long ago.
namespace slots {

/// Calls operation number `slot` (0 is the first of the table) of an object. Arguments are passed as they are
/// written: their types must be those that the operation takes.
template <typename Result, typename... Arguments>
Result call(void* object, std::size_t slot, Arguments... arguments) {
  using Operation = Result (*)(void*, Arguments...);
  const auto* const table = *static_cast<void* const* const*>(object);
  return reinterpret_cast<Operation>(table[slot])(object, arguments...);
}

}  // namespace slots
