#include "scene/OutputFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "scene/SceneErrors.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class OutputFileTest : public testing::Test {
 protected:
  OutputFileTest() : folder_(fs::path(testing::TempDir()) / ("orv_output_" + std::to_string(::getpid()))) {
    fs::create_directory(folder_);
  }
  ~OutputFileTest() override { fs::remove_all(folder_); }

  std::string at(const std::string& name) const { return (folder_ / name).string(); }

  static std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void put(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

  std::size_t filesInFolder() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder_), {}));
  }

  static void write(OutputFile& file, const std::string& text, std::uint64_t offset = 0) {
    file.write(text.data(), text.size(), offset);
  }

  static std::string errorOf(const std::string& path) {
    try {
      const OutputFile file(path);
      return {};
    } catch (const FileError& error) {
      return error.what();
    }
  }

  fs::path folder_;
};

TEST_F(OutputFileTest, AppearsWhenItIsCommitted) {
  OutputFile file(at("a"));
  write(file, "new");
  file.finish();
  EXPECT_FALSE(fs::exists(at("a")));
  file.commit();
  EXPECT_EQ(contents(at("a")), "new");
  EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(OutputFileTest, KeepsTheOldFileUntilThen) {
  put(at("a"), "old");
  {
    OutputFile file(at("a"));
    write(file, "new");
    file.finish();
    EXPECT_EQ(contents(at("a")), "old");
  }
  EXPECT_EQ(contents(at("a")), "old");
  EXPECT_EQ(filesInFolder(), 1u) << "what was not committed is gone";
}

TEST_F(OutputFileTest, KeepsThePermissionsOfTheOldFile) {
  put(at("a"), "old");
  ::chmod(at("a").c_str(), 0640);
  OutputFile file(at("a"));
  file.finish();
  file.commit();
  struct stat status {};
  ASSERT_EQ(::stat(at("a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
}

TEST_F(OutputFileTest, FollowsALinkAndLeavesIt) {
  put(at("target"), "old");
  fs::create_symlink("target", at("link"));
  OutputFile file(at("link"));
  write(file, "new");
  file.finish();
  file.commit();
  EXPECT_TRUE(fs::is_symlink(at("link")));
  EXPECT_EQ(contents(at("target")), "new");
}

TEST_F(OutputFileTest, TakesBytesInAnyOrder) {
  OutputFile file(at("a"));
  write(file, "....end", 0);
  write(file, "head", 0);
  const std::string big(3 << 20, 'x');
  write(file, big, 7);
  write(file, "!", 7 + big.size());
  char back[4] = {};
  EXPECT_EQ(file.read(back, 4, 0), 4u);
  EXPECT_EQ(std::string(back, 4), "head");
  file.finish();
  file.commit();
  EXPECT_EQ(contents(at("a")), "headend" + big + "!");
}

TEST_F(OutputFileTest, NamesAFolderThatDoesNotExist) {
  EXPECT_EQ(errorOf(at("none/a")),
            at("none/a") + ": cannot be written: the folder " + at("none") + " does not exist");
}

TEST_F(OutputFileTest, RefusesAFolderAsTarget) {
  EXPECT_EQ(errorOf(folder_.string()), folder_.string() + ": cannot be written: Is a directory");
}

TEST_F(OutputFileTest, RefusesAFolderThatCannotBeWritten) {
  // Not even the super-user makes files in there.
  EXPECT_THAT(errorOf("/proc/a"), HasSubstr("/proc/a: cannot be written: "));
}

TEST_F(OutputFileTest, RefusesAFileThatCannotBeWritten) {
  if (::geteuid() == 0) GTEST_SKIP() << "the super-user may write every file";
  put(at("a"), "old");
  ::chmod(at("a").c_str(), 0444);
  EXPECT_EQ(errorOf(at("a")), at("a") + ": cannot be written: Permission denied");
}

TEST_F(OutputFileTest, TellsOfAFullDevice) {
  OutputFile file("/dev/full");
  write(file, "text");
  file.finish();
  try {
    file.commit();
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "/dev/full: cannot be written: No space left on device");
  }
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(OutputFileTest, WritesIntoADeviceWithoutReplacingIt) {
  OutputFile file("/dev/null");
  EXPECT_TRUE(file.inPlace());
  write(file, "text");
  file.finish();
  file.commit();
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(OutputFileTest, WritesIntoAPipe) {
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  const int reader = ::open(at("pipe").c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  OutputFile file(at("pipe"));
  write(file, "through");
  file.finish();
  file.commit();
  char text[16] = {};
  EXPECT_EQ(::read(reader, text, sizeof text), 7);
  EXPECT_STREQ(text, "through");
  ::close(reader);
}

TEST_F(OutputFileTest, TellsOfAFullDiskAndLeavesNothing) {
  // A limit of file sizes fails writes as a full disk does.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{1 << 20, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  std::string message;
  {
    OutputFile file(at("a"));
    write(file, std::string(4 << 20, 'x'));
    try {
      file.finish();
    } catch (const FileError& error) {
      message = error.what();
    }
  }
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(message, at("a") + ": cannot be written: File too large");
  EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OutputFileTest, UnfinishedFilesCanBeRemovedAtOnce) {
  const OutputFile first(at("a"));
  const OutputFile second(at("b"));
  EXPECT_EQ(filesInFolder(), 2u);
  removeUnfinishedFiles();
  EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OutputFileTest, ACommittedFileIsNotUnfinished) {
  OutputFile file(at("a"));
  file.finish();
  file.commit();
  removeUnfinishedFiles();
  EXPECT_TRUE(fs::exists(at("a")));
}

}  // namespace
}  // namespace orv::scene
