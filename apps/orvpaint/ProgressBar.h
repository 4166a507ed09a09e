#pragma once

#include <chrono>
#include <mutex>
#include <string>

namespace orvpaint {

/// One line on standard error that tells how far a run has come: what it does, a bar, the percentage and the
/// time left of the whole. Shown only on a terminal, as wide as that is at the moment. Thread-safe.
class ProgressBar {
 public:
  explicit ProgressBar(bool wanted);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// @param label what is done now. @param amount how much of the whole is done, 0 to 1.
  void show(const std::string& label, double amount);

  /// Whether a bar stands on the terminal's line. Safe in a signal handler.
  static bool anyShown() noexcept;
  /// Takes the bar off the terminal's line, if there is one.
  static void hideAll();

 private:
  using Clock = std::chrono::steady_clock;

  bool active_;
  std::mutex mutex_;
  std::string label_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDrawn_;
};

/// The line of a run of which `amount` is done after `seconds`, of at most `columns` columns. A long label is
/// cut in its middle; on a narrow terminal the bar, then the time, then the label are left out.
std::string progressLine(const std::string& label, double amount, double seconds, std::size_t columns);

/// `0:07`, `12:30`, `1:02:03`.
std::string clockText(double seconds);

}  // namespace orvpaint
