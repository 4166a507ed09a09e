#include "ProgressBar.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>

#include "console.h"
#include "text_columns.h"

namespace orvpaint {
namespace {

std::atomic<bool> shown{false};

std::string barText(double amount, std::size_t width) {
  const auto full = static_cast<std::size_t>(amount * static_cast<double>(width));
  std::string text = " [";
  return text.append(full, '#').append(width - full, '.').append("]");
}

}  // namespace

std::string clockText(double seconds) {
  const auto total = static_cast<long>(std::min(std::ceil(seconds), 359999.0));
  char text[32];
  if (total >= 3600)
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
  else
    std::snprintf(text, sizeof text, "%ld:%02ld", total / 60, total % 60);
  return text;
}

std::string progressLine(const std::string& label, double amount, double seconds, std::size_t columns) {
  constexpr std::size_t kBarWidth = 24;
  constexpr std::size_t kNarrowBarWidth = 8;
  // Of a label that still says something.
  constexpr std::size_t kLeastLabel = 16;
  std::string percentage = " ";
  percentage.append(std::to_string(static_cast<int>(amount * 100))).append(" %");
  std::string left;
  // An estimate from the first moments would jump about.
  if (seconds > 0.5 && amount > 0.01)
    left.append(", ").append(clockText(seconds * (1 / amount - 1))).append(" left");
  const std::size_t wanted = std::min(columnsOf(label), kLeastLabel);
  for (const std::string& tail :
       {barText(amount, kBarWidth) + percentage + left, barText(amount, kNarrowBarWidth) + percentage + left,
        percentage + left, percentage})
    if (tail.size() + wanted <= columns) return cutToColumns(label, columns - tail.size()) + tail;
  return cutToColumns(percentage.substr(1), columns);
}

ProgressBar::ProgressBar(bool wanted) : active_(wanted && isTerminal(Stream::error)) {}

ProgressBar::~ProgressBar() { hideAll(); }

void ProgressBar::show(const std::string& label, double amount) {
  if (!active_) return;
  const std::lock_guard lock(mutex_);
  const Clock::time_point now = Clock::now();
  if (label == label_ && now - lastDrawn_ < std::chrono::milliseconds(100)) return;
  label_ = label;
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double part = amount >= 0 ? std::min(amount, 1.0) : 0.0;
  // The last column stays free: terminals that fill it go to the next line.
  const std::size_t columns = terminalColumns() - 1;
  std::fprintf(stderr, "\r%s\x1b[K", progressLine(label, part, seconds, columns).c_str());
  shown = true;
}

bool ProgressBar::anyShown() noexcept { return shown; }

void ProgressBar::hideAll() {
  if (shown.exchange(false)) std::fputs("\r\x1b[K", stderr);
}

}  // namespace orvpaint
