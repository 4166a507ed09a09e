#include "console.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ProgressBar.h"
#include "orvrender/printable_text.h"
#include "scene/OutputFile.h"
#include "scene/SceneErrors.h"

namespace orvpaint {
namespace {

extern "C" void endBySignal(int signal) {
  orv::scene::removeUnfinishedFiles();
  constexpr char kBar[] = "\r\x1b[K";
  constexpr char kMessage[] = "orvpaint: interrupted; unfinished files are removed\n";
  // Nothing is left to be done about a failure here.
  if (ProgressBar::anyShown()) static_cast<void>(!::write(STDERR_FILENO, kBar, sizeof kBar - 1));
  static_cast<void>(!::write(STDERR_FILENO, kMessage, sizeof kMessage - 1));
  // The default action is back in place.
  ::raise(signal);
}

constexpr const char* kBold = "\x1b[1m";
constexpr const char* kBoldRed = "\x1b[1;31m";
constexpr const char* kBoldYellow = "\x1b[1;33m";

std::string styled(const std::string& text, const char* style, Stream stream) {
  const char* const none = std::getenv("NO_COLOR");
  const bool shown = (!none || !*none) && isTerminal(stream);
  return shown ? style + text + "\x1b[0m" : text;
}

/// Writes a line after the program's name.
void printNamed(const std::string& message, const char* style) {
  printText(styled("orvpaint:", style, Stream::error) + " " + orv::printableText(message) + "\n");
}

}  // namespace

bool isTerminal(Stream stream) {
  const char* const kind = std::getenv("TERM");
  return ::isatty(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO) == 1 && kind && *kind &&
         std::string(kind) != "dumb";
}

std::size_t terminalColumns() {
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string boldText(const std::string& text, Stream stream) { return styled(text, kBold, stream); }

void openClosedStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
    if (::fcntl(stream, F_GETFD) < 0 && ::open("/dev/null", O_RDONLY) != stream) return;
}

void printResult(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
  throw orv::scene::FileError(std::string("standard output: cannot be written: ") + std::strerror(errno));
}

void printLine(const std::string& line) { printText(orv::printableText(line) + "\n"); }

void printText(const std::string& text) {
  ProgressBar::hideAll();
  std::fputs(text.c_str(), stderr);
}

void printMessage(const std::string& message) { printNamed(message, kBoldRed); }

std::function<void(const std::string&, bool)> tellUnless(bool quiet) {
  return [quiet](const std::string& line, bool important) {
    if (!quiet || important) printNamed(line, kBoldYellow);
  };
}

ExitStatus tellErrors(const std::function<void()>& act) {
  try {
    act();
    return done;
  } catch (const orv::scene::SceneErrors& errors) {
    for (const std::string& line : errors.lines()) printLine(line);
    return callIsWrong;
  } catch (const orv::scene::FileError& error) {
    printMessage(error.what());
    return fileFailed;
  }
}

void handleSignals() {
  struct sigaction action {};
  action.sa_handler = &endBySignal;
  // The handler ends the program by raising its signal anew.
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU, SIGABRT}) {
    struct sigaction before {};
    // What a shell or nohup made us ignore stays ignored.
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    ::sigaction(signal, &action, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace orvpaint
