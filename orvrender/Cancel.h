#pragma once

#include <atomic>

#include "maps/row_loop.h"

namespace orv::host {

/// Whether a scene's program wants the work under way no longer: a flag of the program's. Thread-safe.
class Cancel {
 public:
  /// @param flag outlives its use here; null: nothing is cancelled.
  void setFlag(const std::atomic<bool>* flag) { flag_.store(flag, std::memory_order_release); }
  bool isAsked() const {
    const std::atomic<bool>* const flag = flag_.load(std::memory_order_acquire);
    return flag && flag->load(std::memory_order_acquire);
  }

  /// Lets the loops over rows that this thread begins end when it is asked for.
  class Scope : public StopCheck {
   public:
    explicit Scope(const Cancel& cancel) : StopCheck(&ask, &cancel) {}

   private:
    static bool ask(const void* cancel) { return static_cast<const Cancel*>(cancel)->isAsked(); }
  };

 private:
  std::atomic<const std::atomic<bool>*> flag_{nullptr};
};

}  // namespace orv::host
