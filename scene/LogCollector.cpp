#include "scene/LogCollector.h"

#include <algorithm>
#include <cstdio>

#include "orvrender/orvHost.h"

namespace orv::scene {
namespace {

/// The collectors that live, in the order in which they were made.
struct Collectors {
  std::mutex mutex;
  std::vector<LogCollector*> all;
};

Collectors& collectors() {
  // Never destroyed: destructors that run at the program's end may log.
  static auto* const living = new Collectors;
  return *living;
}

}  // namespace

LogCollector::LogCollector() {
  // The listener stays: to take it away is no business of one of several collectors.
  orv_log_set_listener(&LogCollector::add, nullptr);
  const std::lock_guard lock(collectors().mutex);
  collectors().all.push_back(this);
}

LogCollector::~LogCollector() {
  const std::lock_guard lock(collectors().mutex);
  std::erase(collectors().all, this);
}

std::vector<std::string> LogCollector::lines() const {
  const std::lock_guard lock(mutex_);
  return lines_;
}

std::string LogCollector::joined() const {
  std::string text;
  for (const std::string& line : lines()) text += (text.empty() ? "" : "; ") + line;
  return text;
}

void LogCollector::add(void*, const char* line) {
  Collectors& living = collectors();
  const std::lock_guard lock(living.mutex);
  const auto take = [line](LogCollector& collector) {
    const std::lock_guard linesLock(collector.mutex_);
    collector.lines_.emplace_back(line);
  };
  const auto own = std::find_if(living.all.rbegin(), living.all.rend(), [](const LogCollector* collector) {
    return collector->thread_ == std::this_thread::get_id();
  });
  if (own != living.all.rend()) return take(**own);
  for (LogCollector* collector : living.all) take(*collector);
  if (living.all.empty()) std::fprintf(stderr, "%s\n", line);
}

}  // namespace orv::scene
