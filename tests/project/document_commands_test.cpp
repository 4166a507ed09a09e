// Every command in the documents does what they say: the shell blocks of a page run one after the other, as a
// reader would run them, in a copy of the tree's examples, with maps made small.

#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "documents.h"

namespace {

namespace fs = std::filesystem;
using documents::kSource;

/// What is in shell blocks and can not be run here; everything else is.
struct NotRun {
  const char* program;
  const char* command;  ///< its first argument; empty: whatever it is
  const char* reason;
};
constexpr NotRun kNotRun[] = {
    {"dev", "test", "this test is one of its"},
    {"dev", "bench", "takes minutes and wants a quiet machine"},
    {"dev", "install", "builds everything; project.install does it"},
    {"dev", "python", "wants the Python package; tests/python runs its examples"},
    {"dev", "package", "builds everything; the packages have a test of their own"},
    {"dask", "", "waits for workers; python.farm has it wait"},
    {"python3", "", "wants a scheduler; python.farm starts it by the line before"},
    {"sbatch", "", "wants a cluster; python.slurm starts one"},
};

/// Stands in for `orvpaint`: the same program, its maps 64 x 32, and of more than a hundred a tenth.
constexpr const char* kOrvpaint = R"(#!/bin/bash
set -o pipefail
arguments=() scene=
while [ $# -gt 0 ]; do
  if [ "$1" = --size ]; then
    shift
    [[ $1 =~ ^[0-9]+x[0-9]+$ ]] || exit 2
  else
    arguments+=("$1")
    [[ $1 = *.json ]] && scene=yes
  fi
  shift
done
case ${arguments[0]:-} in
  paint)
    arguments+=(--size 64x32)
    if [[ " ${arguments[*]} " = *" --sweep "* ]]; then
      maps=$("$ORVPAINT" "${arguments[@]}" --dry-run | wc -l) || exit
      [ "$maps" -le 100 ] || arguments+=(--shard 1/10)
    fi
    ;;
  preview) [ -z "$scene" ] || arguments+=(--size 64x32) ;;
esac
exec "$ORVPAINT" "${arguments[@]}"
)";

/// Stands in for `./dev`: paints; another command has to be one of the real script's and in the list above.
constexpr const char* kDev = R"(#!/bin/bash
if [ "${1:-}" = paint ]; then exec build/release/bin/orvpaint "$@"; fi
"$SOURCE/dev" help | grep -q "^  ${1:-help}\b" || { echo "dev has no command ${1:-}"; exit 1; }
case ${1:-help} in
  help) ;;
  @NOT_RUN@) ;;
  *) echo "./dev $1 is neither run nor among those that are not"; exit 1 ;;
esac
)";

/// Stands in for a test program: each pattern of its filter has to name something in its folder.
constexpr const char* kTest = R"(#!/bin/bash
folder=$SOURCE/tests/$(basename "$0" _test)
for word in $(tr -c '[:alnum:]_=' ' ' <<<"${1#--gtest_filter=}"); do
  grep -rq -- "$word" "$folder" || { echo "nothing in $folder is called $word"; exit 1; }
done
)";

class Scratch {
 public:
  Scratch() {
    std::string name = (fs::temp_directory_path() / "orvhdri_commands_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    folder_ = name;
    fs::copy(kSource / "examples", folder_ / "examples", fs::copy_options::recursive);
    std::string listed;
    for (const NotRun& entry : kNotRun) {
      if (entry.program == std::string("dev"))
        (listed += listed.empty() ? "" : "|") += entry.command;
      else
        program(std::string("tools/") + entry.program, "#!/bin/sh\n");
    }
    program("dev", std::regex_replace(kDev, std::regex("@NOT_RUN@"), listed));
    program("tools/orvpaint", kOrvpaint);
    program("build/release/bin/orvpaint", kOrvpaint);
    for (const auto& tests : fs::directory_iterator(kSource / "tests"))
      if (tests.is_directory())
        program("build/release/bin/" + tests.path().filename().string() + "_test", kTest);
  }
  ~Scratch() { fs::remove_all(folder_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ / name) << text;
  }

  /// What the lines say when one of them fails, with the last of them; empty when all are well.
  std::string complaints(const std::string& lines) const {
    if (run(lines)) return "";
    const std::string text = said();
    return text.size() < 3000 ? text : "..." + text.substr(text.size() - 3000);
  }

  /// Whether every line succeeds.
  bool run(const std::string& lines) const {
    write("lines", lines);
    const std::string bin = ORVHDRI_BINARY_DIR "/bin";
    // A task of a job array, as a cluster would start it.
    const std::string command =
        "cd '" + folder_.string() + "' && SOURCE='" + kSource.string() + "' ORVPAINT='" + bin +
        "/orvpaint' SLURM_ARRAY_TASK_ID=0 SLURM_ARRAY_TASK_COUNT=4 PATH=\"$PWD/tools:$PATH\""
        " bash -euxo pipefail lines >said 2>&1 </dev/null";
    return std::system(command.c_str()) == 0;
  }

  /// What the last lines said.
  std::string said() const { return documents::textOf(folder_ / "said"); }

 private:
  void program(const std::string& name, const std::string& text) const {
    fs::create_directories((folder_ / name).parent_path());
    write(name, text);
    fs::permissions(folder_ / name, fs::perms::owner_all);
  }

  fs::path folder_;
};

class DocumentCommands : public testing::TestWithParam<fs::path> {};

TEST_P(DocumentCommands, RunOneAfterTheOther) {
  std::string lines;
  for (const std::string& block : documents::blocksOf(GetParam(), "sh")) lines += block;
  if (lines.empty()) return;
  EXPECT_EQ(Scratch().complaints(lines), "");
}

// What looks like a command and stands outside of a shell block would not be run.
TEST_P(DocumentCommands, StandInShellBlocks) {
  static const std::regex command(R"(^ {4,}(\./dev|orvpaint|build/|cmake|apt|sudo|python3|git) .*)");
  for (const std::string& line : documents::proseOf(GetParam()))
    EXPECT_FALSE(std::regex_match(line, command)) << line;
}

// What is named within a line.
TEST_P(DocumentCommands, KnowTheirOptions) {
  static const std::set<std::string> known = [] {
    std::set<std::string> names{"--gtest_filter", "--cflags", "--libs", "--no-build-isolation"};
    const Scratch scratch;
    EXPECT_TRUE(scratch.run("for c in paint batch preview check info; do \"$ORVPAINT\" $c --help; done"));
    const std::string text = scratch.said() + documents::textOf(kSource / "dev") +
                             documents::textOf(kSource / "bench/count_instructions.py") +
                             documents::textOf(kSource / "python/orvhdri/farm.py") +
                             documents::textOf(kSource / "tests/mutation/mutate.py");
    const std::regex option("--[a-z][a-z-]+");
    for (std::sregex_iterator at(text.begin(), text.end(), option), end; at != end; ++at)
      names.insert(at->str());
    return names;
  }();
  static const std::string commands = documents::textOf(kSource / "dev");
  static const std::set<std::string> commandLine{"paint", "batch", "preview", "check", "info", "help"};
  static const std::regex orvpaint("`orvpaint ([a-z]+)[^`]*`");
  static const std::regex code("`[^`]*`"), dev(R"(`\./dev ([a-z]+)[^`]*`)"), option("--[a-z][a-z_-]+");
  for (const std::string& line : documents::proseOf(GetParam()))
    for (std::sregex_iterator at(line.begin(), line.end(), code), end; at != end; ++at) {
      const std::string inside = at->str();
      if (std::smatch command; std::regex_match(inside, command, dev)) {
        EXPECT_NE(commands.find("\n  " + command.str(1)), std::string::npos) << line;
      }
      if (std::smatch command; std::regex_match(inside, command, orvpaint)) {
        EXPECT_TRUE(commandLine.contains(command.str(1))) << line;
      }
      for (std::sregex_iterator name(inside.begin(), inside.end(), option); name != end; ++name)
        EXPECT_TRUE(known.contains(name->str())) << name->str() << " in " << line;
    }
}

// A scene is checked, a job line read, a value that changes painted; anything else has to be JSON, whole or
// the members of an object.
TEST_P(DocumentCommands, AndTheirJsonIsTaken) {
  Scratch scratch;
  for (const std::string& block : documents::blocksOf(GetParam(), "json")) {
    auto json = nlohmann::json::parse(block, nullptr, false, true);
    if (json.is_discarded()) json = nlohmann::json::parse("{" + block + "}", nullptr, false, true);
    ASSERT_FALSE(json.is_discarded()) << block;
    if (json.contains("version")) {
      scratch.write("examples/block.json", block);
      EXPECT_EQ(scratch.complaints("orvpaint check examples/block.json"), "") << block;
    } else if (json.contains("scene")) {
      scratch.write("jobs.jsonl", json.dump());
      EXPECT_EQ(scratch.complaints("mkdir -p out; orvpaint batch jobs.jsonl"), "") << block;
    } else if (json.contains("keys")) {
      scratch.write("value", json.dump());
      EXPECT_EQ(scratch.complaints(
                    "orvpaint paint examples/color.json --set background.brightness=\"$(cat value)\" "
                    "--frames 1 -o map.exr"),
                "")
          << block;
    }
  }
}

std::string nameOf(const testing::TestParamInfo<fs::path>& page) {
  std::string name = fs::relative(page.param, kSource).replace_extension().string();
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Pages, DocumentCommands, testing::ValuesIn(documents::pages()), nameOf);

TEST(ScratchCommands, ThatAreWrongAreFound) {
  const Scratch scratch;
  EXPECT_EQ(scratch.complaints("./dev paint examples/color.json -o color.exr"), "");
  EXPECT_NE(scratch.complaints("./dev paint examples/none.json -o color.exr"), "") << "no such scene";
  EXPECT_NE(scratch.complaints("orvpaint paint examples/color.json -o color.exr --colour"), "");
  EXPECT_NE(scratch.complaints("orvpaint paint examples/color.json -o color.exr --size 10"), "");
  EXPECT_NE(scratch.complaints("./dev launch"), "") << "no such command";
  EXPECT_NE(scratch.complaints("./dev fuzz"), "") << "not in the list";
  EXPECT_EQ(scratch.complaints("build/release/bin/project_test --gtest_filter='*ThatAreWrong*'"), "");
  EXPECT_NE(scratch.complaints("build/release/bin/scene_test --gtest_filter='*NoSuchFactIsThere*'"), "");
}

}  // namespace
