#pragma once

#include <mutex>
#include <string>

#include "orvrender/orvHost.h"

namespace orv::host {

/// The progress of a scene's current phase of work. Thread-safe; the listener hears amounts in their order.
class Progress {
 public:
  /// Starts a phase. An amount that is not finite is ignored: the phase then starts at 0.
  void set(const char* text, float amount);
  /// Advances the phase. An amount that is not finite is ignored.
  void add(float amount);
  void setListener(orvProgress_listener listener, void* user);

 private:
  void tell();  // the mutex is held

  std::recursive_mutex mutex_;  // a listener may ask for progress of its own
  std::string text_;
  double amount_ = 0;
  orvProgress_listener listener_ = nullptr;
  void* user_ = nullptr;
};

}  // namespace orv::host
