// The entry script, in a folder of its own with stand-ins for the tools that it calls.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class DevTest : public testing::Test {
 protected:
  DevTest() {
    std::string name = (fs::temp_directory_path() / "orvhdri_dev_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    folder_ = name;
    fs::create_directories(folder_ / "build/release/bin");
    fs::create_directories(folder_ / "tools");
    fs::copy_file(fs::path(ORVHDRI_SOURCE_DIR) / "dev", folder_ / "dev");
    program("tools/dpkg-query", R"(for package in "$@"; do printf '%s:installed ' "$package"; done)");
    // Each tells that it was called; configuring makes a build file.
    program("tools/cmake", R"(echo "cmake $*" >>calls && touch build/release/build.ninja)");
    program("tools/ninja", R"(echo "ninja $*" >>calls)");
    program("build/release/bin/orvhdri_bench", R"(echo "bench $*" >>calls)");
  }
  ~DevTest() override { fs::remove_all(folder_); }

  void write(const std::string& name, const std::string& text) { std::ofstream(folder_ / name) << text; }

  /// What `./dev ARGUMENTS` calls and says, after its exit status.
  std::string dev(const std::string& arguments) {
    const std::string command =
        "cd '" + folder_.string() + "' && PATH=\"$PWD/tools:$PATH\" ./dev " + arguments + " >>calls 2>&1";
    const int status = std::system(command.c_str());
    std::ifstream calls(folder_ / "calls");
    return "exit " + std::to_string(status) + "\n" +
           std::string(std::istreambuf_iterator<char>(calls), std::istreambuf_iterator<char>());
  }

 private:
  void program(const std::string& name, const std::string& line) {
    write(name, "#!/bin/sh\n" + line + "\n");
    fs::permissions(folder_ / name, fs::perms::owner_all);
  }

  fs::path folder_;
};

TEST_F(DevTest, BenchConfiguresAgainOnceItsPeerIsInstalled) {
  write("build/release/build.ninja", "");
  write("build/release/CMakeCache.txt", "OpenCV_DIR:PATH=OpenCV_DIR-NOTFOUND\n");
  const std::string calls = dev("bench");
  EXPECT_THAT(calls, HasSubstr("exit 0\n"));
  EXPECT_THAT(calls, HasSubstr("cmake --preset release\n"));
  EXPECT_THAT(calls, HasSubstr("bench --benchmark_filter=.")) << "and runs";
}

TEST_F(DevTest, BenchKeepsABuildThatHasItsPeer) {
  write("build/release/build.ninja", "");
  write("build/release/CMakeCache.txt", "OpenCV_DIR:PATH=/usr/lib/cmake/opencv4\n");
  const std::string calls = dev("bench");
  EXPECT_THAT(calls, HasSubstr("exit 0\n"));
  EXPECT_THAT(calls, Not(HasSubstr("cmake")));
  EXPECT_THAT(calls, HasSubstr("ninja -C build/release orvhdri_bench\n"));
}

TEST_F(DevTest, BenchWritesItsReportWhereItsCallerStands) {
  write("build/release/build.ninja", "");
  EXPECT_THAT(dev("bench tilt --report table.md"),
              AllOf(HasSubstr("bench --benchmark_filter=tilt --report=/"), HasSubstr("/table.md\n")));
}

TEST_F(DevTest, BenchNeedsTheReportsFile) {
  const std::string said = dev("bench --report");
  EXPECT_THAT(said, HasSubstr("dev: --report takes the file to write"));
  EXPECT_THAT(said, Not(HasSubstr("exit 0\n")));
}

TEST_F(DevTest, AnUnknownCommandIsToldBesideTheKnownOnes) {
  const std::string said = dev("launch");
  EXPECT_THAT(said, Not(HasSubstr("exit 0\n")));
  EXPECT_THAT(said, HasSubstr("usage: ./dev COMMAND"));
  EXPECT_THAT(said, HasSubstr("dev: no command 'launch'"));
}

}  // namespace
