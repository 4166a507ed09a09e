#include "scene/OutputFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

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
  const OutputFile first(at("a"), OutputFile::Kept::hidden);
  const OutputFile second(at("b"), OutputFile::Kept::hidden);
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

TEST_F(OutputFileTest, HasNoNameWhileItIsWritten) {
  const int able = ::open(folder_.c_str(), O_TMPFILE | O_RDWR, 0600);
  if (able < 0) GTEST_SKIP() << "the file system has no unnamed files";
  ::close(able);
  OutputFile file(at("a"));
  write(file, "new");
  file.finish();
  EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OutputFileTest, AHiddenFileReplacesAndAppearsAsAnUnnamedOne) {
  put(at("b"), "old");
  for (const char* const name : {"a", "b"}) {
    OutputFile file(at(name), OutputFile::Kept::hidden);
    write(file, "new");
    file.finish();
    file.commit();
    EXPECT_EQ(contents(at(name)), "new");
  }
  EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(OutputFileTest, AHiddenFileThatIsNotCommittedIsGone) {
  { const OutputFile file(at("a"), OutputFile::Kept::hidden); }
  EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OutputFileTest, RemovesHiddenFilesOfProcessesThatAreGoneAlone) {
  const pid_t gone = ::fork();
  if (gone == 0) ::_exit(0);
  ::waitpid(gone, nullptr, 0);
  const auto name = [](pid_t process, const char* rest) {
    return ".orvpaint-" + std::to_string(process) + rest;
  };
  const std::string kept[] = {name(::getpid(), "-900.tmp"), name(gone, ".tmp"), name(gone, "-1.tmp.exr"),
                              ".orvpaint--1.tmp", name(gone, "-7.tmp")};
  for (const std::string& file : kept) put(at(file), "kept");
  put(at(name(gone, "-1.tmp")), "left");
  // As a process of the same number elsewhere holds it.
  const int elsewhere = ::open(at(name(gone, "-7.tmp")).c_str(), O_RDWR);
  ASSERT_EQ(::flock(elsewhere, LOCK_EX), 0);
  { const OutputFile file(at("a"), OutputFile::Kept::hidden); }
  ::close(elsewhere);
  EXPECT_FALSE(fs::exists(at(name(gone, "-1.tmp"))));
  for (const std::string& file : kept) EXPECT_TRUE(fs::exists(at(file))) << file;
}

TEST_F(OutputFileTest, ALoopOfLinksIsAnError) {
  fs::create_symlink("b", at("a"));
  fs::create_symlink("a", at("b"));
  EXPECT_EQ(errorOf(at("a")), at("a") + ": cannot be written: Too many levels of symbolic links");
  EXPECT_TRUE(fs::is_symlink(at("a")));
}

TEST_F(OutputFileTest, ALinkToNothingMakesItsTarget) {
  fs::create_symlink("target", at("link"));
  OutputFile file(at("link"));
  write(file, "new");
  file.finish();
  file.commit();
  EXPECT_TRUE(fs::is_symlink(at("link")));
  EXPECT_EQ(contents(at("target")), "new");
}

TEST_F(OutputFileTest, APipeBehindALinkToAnOpenFileIsWrittenInto) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  fs::create_symlink("/proc/self/fd/" + std::to_string(ends[1]), at("link"));
  {
    OutputFile file(at("link"));
    EXPECT_TRUE(file.inPlace());
    write(file, "through");
    file.finish();
    file.commit();
  }
  char text[16] = {};
  EXPECT_EQ(::read(ends[0], text, sizeof text), 7);
  EXPECT_STREQ(text, "through");
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST_F(OutputFileTest, AnOpenFileWithoutANameIsWrittenInto) {
  put(at("a"), "longer than before");
  const int open = ::open(at("a").c_str(), O_RDWR);
  fs::remove(at("a"));
  {
    OutputFile file("/proc/self/fd/" + std::to_string(open));
    write(file, "new");
    file.finish();
    file.commit();
  }
  char text[32] = {};
  EXPECT_EQ(::pread(open, text, sizeof text, 0), 3);
  EXPECT_STREQ(text, "new");
  ::close(open);
  EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OutputFileTest, ThePathsOfOneOutputHaveOneTarget) {
  fs::create_symlink("target", at("link"));
  fs::create_symlink("link", at("second"));
  const std::string target = outputTarget(at("target"));
  EXPECT_EQ(outputTarget(at("link")), target);
  EXPECT_EQ(outputTarget(at("second")), target);
  EXPECT_EQ(outputTarget(at("./../" + folder_.filename().string() + "/target")), target);
  put(at("target"), "now it is there");
  EXPECT_EQ(outputTarget(at("second")), target);
  EXPECT_NE(outputTarget(at("other")), target);
}

TEST_F(OutputFileTest, IsNeverMoreReadableThanTheFileThatItReplaces) {
  put(at("a"), "old");
  ::chmod(at("a").c_str(), 0600);
  const mode_t before = ::umask(0);
  const OutputFile file(at("a"), OutputFile::Kept::hidden);
  ::umask(before);
  struct stat status {};
  for (const auto& entry : fs::directory_iterator(folder_)) {
    ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u) << entry.path();
  }
}

TEST_F(OutputFileTest, CarriesNoSpecialBitsOver) {
  put(at("a"), "old");
  ASSERT_EQ(::chmod(at("a").c_str(), 06755), 0);
  OutputFile file(at("a"));
  file.finish();
  file.commit();
  struct stat status {};
  ASSERT_EQ(::stat(at("a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777u, 0755u);
}

TEST_F(OutputFileTest, ANameThatIsTooLongIsToldAtOnce) {
  const std::string path = at(std::string(300, 'n'));
  EXPECT_EQ(errorOf(path), path + ": cannot be written: File name too long");
}

TEST_F(OutputFileTest, ARefusedFileNamesThoseThatAreInPlace) {
  std::vector<std::unique_ptr<OutputFile>> files;
  for (const char* const name : {"a", "b", "c"}) {
    files.push_back(std::make_unique<OutputFile>(at(name)));
    files.back()->finish();
  }
  fs::create_directory(at("b"));
  try {
    commitAll(files);
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.what(), at("b") + ": cannot be written: Is a directory; in place already: " + at("a"));
  }
  files.clear();
  EXPECT_TRUE(fs::exists(at("a")));
  EXPECT_FALSE(fs::exists(at("c")));
  EXPECT_EQ(filesInFolder(), 2u);
}

}  // namespace
}  // namespace orv::scene
