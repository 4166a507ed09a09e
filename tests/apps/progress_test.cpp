// What a run says beside errors: on a terminal, and elsewhere.

#include <gmock/gmock.h>
#include <pty.h>

#include <cstdlib>
#include <regex>
#include <sstream>

#include "apps/Program.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

/// A terminal as the program's standard error.
class Terminal {
 public:
  explicit Terminal(unsigned short columns = 80) {
    winsize size{};
    size.ws_row = 24;
    size.ws_col = columns;
    if (::openpty(&terminal_, &program_, nullptr, nullptr, &size) != 0)
      throw std::runtime_error("no terminal");
  }
  ~Terminal() {
    ::close(program_);
    ::close(terminal_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Runs the call; what the terminal was sent.
  std::string show(const std::vector<std::string>& call, int status = 0, const char* kind = "xterm",
                   const char* noColor = nullptr) {
    const Outcome run = Program(call)
                            .prepared([&] {
                              ::dup2(program_, STDERR_FILENO);
                              ::setenv("TERM", kind, 1);
                              noColor ? ::setenv("NO_COLOR", noColor, 1) : ::unsetenv("NO_COLOR");
                            })
                            .run();
    EXPECT_EQ(run.status, status);
    ::fcntl(terminal_, F_SETFL, O_NONBLOCK);
    std::string text;
    char buffer[65536];
    for (ssize_t n; (n = ::read(terminal_, buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<std::size_t>(n));
    return text;
  }

 private:
  int terminal_ = -1;
  int program_ = -1;
};

/// What is drawn on the line one after another, without what stays on it.
std::vector<std::string> drawn(const std::string& shown) {
  std::vector<std::string> lines;
  const std::string end = "\x1b[K";
  for (std::size_t at = 0, next; (next = shown.find(end, at)) != std::string::npos; at = next + end.size()) {
    const std::size_t start = shown.rfind('\r', next);
    if (start != std::string::npos && start >= at && next > start + 1)
      lines.push_back(shown.substr(start + 1, next - start - 1));
  }
  return lines;
}

class Progress : public testing::Test {
 protected:
  Progress() : scene_(folder_.put("s.json", kColorScene)) {}

  std::vector<std::string> paint(std::vector<std::string> more) const {
    more.insert(more.begin(), {"paint", scene_});
    return more;
  }

  TestFolder folder_;
  std::string scene_;
};

TEST_F(Progress, OnePercentageGoesOverAllPhasesAndFiles) {
  Terminal terminal;
  const std::vector<std::string> lines =
      drawn(terminal.show(paint({"-o", folder_ / "a.exr", "-o", folder_ / "b.png"})));
  const std::regex form("([^\\[]+) \\[[#.]{24}\\] ([0-9]+) %(, [0-9:]+ left)?");
  int before = 0;
  std::vector<std::string> labels;
  for (const std::string& line : lines) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, form)) << line;
    EXPECT_GE(std::stoi(match[2]), before);
    before = std::stoi(match[2]);
    if (labels.empty() || labels.back() != match[1]) labels.push_back(match[1]);
  }
  EXPECT_THAT(labels, testing::ElementsAre("Reading", "Background", "Painting Pins", "Writing a.exr",
                                           "Writing b.png"));
}

TEST_F(Progress, OnePercentageGoesOverAllMaps) {
  Terminal terminal;
  const std::string shown =
      terminal.show(paint({"--sweep", "background.brightness=1:4", "-o", folder_ / "{index}.pfm"}));
  int before = 0;
  const std::regex form("([1-4])/4 [^\\[]+ \\[[#.]{24}\\] ([0-9]+) %.*");
  const std::vector<std::string> lines = drawn(shown);
  for (const std::string& line : lines) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, form)) << line;
    const int percent = std::stoi(match[2]);
    EXPECT_GE(percent, before);
    // A map is a quarter.
    EXPECT_GE(percent, (std::stoi(match[1]) - 1) * 25);
    EXPECT_LE(percent, std::stoi(match[1]) * 25);
    before = percent;
  }
  EXPECT_GE(lines.size(), 4u);
}

TEST_F(Progress, IsNeverLongerThanTheTerminalsLine) {
  const std::string name = folder_ / (std::string(100, 'n') + ".exr");
  for (const unsigned short columns : std::initializer_list<unsigned short>{1, 5, 10, 20, 33, 60, 80, 200}) {
    Terminal terminal(columns);
    for (const std::string& line : drawn(terminal.show(paint({"-o", name}))))
      EXPECT_LT(line.size(), columns) << line;
  }
}

TEST_F(Progress, CutsNamesInTheirMiddle) {
  Terminal terminal(70);
  EXPECT_THAT(terminal.show(paint({"-o", folder_ / ("start" + std::string(100, 'n') + "end.exr")})),
              HasSubstr("nend.exr ["));
}

TEST_F(Progress, LeavesTheLineToWhatWasWritten) {
  Terminal terminal;
  const std::string shown = terminal.show(paint({"-o", folder_ / "a.pfm"}), 0, "xterm", "1");
  const std::size_t cleared = shown.rfind("\r\x1b[K");
  ASSERT_NE(cleared, std::string::npos);
  EXPECT_THAT(shown.substr(cleared + 4), MatchesRegex(".*/a.pfm  64x32  24.6 kB  [0-9]+.[0-9]+ s\r\n"));
}

TEST_F(Progress, IsSilentWhenQuiet) {
  Terminal terminal;
  EXPECT_EQ(terminal.show(paint({"-o", folder_ / "a.exr", "--quiet"})), "");
}

TEST_F(Progress, IsNotDrawnOnATerminalWithoutEscapes) {
  for (const char* kind : {"dumb", ""}) {
    Terminal terminal;
    const std::string shown = terminal.show(paint({"-o", folder_ / "a.exr"}), 0, kind);
    EXPECT_THAT(shown, Not(HasSubstr("\x1b")));
    EXPECT_THAT(shown, HasSubstr("a.exr  64x32  "));
  }
}

TEST_F(Progress, ColorsAreShownOnTerminals) {
  Terminal terminal;
  EXPECT_EQ(terminal.show({"paint"}, 2),
            "\x1b[1;31morvpaint:\x1b[0m SCENE is required; see orvpaint help paint\r\n");
  EXPECT_THAT(terminal.show(paint({"-o", folder_ / "a.exr"})),
              HasSubstr("\x1b[1m" + (folder_ / "a.exr") + "\x1b[0m"));
}

TEST_F(Progress, NoColorIsHonored) {
  Terminal terminal;
  EXPECT_EQ(terminal.show({"paint"}, 2, "xterm", "1"),
            "orvpaint: SCENE is required; see orvpaint help paint\r\n");
  EXPECT_EQ(terminal.show({"paint"}, 2, "dumb"), "orvpaint: SCENE is required; see orvpaint help paint\r\n");
  // An empty one says nothing.
  EXPECT_THAT(terminal.show({"paint"}, 2, "xterm", ""), HasSubstr("\x1b[1;31m"));
}

TEST_F(Progress, WhatWasWrittenIsToldWithSizeAndTime) {
  // A header of 15 bytes and 12 for each pixel; a light of a text.
  const Outcome run = orvpaint(paint({"-o", folder_ / "a.pfm", "--usd", folder_ / "a.usda"}));
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, MatchesRegex(folder_ / "a.pfm  64x32  24.6 kB  [0-9]+.[0-9]+ s\n" +
                                    (folder_ / "a.usda") + "  [0-9]+ B  [0-9]+.[0-9]+ s\n"));
}

TEST_F(Progress, OfSeveralMapsTheNumberIsTold) {
  const Outcome run =
      orvpaint(paint({"--sweep", "background.brightness=1:3", "-o", folder_ / "{index}.pfm"}));
  // Three times the 24590 bytes of a map.
  EXPECT_THAT(run.err, MatchesRegex(folder_ / "0000.pfm ... " + (folder_ / "0002.pfm") +
                                    "  3 maps  73.8 kB  [0-9]+.[0-9]+ s\n"));
}

TEST_F(Progress, VerboseTellsPhasesAndFilesOfEachMap) {
  const Outcome run =
      orvpaint(paint({"-v", "--sweep", "background.brightness=1:2", "-o", folder_ / "{index}.pfm"}));
  const std::string time = "[0-9]+.[0-9]+ s\n";
  std::string form;
  for (const char* name : {"0000.pfm", "0001.pfm"})
    form += scene_ + "\n  Reading           " + time + "  Background        " + time +
            "  Painting Pins     " + time + "  Writing " + name + "  " + time + (folder_ / name) +
            "  64x32  24.6 kB  " + time;
  form += (folder_ / "0000.pfm") + " ... " + (folder_ / "0001.pfm") + "  2 maps  49.2 kB  " + time;
  EXPECT_THAT(run.err, MatchesRegex(form));
}

TEST_F(Progress, AFailureIsNotToldAsWritten) {
  const Outcome run = orvpaint(paint({"-o", "/dev/full", "--format", "exr"}));
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: /dev/full: cannot be written: No space left on device\n");
}

TEST_F(Progress, QuietAndVerboseExcludeEachOther) {
  const Outcome run = orvpaint(paint({"-o", folder_ / "a.exr", "-q", "-v"}));
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("see orvpaint help paint\n"));
}

TEST_F(Progress, AMapInAPipeIsToldBesideIt) {
  const Outcome run = orvpaint(paint({"-o", "-", "--format", "pfm"}));
  EXPECT_THAT(run.err, MatchesRegex("standard output  64x32  24.6 kB  [0-9]+.[0-9]+ s\n"));
}

}  // namespace
