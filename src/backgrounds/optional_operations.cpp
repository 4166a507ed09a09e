#include "backgrounds/optional_operations.h"

#include <dlfcn.h>

#include "host/orvProgress.h"

// Absent ones are null.
#pragma weak orv_cancelled
#pragma weak orv_fallback

namespace orv::hdri::blockedAVX2 {
namespace {

/// The program or library that holds a function; null when that is unknown.
template <typename Function>
const void* holderOf(Function* function) {
  Dl_info info{};
  return function && dladdr(reinterpret_cast<const void*>(function), &info) != 0 ? info.dli_fbase : nullptr;
}

/// The operation if the host has it. Another host that is loaded beside it knows nothing of its scenes.
template <typename Function>
Function* ofHost(Function* operation) {
  return holderOf(operation) == holderOf(&orv_progress_set) ? operation : nullptr;
}

}  // namespace

const OptionalOperations& optionalOperations() {
  static const OptionalOperations operations{ofHost(&orv_cancelled), ofHost(&orv_fallback)};
  return operations;
}

}  // namespace orv::hdri::blockedAVX2
