#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "orvrender/orvHost.h"

namespace orv::scene {

/// Collects the host's log while it lives; the log goes to standard error again afterwards. One at a time.
class LogCollector {
 public:
  LogCollector() { orv_log_set_listener(&LogCollector::add, this); }
  ~LogCollector() { orv_log_set_listener(nullptr, nullptr); }
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  /// The lines so far.
  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

  /// The lines so far in one.
  std::string joined() const {
    std::string text;
    for (const std::string& line : lines()) text += (text.empty() ? "" : "; ") + line;
    return text;
  }

 private:
  static void add(void* user, const char* line) {
    auto* self = static_cast<LogCollector*>(user);
    const std::lock_guard lock(self->mutex_);
    self->lines_.emplace_back(line);
  }

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace orv::scene
