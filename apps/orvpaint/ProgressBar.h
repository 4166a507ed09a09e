#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace orvpaint {

/// One line on standard error that tells how far the work has come: the phase, a bar, the percentage and the
/// time left. Shown only on a terminal, and only in phases that last. Thread-safe.
class ProgressBar {
 public:
  explicit ProgressBar(bool wanted);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// @param amount how much of the phase is done, 0 to 1.
  void show(const std::string& phase, double amount);

  /// Whether a bar stands on the terminal's line. Safe in a signal handler.
  static bool anyShown() noexcept;
  /// Takes the bar off the terminal's line, if there is one.
  static void hideAll();

 private:
  using Clock = std::chrono::steady_clock;

  bool active_;
  std::mutex mutex_;
  std::string phase_;
  Clock::time_point phaseStart_;
  Clock::time_point lastDrawn_;
};

/// The line for a phase of which `amount` is done after `seconds`.
std::string progressLine(const std::string& phase, double amount, double seconds);

}  // namespace orvpaint
