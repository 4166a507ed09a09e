#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "orvrender/orvHost.h"

namespace orv::host {

/// What went wrong last in a scene. Thread-safe, but for `last`.
class Failures {
 public:
  /// An image that could not be given as it was asked for, or (`image` empty) something else.
  void add(std::string_view image, std::string_view reason);
  /// Something could not be painted: what was added since the last one, or something unknown, is of that pin.
  void place(std::int32_t pin);
  void clear();
  /// Null: nothing has gone wrong. It changes with the next failure.
  const orvFailure* last() const;

 private:
  void set(std::string_view image, std::string_view reason, std::int32_t pin);  // the mutex is held

  mutable std::mutex mutex_;
  std::string image_;
  std::string reason_;
  orvFailure failure_{};
  bool any_ = false;
};

}  // namespace orv::host
