// The man pages and the completion, as the program generates them, and what the documents say of its options.

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "apps/Program.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The commands that help lists.
std::vector<std::string> commands() {
  std::vector<std::string> names;
  std::smatch match;
  for (const std::string& line : lines(orvpaint({"help"}).out))
    if (std::regex_search(line, match, std::regex("^  ([a-z]+) "))) names.push_back(match[1]);
  return names;
}

/// The options that the help of a command lists: -o, --output and so on.
std::set<std::string> optionsOf(const std::string& command) {
  std::set<std::string> names;
  for (const std::string& line : lines(orvpaint({"help", command}).out)) {
    const std::regex option("^  (?:(-[a-z]), |    )(--[a-z-]+)");
    std::smatch match;
    if (!std::regex_search(line, match, option)) continue;
    if (match[1].matched) names.insert(match[1]);
    names.insert(match[2]);
  }
  return names;
}

class Documents : public testing::Test {
 protected:
  Documents() { EXPECT_EQ(orvpaint({"generate", folder_ / "share"}).status, 0); }

  std::string page(const std::string& name) const { return folder_ / ("share/man/man1/" + name + ".1"); }

  /// A page as plain text of one line.
  std::string shown(const std::string& name) const {
    const Outcome run = Program({"-man", "-ww", "-Tascii", "-P-cbou", "-rLL=500n", page(name)}, "/usr/bin/groff").run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "") << name;
    return run.out;
  }

  /// What bash would complete the last of these words with.
  std::vector<std::string> completed(const std::vector<std::string>& words) const {
    std::string script = "source '" + (folder_ / "share/bash-completion/completions/orvpaint") + "' && cd '" +
                         (folder_ / "") + "' && COMP_WORDS=(";
    for (const std::string& word : words) script.append(" '").append(word).append("'");
    script += ") && COMP_CWORD=" + std::to_string(words.size() - 1) +
              "; _orvpaint; printf '%s\\n' \"${COMPREPLY[@]}\"";
    const Outcome run = Program({"--norc", "-uc", script}, "/bin/bash").run();
    EXPECT_EQ(run.err, "");
    std::vector<std::string> found = lines(run.out);
    if (found == std::vector<std::string>{""}) found.clear();
    return found;
  }

  TestFolder folder_;
};

TEST_F(Documents, EachCommandHasAManPage) {
  std::vector<std::string> pages;
  for (const auto& entry : fs::directory_iterator(folder_ / "share/man/man1")) pages.push_back(entry.path().stem());
  std::vector<std::string> expected{"orvpaint"};
  for (const std::string& command : commands()) expected.push_back(std::string("orvpaint-").append(command));
  ASSERT_GT(expected.size(), 6u);
  EXPECT_THAT(pages, testing::UnorderedElementsAreArray(expected));
}

TEST_F(Documents, TheMainPageNamesEveryCommand) {
  const std::string text = shown("orvpaint");
  for (const std::string& command : commands()) EXPECT_THAT(text, HasSubstr("orvpaint-" + command + "(1)"));
  EXPECT_THAT(text, HasSubstr("--version"));
}

TEST_F(Documents, EachManPageNamesEveryOptionWithItsMeaning) {
  for (const std::string& command : commands()) {
    const std::string text = shown("orvpaint-" + command);
    for (const std::string& option : optionsOf(command))
      EXPECT_TRUE(std::regex_search(text, std::regex(std::string("\n +(-[a-z], )?").append(option).append("[ ,\n]")))) << command << option;
  }
  EXPECT_THAT(shown("orvpaint-paint"), HasSubstr("Size of the map in pixels, instead of the scene's."));
}

TEST_F(Documents, ManPagesHaveTheSectionsThatPeopleLookFor) {
  for (const std::string& command : commands()) {
    const std::string text = shown("orvpaint-" + command);
    for (const char* section : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "EXAMPLES", "SEE ALSO"})
      EXPECT_THAT(text, HasSubstr(std::string("\n").append(section).append("\n")));
  }
}

TEST_F(Documents, ManShowsThePagesWithoutAWarning) {
  for (const auto& entry : fs::directory_iterator(folder_ / "share/man/man1")) {
    const Outcome run = Program({"--warnings", "-E", "UTF-8", "-Tutf8", "-Z", "-l", entry.path()}, "/usr/bin/man").run();
    EXPECT_EQ(run.status, 0) << entry.path();
    EXPECT_EQ(run.err, "") << entry.path();
    // By the name's line, apropos and whatis find the page.
    EXPECT_EQ(Program({entry.path()}, "/usr/bin/lexgrog").run().status, 0) << entry.path();
  }
}

TEST_F(Documents, ThePageOfTheCommandLineNamesEveryCommandAndOption) {
  const std::string page = contentsOf(ORVHDRI_SOURCE_DIR "/docs/command-line.md");
  for (const std::string& command : commands()) {
    EXPECT_NE(page.find("orvpaint " + command), std::string::npos) << command;
    for (const std::string& option : optionsOf(command)) {
      if (option == "-h" || option == "--help") continue;
      EXPECT_TRUE(std::regex_search(page, std::regex(std::string("`").append(option).append("[` ]")))) << command << " " << option;
    }
  }
}

TEST_F(Documents, CompletionKnowsEveryCommand) {
  std::vector<std::string> expected = commands();
  for (const char* option : {"-h", "--help", "--version"}) expected.push_back(option);
  EXPECT_THAT(completed({"orvpaint", ""}), testing::UnorderedElementsAreArray(expected));
  EXPECT_THAT(completed({"orvpaint", "pr"}), ElementsAre("preview"));
  EXPECT_THAT(completed({"orvpaint", "help", "p"}), UnorderedElementsAre("paint", "preview"));
}

TEST_F(Documents, CompletionKnowsEveryOption) {
  for (const std::string& command : commands())
    EXPECT_THAT(completed({"orvpaint", command, "-"}), testing::UnorderedElementsAreArray(optionsOf(command)))
        << command;
  EXPECT_THAT(completed({"orvpaint", "paint", "a.json", "--ma"}), UnorderedElementsAre("--manifest", "--max-image-pixels"));
}

TEST_F(Documents, CompletionKnowsTheWordsOfAnOption) {
  EXPECT_THAT(completed({"orvpaint", "paint", "--layout", ""}),
              ElementsAre("native", "openexr", "usd", "blender", "mitsuba", "pbrt", "three"));
  EXPECT_THAT(completed({"orvpaint", "info", "--layout-in", "b"}), ElementsAre("blender"));
  EXPECT_THAT(completed({"orvpaint", "paint", "--compression", "zip"}), UnorderedElementsAre("zip", "zips"));
  EXPECT_THAT(completed({"orvpaint", "batch", "--format", "e"}), ElementsAre("exr"));
  // As bash parts --layout=us and --layout=.
  EXPECT_THAT(completed({"orvpaint", "paint", "--layout", "=", "us"}), ElementsAre("usd"));
  EXPECT_THAT(completed({"orvpaint", "paint", "--layout", "="}), Contains("three"));
  EXPECT_THAT(completed({"orvpaint", "paint", "--size", ""}), ElementsAre());
}

TEST_F(Documents, CompletionKnowsFilesByTheirKind) {
  for (const char* name : {"s.json", "S2.JSON", "jobs.jsonl", "a.exr", "light.usda"}) folder_.put(name, "");
  fs::create_directory(folder_ / "scenes");
  EXPECT_THAT(completed({"orvpaint", "paint", ""}), UnorderedElementsAre("s.json", "S2.JSON", "scenes", "share"));
  EXPECT_THAT(completed({"orvpaint", "check", "s.json", "S"}), ElementsAre("S2.JSON"));
  EXPECT_THAT(completed({"orvpaint", "batch", ""}), UnorderedElementsAre("jobs.jsonl", "scenes", "share"));
  EXPECT_THAT(completed({"orvpaint", "paint", "-o", "a"}), ElementsAre("a.exr"));
  EXPECT_THAT(completed({"orvpaint", "paint", "--usd", "l"}), ElementsAre("light.usda"));
  EXPECT_THAT(completed({"orvpaint", "info", "a"}), ElementsAre("a.exr"));
}

TEST_F(Documents, GeneratingIsNothingThatHelpTellsOf) {
  EXPECT_THAT(orvpaint({"help"}).out, Not(HasSubstr("generate")));
  EXPECT_THAT(completed({"orvpaint", "g"}), ElementsAre());
}

}  // namespace
