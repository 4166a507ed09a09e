// Every write of a run of the program fails once, and so does memory: outputs are whole or as they were.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "apps/Program.h"
#include "sweeps/soak.h"
#include "sweeps/sweep_scenes.h"

namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;

constexpr const char* kModule = ORVHDRI_BINARY_DIR "/lib/liborvhdri_file_faults.so";
const std::string kOld = "what was here before";

/// A scene, what it paints into and what is painted without a fault.
class Painting {
 public:
  Painting(const std::string& scene, std::vector<std::string> outputs) : names_(std::move(outputs)) {
    sweeps::writePicture(work_ / "a.pfm");
    work_.put("scene.json", scene);
    EXPECT_EQ(run("").status, 0);
    for (const std::string& name : names_) expected_.push_back(contentsOf(folder_ / name));
  }

  /// Paints over old files while a fault strikes.
  Outcome run(const std::string& fault) const {
    std::vector<std::string> arguments = {"paint", work_ / "scene.json", "-q"};
    for (const std::string& name : names_) {
      folder_.put(name, kOld);
      arguments.insert(arguments.end(), {"-o", folder_ / name});
    }
    std::error_code ignored;
    std::filesystem::remove(work_ / "mark", ignored);
    return Program(arguments)
        .prepared([&] {
          if (fault.empty()) return;
          // One that waits in vain must end.
          const rlimit seconds{60, 60};
          setrlimit(RLIMIT_CPU, &seconds);
          setenv("LD_PRELOAD", kModule, 1);
          setenv("ORVHDRI_FAULT", fault.c_str(), 1);
          setenv("ORVHDRI_FAULT_MARK", (work_ / "mark").c_str(), 1);
        })
        .run();
  }

  /// Whether the fault of the last run has struck.
  bool struck() const { return std::filesystem::exists(work_ / "mark"); }
  bool allWhole() const {
    for (std::size_t i = 0; i < names_.size(); ++i)
      if (contentsOf(folder_ / names_[i]) != expected_[i]) return false;
    return true;
  }
  bool allOld() const {
    return std::all_of(names_.begin(), names_.end(),
                       [&](const std::string& name) { return contentsOf(folder_ / name) == kOld; });
  }
  bool eachWholeOrOld() const {
    for (std::size_t i = 0; i < names_.size(); ++i) {
      const std::string now = contentsOf(folder_ / names_[i]);
      if (now != expected_[i] && now != kOld) return false;
    }
    return true;
  }
  /// Whether nothing lies beside the outputs.
  void expectNothingBeside() const { EXPECT_THAT(folder_.names(), UnorderedElementsAreArray(names_)); }

 private:
  TestFolder work_;
  TestFolder folder_;
  std::vector<std::string> names_;
  std::vector<std::string> expected_;
};

/// A picture of the library below is read, and a map of half a megabyte or more is written.
constexpr const char* kScene =
    R"({"version": 1, "size": [600, 300],
        "background": {"type": "image", "path": "a.pfm", "blur": 3},
        "pins": [{"shape": "circle", "azimuth": 10, "elevation": 5, "radius": 30,
                  "fill": {"type": "image", "path": "a.pfm"}}]})";

/// Needs none of the libraries below, which take thirty times as long to load as this to paint.
constexpr const char* kPlainScene =
    R"({"version": 1, "size": [160, 80],
        "background": {"type": "gradient", "stops": [{"position": 0, "color": [1, 0, 0]},
                                                     {"position": 1, "color": [0, 0, 1]}]},
        "pins": [{"shape": "circle", "azimuth": 10, "elevation": 5, "radius": 30,
                  "fill": {"type": "color", "color": [1, 2, 3]}}]})";

class FilesFaults : public testing::Test {
 protected:
  void SetUp() override {
    if (ORVHDRI_SANITIZED) GTEST_SKIP() << "a sanitizer wants to be loaded first itself";
  }
};

class FileFaults : public FilesFaults, public testing::WithParamInterface<const char*> {
 protected:
  /// One for all tests of a format.
  static const Painting& painting() {
    static std::map<std::string, Painting> all;
    const std::string name = GetParam();
    return all.try_emplace(name, sweeps::rounds(0, 1) ? kScene : kPlainScene, std::vector{name})
        .first->second;
  }
  /// The write that fails after the n-th: in the soak the one that follows, every day fewer of the many.
  static int next(int n) { return n + 1 + sweeps::rounds(n / 2, 0); }
};

/// Written here and, every day, one by a library that writes in its own way: each takes a while to load.
std::vector<const char*> formats() {
  std::vector<const char*> names = {"a.exr", "a.pfm", "a.tif"};
  if (sweeps::rounds(0, 1)) names.insert(names.end(), {"a.hdr", "a.png", "a.jpg"});
  return names;
}

INSTANTIATE_TEST_SUITE_P(Formats, FileFaults, testing::ValuesIn(formats()));

TEST_P(FileFaults, AFailingWriteLeavesTheOldFile) {
  const Painting& painting = this->painting();
  for (const int error : {ENOSPC, EIO}) {
    int n = 1;
    for (;; n = next(n)) {
      // One way leads from either error: every day the second is tried at the first write.
      if (error == EIO && n > sweeps::rounds(1, 1000000)) break;
      const Outcome run = painting.run("write " + std::to_string(n) + " " + std::to_string(error));
      if (!painting.struck()) break;
      EXPECT_EQ(run.status, 1) << n;
      EXPECT_THAT(run.err, HasSubstr("cannot be written")) << n;
      EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
      EXPECT_TRUE(painting.allOld()) << n;
      painting.expectNothingBeside();
    }
    EXPECT_GT(n, 1);
    EXPECT_TRUE(painting.struck() || painting.allWhole());
  }
}

TEST_P(FileFaults, AShortWriteIsGoneOnWith) {
  const Painting& painting = this->painting();
  int n = 1;
  for (;; n = next(n)) {
    EXPECT_EQ(painting.run("short " + std::to_string(n) + " 0").status, 0) << n;
    EXPECT_TRUE(painting.allWhole()) << n;
    painting.expectNothingBeside();
    if (!painting.struck()) break;
  }
  EXPECT_GT(n, 1);
}

TEST_P(FileFaults, AnInterruptedWriteIsMadeAgain) {
  const Painting& painting = this->painting();
  EXPECT_EQ(painting.run("write 1 " + std::to_string(EINTR)).status, 0);
  EXPECT_TRUE(painting.struck());
  EXPECT_TRUE(painting.allWhole());
}

/// Of a format made here and, in the soak, of others.
std::vector<std::string> severalOutputs() {
  return sweeps::rounds(0, 1) ? std::vector<std::string>{"a.exr", "b.hdr", "c.png"}
                              : std::vector<std::string>{"a.exr", "b.pfm", "c.exr"};
}

TEST_F(FilesFaults, AFailingWriteOfOneLeavesAllOutputsAsTheyWere) {
  const Painting painting(kPlainScene, severalOutputs());
  int n = 1;
  for (;; ++n) {
    const Outcome run = painting.run("write " + std::to_string(n) + " " + std::to_string(ENOSPC));
    if (!painting.struck()) break;
    EXPECT_EQ(run.status, 1) << n;
    EXPECT_TRUE(painting.allOld()) << n;
    painting.expectNothingBeside();
  }
  EXPECT_GT(n, 3);
  EXPECT_TRUE(painting.allWhole());
}

TEST_F(FilesFaults, AnOutputThatCanNotTakeItsNameIsSaidAndNoneIsHalf) {
  const Painting painting(kPlainScene, severalOutputs());
  int n = 1;
  for (;; ++n) {
    const Outcome run = painting.run("commit " + std::to_string(n) + " " + std::to_string(EIO));
    if (!painting.struck()) break;
    // A way around the failure is as good as an error.
    EXPECT_TRUE(run.status == 0 ? painting.allWhole() : run.status == 1) << n << run.err;
    EXPECT_TRUE(painting.eachWholeOrOld()) << n;
    painting.expectNothingBeside();
  }
  EXPECT_GT(n, 3);
}

/// Lets allocations of a run fail, one a run: the first, and then each that lies `share` further on, 0 for
/// all.
void failAllocations(const Painting& painting, double share, bool mayEnd) {
  long runs = 0;
  long ended = 0;
  for (long n = 1;; n += 1 + static_cast<long>(static_cast<double>(n) * share), ++runs) {
    const Outcome run = painting.run("new " + std::to_string(n) + " 0");
    if (!painting.struck()) break;
    EXPECT_TRUE(painting.eachWholeOrOld()) << n;
    if (run.status >= 128) {
      ++ended;
      EXPECT_TRUE(mayEnd) << n << ": " << run.err;
      continue;
    }
    if (run.status == 0) {
      EXPECT_TRUE(painting.allWhole()) << n;
    } else {
      EXPECT_NE(run.err, "") << n;
    }
    EXPECT_TRUE(run.status == 0 || run.status == 1 || run.status == 3) << n << ": " << run.status << run.err;
    painting.expectNothingBeside();
  }
  std::printf("%ld allocations failed, %ld ended the process\n", runs, ended);
  EXPECT_GT(runs, 20);
}

TEST_F(FilesFaults, WithoutMemoryOutputsAreWholeOrAsTheyWere) {
  failAllocations(Painting(kPlainScene, {"a.exr"}), sweeps::rounds(1, 0) / 8.0, false);
}

// OpenImageIO and oneTBB end the process for some allocations that fail. No output may be wrong for it.
TEST_F(FilesFaults, WithoutMemoryForTheLibrariesBelowOutputsAreWholeOrAsTheyWere) {
  failAllocations(Painting(kScene, {"a.exr", "b.tif"}), sweeps::rounds(240, 1) / 400.0, true);
}

}  // namespace
