#pragma once

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orv::scene {

/// Collects the host's log while it lives; the log goes to standard error again when the last collector is
/// gone. A line goes to the innermost collector of the thread that writes it. Other threads, a painter's
/// workers say, write for whoever they work for: their lines go to every collector. Thread-safe.
class LogCollector {
 public:
  LogCollector();
  ~LogCollector();
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  /// The lines so far.
  std::vector<std::string> lines() const;

  /// The lines so far in one.
  std::string joined() const;

 private:
  static void add(void* user, const char* line);

  const std::thread::id thread_ = std::this_thread::get_id();
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace orv::scene
