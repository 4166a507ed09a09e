#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "orvrender/orvHost.h"

namespace orv::host {

/// What went wrong last in a scene. Thread-safe, but for `last`.
class Failures {
 public:
  /// An image that could not be given as it was asked for, or (`image` empty) something else.
  void add(const std::string& image, const std::string& reason);
  /// Something could not be painted: what was added since the last one, or something unknown, is of that pin.
  void place(std::int32_t pin);
  void clear();
  /// Null: nothing has gone wrong. It changes with the next failure.
  const orvFailure* last() const;

 private:
  void set(const std::string& image, const std::string& reason, std::int32_t pin);  // the mutex is held

  mutable std::mutex mutex_;
  std::string image_;
  std::string reason_;
  orvFailure failure_{};
  bool any_ = false;
};

}  // namespace orv::host
