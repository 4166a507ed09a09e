#include <gmock/gmock.h>
#include <pty.h>

#include "apps/Program.h"

namespace {

using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Paints with a terminal as standard error; what the terminal was sent.
std::string paintOnTerminal(const std::vector<std::string>& more) {
  const TestFolder folder;
  int terminal = -1;
  int program = -1;
  if (::openpty(&terminal, &program, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("no terminal");
  std::vector<std::string> call{"paint", folder.put("s.json", kColorScene), "-o", folder / "a.exr"};
  call.insert(call.end(), more.begin(), more.end());
  const Outcome run = Program(call).prepared([program] { ::dup2(program, STDERR_FILENO); }).run();
  EXPECT_EQ(run.status, 0);
  ::fcntl(terminal, F_SETFL, O_NONBLOCK);
  char buffer[65536];
  const ssize_t n = ::read(terminal, buffer, sizeof buffer);
  ::close(program);
  ::close(terminal);
  return {buffer, n > 0 ? static_cast<std::size_t>(n) : 0};
}

TEST(Progress, NamesThePhasesOnATerminalAndClearsItsLine) {
  const std::string shown = paintOnTerminal({});
  EXPECT_THAT(shown, ContainsRegex("Painting Pins \\[[#.]{24}\\] [0-9]+ %"));
  EXPECT_THAT(shown, HasSubstr("Writing a.exr ["));
  EXPECT_THAT(shown, EndsWith("\r\x1b[K"));
}

TEST(Progress, IsSilentWhenQuiet) { EXPECT_EQ(paintOnTerminal({"--quiet"}), ""); }

}  // namespace
