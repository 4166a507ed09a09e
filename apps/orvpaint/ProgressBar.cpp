#include "ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>

#include "orvrender/printable_text.h"

namespace orvpaint {
namespace {

std::atomic<bool> shown{false};

/// `0:07`, `12:30`, `1:02:03`.
std::string clockText(double seconds) {
  const auto total = static_cast<long>(std::min(std::ceil(seconds), 359999.0));
  char text[32];
  if (total >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", total / 60, total % 60);
  return text;
}

}  // namespace

std::string progressLine(const std::string& phase, double amount, double seconds) {
  constexpr int kWidth = 24;
  const int full = static_cast<int>(amount * kWidth);
  std::string line = orv::printableText(phase).substr(0, 40);
  line.append(" [").append(static_cast<std::size_t>(full), '#');
  line.append(static_cast<std::size_t>(kWidth - full), '.').append("] ");
  line.append(std::to_string(static_cast<int>(amount * 100))).append(" %");
  // An estimate from the first moments would jump about.
  if (seconds > 0.5 && amount > 0.01)
    line.append(", ").append(clockText(seconds * (1 / amount - 1))).append(" left");
  return line;
}

ProgressBar::ProgressBar(bool wanted) : active_(wanted && ::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() { hideAll(); }

void ProgressBar::show(const std::string& phase, double amount) {
  if (!active_) return;
  const std::lock_guard lock(mutex_);
  const Clock::time_point now = Clock::now();
  if (phase != phase_) {
    phase_ = phase;
    phaseStart_ = now;
  } else if (now - lastDrawn_ < std::chrono::milliseconds(100)) {
    return;
  }
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - phaseStart_).count();
  const double part = amount >= 0 ? std::min(amount, 1.0) : 0.0;
  std::fprintf(stderr, "\r%s\x1b[K", progressLine(phase, part, seconds).c_str());
  shown = true;
}

bool ProgressBar::anyShown() noexcept { return shown; }

void ProgressBar::hideAll() {
  if (shown.exchange(false)) std::fputs("\r\x1b[K", stderr);
}

}  // namespace orvpaint
