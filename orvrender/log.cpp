#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>

#include "host/orvLog.h"
#include "orvrender/orvHost.h"
#include "orvrender/printable_text.h"

namespace orv::host {
namespace {

/// Where the log's lines go. The mutex is recursive so that a listener may log and may replace itself.
struct Log {
  std::recursive_mutex mutex;
  orvLog_listener listener = nullptr;
  void* user = nullptr;
};

Log& theLog() {
  // Never destroyed: destructors that run at the program's end may log.
  static Log* const log = new Log;
  return *log;
}

/// The formatted text as one line: no newline at its end, other control characters as escapes.
std::string formatLine(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_copy has made it
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return "a log message could not be formatted";
  std::string line(static_cast<std::size_t>(length), '\0');
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it
  std::vsnprintf(line.data(), line.size() + 1, format, arguments);
  while (!line.empty() && line.back() == '\n') line.pop_back();
  return printableText(line);
}

void write(std::string line) {
  Log& log = theLog();
  const std::lock_guard lock(log.mutex);
  if (log.listener) {
    log.listener(log.user, line.c_str());
    return;
  }
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace
}  // namespace orv::host

extern "C" {

void orv_critical(const char* format, ...) {
  if (!format) return;
  std::va_list arguments;
  va_start(arguments, format);
  try {
    orv::host::write(orv::host::formatLine(format, arguments));
  } catch (const std::bad_alloc&) {
    std::fputs("orvrender: there was no memory for a line of the log\n", stderr);
  }
  va_end(arguments);
}

void orv_log_set_listener(orvLog_listener listener, void* user) {
  orv::host::Log& log = orv::host::theLog();
  const std::lock_guard lock(log.mutex);
  log.listener = listener;
  log.user = user;
}

}  // extern "C"
