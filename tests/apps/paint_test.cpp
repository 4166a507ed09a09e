#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "apps/Program.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

constexpr const char* kAllOutputs[] = {"a.exr", "a.hdr", "a.pfm", "a.tif", "a.png", "a.jpg"};

/// A scene whose image does not exist.
constexpr const char* kMissingImage =
    R"({"version": 1, "size": [64, 32], "background": {"type": "image", "path": "none.exr"}})";

class PaintTest : public testing::Test {
 protected:
  PaintTest() : scene_(folder_.put("s.json", kColorScene)) {}

  Outcome paint(std::vector<std::string> more) {
    more.insert(more.begin(), {"paint", scene_});
    return orvpaint(std::move(more));
  }

  TestFolder folder_;
  std::string scene_;
};

/// Width, height and floats of a PFM file.
struct Pfm {
  int width = 0;
  int height = 0;
  std::vector<float> values;
};

Pfm readPfm(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string magic;
  std::string scale;
  Pfm pfm;
  file >> magic >> pfm.width >> pfm.height >> scale;
  file.get();
  pfm.values.resize(static_cast<std::size_t>(pfm.width) * static_cast<std::size_t>(pfm.height) * 3);
  file.read(reinterpret_cast<char*>(pfm.values.data()),
            static_cast<std::streamsize>(pfm.values.size() * sizeof(float)));
  EXPECT_EQ(file.gcount(), static_cast<std::streamsize>(pfm.values.size() * sizeof(float)));
  return pfm;
}

TEST_F(PaintTest, PaintsTheColorOfTheScene) {
  const Outcome run = paint({"-o", folder_ / "a.pfm", "-q"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "");
  const Pfm pfm = readPfm(folder_ / "a.pfm");
  EXPECT_EQ(pfm.width, 64);
  EXPECT_EQ(pfm.height, 32);
  for (std::size_t i = 0; i < pfm.values.size(); i += 3) {
    ASSERT_EQ(pfm.values[i], 0.5f);
    ASSERT_EQ(pfm.values[i + 1], 0.25f);
    ASSERT_EQ(pfm.values[i + 2], 2.0f);
  }
}

TEST_F(PaintTest, ASizeOfTheCallComesBeforeTheScenes) {
  EXPECT_EQ(paint({"-o", folder_ / "a.pfm", "--size", "33x7"}).status, 0);
  const Pfm pfm = readPfm(folder_ / "a.pfm");
  EXPECT_EQ(pfm.width, 33);
  EXPECT_EQ(pfm.height, 7);
}

/// A scene whose map is white in the middle of its width and black elsewhere.
constexpr const char* kMiddleScene =
    R"({"version": 1, "size": [64, 32], "background": {"type": "color", "color": [0, 0, 0]},
        "pins": [{"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 20,
                  "fill": {"type": "color", "color": [1, 1, 1]}}]})";

TEST_F(PaintTest, TurnsEveryOutputIntoTheLayout) {
  scene_ = folder_.put("s.json", kMiddleScene);
  const Outcome run = paint({"-q", "--layout", "mitsuba", "-o", folder_ / "a.pfm", "-o", folder_ / "b.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  const Pfm pfm = readPfm(folder_ / "a.pfm");
  EXPECT_EQ(pfm.values[3 * (64 * 16 + 16)], 1.0f);
  EXPECT_EQ(pfm.values[3 * (64 * 16 + 32)], 0.0f);
  EXPECT_EQ(contentsOf(folder_ / "a.pfm"), contentsOf(folder_ / "b.pfm"));
}

TEST_F(PaintTest, TellsWhereALayoutHasToPartColumns) {
  const Outcome run = paint({"--layout", "usd", "--size", "66x32", "-o", folder_ / "a.pfm"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err,
              StartsWith("orvpaint: --layout usd: the columns are interpolated, because the width 66 "
                         "is not a multiple of 4\n"));
  EXPECT_EQ(paint({"--layout", "usd", "--size", "66x32", "-q", "-o", folder_ / "a.pfm"}).err, "");
}

TEST_F(PaintTest, WritesADomeLightThatPointsToTheMap) {
  std::filesystem::create_directory(folder_ / "maps");
  const Outcome run = paint({"--usd", folder_ / "light.usda", "-o", folder_ / "a.png", "-o",
                             folder_ / "maps/a.exr", "-o", folder_ / "b.hdr"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(contentsOf(folder_ / "light.usda"), HasSubstr("asset inputs:texture:file = @./maps/a.exr@\n"));
  EXPECT_EQ(paint({"--usd", folder_ / "maps/light.usda", "-o", folder_ / "b.hdr"}).status, 0);
  EXPECT_THAT(contentsOf(folder_ / "maps/light.usda"), HasSubstr("= @../b.hdr@\n"));
}

TEST_F(PaintTest, ReadsBackTheLayoutThatItWrote) {
  scene_ = folder_.put("s.json", kMiddleScene);
  ASSERT_EQ(paint({"--layout", "usd", "-o", folder_ / "usd.exr"}).status, 0);
  ASSERT_EQ(paint({"-o", folder_ / "native.exr"}).status, 0);
  const std::string original = orvpaint({"info", folder_ / "native.exr"}).out;
  const std::string usd = orvpaint({"info", "--layout-in", "usd", folder_ / "usd.exr"}).out;
  const std::string mistaken = orvpaint({"info", folder_ / "usd.exr"}).out;
  const auto brightest = [](const std::string& text) {
    return text.substr(std::min(text.find("brightest"), text.size()));
  };
  EXPECT_NE(brightest(mistaken), brightest(original));
  EXPECT_EQ(brightest(usd), brightest(original));
  EXPECT_THAT(usd, HasSubstr("orientation   usd: centre +z"));
}

TEST_F(PaintTest, WritesEveryFormatAtOnce) {
  std::vector<std::string> call;
  for (const char* name : kAllOutputs) call.insert(call.end(), {"-o", folder_ / name});
  const Outcome run = paint(call);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(folder_.names(),
              UnorderedElementsAre("s.json", "a.exr", "a.hdr", "a.pfm", "a.tif", "a.png", "a.jpg"));
}

TEST_F(PaintTest, BytesAreEqualWithOneTwoAndSevenThreads) {
  const std::string gradient = ORVHDRI_SOURCE_DIR "/examples/gradient.json";
  for (const char* threads : {"1", "2", "7"})
    EXPECT_EQ(orvpaint({"paint", gradient, "-o", folder_ / (std::string(threads) + ".exr"), "--size",
                        "501x301", "--threads", threads})
                  .status,
              0);
  const std::string one = contentsOf(folder_ / "1.exr");
  EXPECT_GT(one.size(), 1000u);
  EXPECT_EQ(contentsOf(folder_ / "2.exr"), one);
  EXPECT_EQ(contentsOf(folder_ / "7.exr"), one);
}

TEST_F(PaintTest, AWrongSceneLeavesNoFile) {
  scene_ = folder_.put("s.json", R"({"version": 1})");
  const Outcome run = paint({"-o", folder_ / "a.exr"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, scene_ + ":1:1: background: missing; required: a brush\n  {\"version\": 1}\n  ^\n");
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

TEST_F(PaintTest, AMissingSceneIsAFileThatCannotBeRead) {
  scene_ = folder_ / "none.json";
  const Outcome run = paint({"-o", folder_ / "a.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + scene_ + ": cannot be read: No such file or directory\n");
}

TEST_F(PaintTest, AMissingImageIsNamedAndLeavesNoFile) {
  scene_ = folder_.put("s.json", kMissingImage);
  const Outcome run = paint({"-o", folder_ / "a.exr"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("Failed to find image '" + (folder_ / "none.exr") + "'"));
  EXPECT_THAT(run.err, HasSubstr("Background painting failed, using white instead"));
  EXPECT_THAT(run.err, HasSubstr("--allow-fallback"));
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

TEST_F(PaintTest, AMissingImageInsideAPinIsNamedAndLeavesNoFile) {
  scene_ = folder_.put("s.json", R"({"version": 1, "size": [64, 32],
    "background": {"type": "color", "color": [0, 0, 0]},
    "pins": [{"shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 20, "halfHeight": 20,
              "fill": {"type": "image", "path": "none.png"}}]})");
  const Outcome run = paint({"-o", folder_ / "a.exr"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("Failed to find image '" + (folder_ / "none.png") + "'"));
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

TEST_F(PaintTest, AFallbackIsWrittenWhenItIsAllowed) {
  scene_ = folder_.put("s.json", kMissingImage);
  const Outcome run = paint({"-o", folder_ / "a.pfm", "--allow-fallback"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.err, HasSubstr("none.exr"));
  for (const float value : readPfm(folder_ / "a.pfm").values) ASSERT_EQ(value, 1.0f);
}

/// A scene whose image holds these bytes.
void expectBrokenImage(const TestFolder& folder, const std::string& bytes) {
  folder.put("none.exr", bytes);
  const std::string scene = folder.put("s.json", kMissingImage);
  const Outcome run = orvpaint({"paint", scene, "-o", folder / "a.exr"});
  EXPECT_EQ(run.status, 3) << run.err;
  EXPECT_THAT(run.err, HasSubstr(folder / "none.exr"));
  EXPECT_FALSE(fs::exists(folder / "a.exr"));
}

TEST_F(PaintTest, AnEmptyImageIsNamed) { expectBrokenImage(folder_, ""); }

TEST_F(PaintTest, ATextNamedExrIsNamed) { expectBrokenImage(folder_, "This is no picture.\n"); }

TEST_F(PaintTest, ATruncatedImageIsNamed) {
  const std::string whole = contentsOf(ORVHDRI_SOURCE_DIR "/examples/venice.exr");
  ASSERT_GT(whole.size(), 1000u);
  for (const std::size_t length : {std::size_t{4}, std::size_t{100}, whole.size() / 2})
    expectBrokenImage(folder_, whole.substr(0, length));
}

TEST_F(PaintTest, APictureAboveTheLimitIsNamed) {
  const Outcome run = orvpaint({"paint", ORVHDRI_SOURCE_DIR "/examples/venice.json", "-o", folder_ / "a.exr",
                                "-q", "--size", "64x32", "--max-image-pixels", "1000"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.err, HasSubstr("venice.exr: its image is 512 x 256, above the limits"));
  EXPECT_FALSE(fs::exists(folder_ / "a.exr"));
}

TEST_F(PaintTest, AFolderThatDoesNotExistIsNamed) {
  const Outcome run = paint({"-o", folder_ / "none/a.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + (folder_ / "none/a.exr") + ": cannot be written: the folder " +
                         (folder_ / "none") + " does not exist\n");
}

TEST_F(PaintTest, AFolderThatCannotBeWrittenIsNamed) {
  // Not even the super-user makes files in there.
  const Outcome run = paint({"-o", "/proc/a.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("orvpaint: /proc/a.exr: cannot be written: "));
}

TEST_F(PaintTest, AFullDeviceIsNamed) {
  fs::create_symlink("/dev/full", folder_ / "a.exr");
  const Outcome run = paint({"-o", folder_ / "a.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + (folder_ / "a.exr") + ": cannot be written: No space left on device\n");
}

TEST_F(PaintTest, AFullDiskIsNamedForEveryFormatAndLeavesTheOldFile) {
  // Noise is hard to compress: each file is larger than the limit, which fails writes as a full disk does.
  for (const char* name : kAllOutputs) {
    const std::string path = folder_.put(name, "old");
    const Outcome run =
        Program({"paint", ORVHDRI_SOURCE_DIR "/examples/gradient.json", "-o", path, "--size", "512x256"})
            .prepared([] {
              const rlimit small{1024, RLIM_INFINITY};
              ::setrlimit(RLIMIT_FSIZE, &small);
            })
            .run();
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_EQ(run.err, "orvpaint: " + path + ": cannot be written: File too large\n") << name;
    EXPECT_EQ(contentsOf(path), "old") << name;
  }
  EXPECT_EQ(folder_.names().size(), 7u) << "no unfinished file is left";
}

TEST_F(PaintTest, AllOutputsOrNone) {
  fs::create_symlink("/dev/full", folder_ / "b.exr");
  const Outcome run = paint({"-o", folder_ / "a.exr", "-o", folder_ / "b.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_FALSE(fs::exists(folder_ / "a.exr"));
}

TEST_F(PaintTest, ClosedStreamsDoNotHarmTheFile) {
  const Outcome run = Program({"paint", scene_, "-o", folder_ / "a.pfm"})
                          .prepared([] {
                            ::close(STDIN_FILENO);
                            ::close(STDOUT_FILENO);
                            ::close(STDERR_FILENO);
                          })
                          .run();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(readPfm(folder_ / "a.pfm").width, 64);
}

/// Whether the process has a file open that is to appear in the folder: unnamed ones are shown as `#` and a
/// number.
bool hasBegun(pid_t process, const TestFolder& folder) {
  std::error_code error;
  const std::string unnamed = folder / "#";
  const std::string hidden = folder / ".orvpaint-";
  for (fs::directory_iterator file("/proc/" + std::to_string(process) + "/fd", error), end;
       !error && file != end; file.increment(error)) {
    std::error_code closed;
    const std::string path = fs::read_symlink(file->path(), closed).string();
    if (path.starts_with(unnamed) || path.starts_with(hidden)) return true;
  }
  return false;
}

/// Waits until the child has begun its file, then sends it the signal.
std::function<void(pid_t)> interrupt(const TestFolder& folder, int signal) {
  return [&folder, signal](pid_t child) {
    // A minute, for slow machines; the file usually is there at once.
    for (int i = 0; i < 60000; ++i) {
      if (hasBegun(child, folder)) {
        ::kill(child, signal);
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ::kill(child, SIGKILL);
  };
}

TEST_F(PaintTest, AnInterruptedRunLeavesNoFile) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU, SIGABRT}) {
    const Outcome run =
        Program({"paint", scene_, "-o", folder_ / "a.exr", "-o", folder_ / "b.png", "--size", "16384x8192"})
            .meanwhile(interrupt(folder_, signal))
            .run();
    EXPECT_EQ(run.status, 128 + signal);
    EXPECT_EQ(run.err, "orvpaint: interrupted; unfinished files are removed\n");
    EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
  }
}

TEST_F(PaintTest, AKilledRunLeavesNoFile) {
  for (const int signal : {SIGKILL, SIGILL}) {
    const Outcome run = Program({"paint", scene_, "-o", folder_ / "a.exr", "--size", "16384x8192"})
                            .meanwhile(interrupt(folder_, signal))
                            .run();
    EXPECT_EQ(run.status, 128 + signal);
    EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
  }
}

TEST_F(PaintTest, APipeThatNobodyReadsIsAFailure) {
  const std::string pipe = folder_ / "a.exr";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  // Its end closes when the program has opened its own.
  const Outcome run = Program({"paint", scene_, "-o", pipe, "--size", "512x256", "--compression", "none"})
                          .meanwhile([reader](pid_t) {
                            char byte = 0;
                            while (::read(reader, &byte, 1) <= 0)
                              std::this_thread::sleep_for(std::chrono::milliseconds(1));
                            ::close(reader);
                          })
                          .run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + pipe + ": cannot be written: Broken pipe\n");
}

TEST_F(PaintTest, AResultThatNobodyReadsIsAFailure) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  const Outcome run = Program({"info", scene_}).prepared([&] { ::dup2(ends[1], STDOUT_FILENO); }).run();
  ::close(ends[1]);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: standard output: cannot be written: Broken pipe\n");
}

TEST_F(PaintTest, ALinkAndItsTargetAreOneOutput) {
  fs::create_symlink("b.exr", folder_ / "a.exr");
  const Outcome run = paint({"-o", folder_ / "a.exr", "-o", folder_ / "b.exr"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("is given twice"));
}

TEST_F(PaintTest, TheSceneIsNoOutput) {
  const std::string scene = folder_.put("s.exr", kColorScene);
  fs::create_symlink("s.exr", folder_ / "link.exr");
  for (const char* const name : {"s.exr", "link.exr"}) {
    const Outcome run = orvpaint({"paint", scene, "-o", folder_ / name});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("s.exr is the scene itself; give another file"));
  }
  EXPECT_EQ(contentsOf(scene), kColorScene);
  const std::string picture = folder_.put("s.png", kColorScene);
  const Outcome preview = orvpaint({"preview", picture, "-o", picture});
  EXPECT_EQ(preview.status, 2);
  EXPECT_EQ(contentsOf(picture), kColorScene);
}

TEST_F(PaintTest, ANameThatIsTooLongReplacesNoOther) {
  const std::string old = folder_.put("a.exr", "old");
  const std::string name = folder_ / std::string(300, 'n') + ".exr";
  const Outcome run = paint({"-o", old, "-o", name});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + name + ": cannot be written: File name too long\n");
  EXPECT_EQ(contentsOf(old), "old");
}

TEST_F(PaintTest, StandardOutputBehindALinkGetsTheBytes) {
  fs::create_symlink("/dev/stdout", folder_ / "out.pfm");
  const Outcome run = paint({"-o", folder_ / "out.pfm", "-q"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.starts_with("PF\n64 32\n"));
  EXPECT_TRUE(fs::is_symlink(folder_ / "out.pfm"));
}

TEST_F(PaintTest, AnInterruptThatIsIgnoredStaysIgnored) {
  const Outcome run = Program({"paint", scene_, "-o", folder_ / "a.exr", "--size", "4096x2048"})
                          .prepared([] { std::signal(SIGINT, SIG_IGN); })
                          .meanwhile(interrupt(folder_, SIGINT))
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST_F(PaintTest, WithoutTheModuleOfOpenImageIoOnlyItsFormatsFail) {
  // The host alone in a folder, which the loader looks through first.
  fs::copy_file(ORVHDRI_BINARY_DIR "/lib/liborvrender.so.0", folder_ / "liborvrender.so.0");
  fs::create_symlink("liborvrender.so.0", folder_ / "liborvrender.so");
  const std::string path = folder_ / "";
  const auto alone = [&] { ::setenv("LD_LIBRARY_PATH", path.c_str(), 1); };
  const Outcome exr = Program({"paint", scene_, "-q", "-o", folder_ / "a.exr"}).prepared(alone).run();
  EXPECT_EQ(exr.status, 0) << exr.err;
  const std::string pin = folder_.put("pin.json", R"({"version": 1, "size": [64, 32],
      "background": {"type": "color", "color": [0, 0, 0]}, "pins": [{"shape": "circle", "azimuth": 0,
      "elevation": 0, "radius": 40, "fill": {"type": "image", "path": "a.exr"}}]})");
  const Outcome filled = Program({"paint", pin, "-q", "-o", folder_ / "b.exr"}).prepared(alone).run();
  EXPECT_EQ(filled.status, 0);
  EXPECT_EQ(filled.err, "");
  const Outcome png = Program({"paint", scene_, "-q", "-o", folder_ / "a.png"}).prepared(alone).run();
  EXPECT_EQ(png.status, 1);
  EXPECT_THAT(png.err,
              HasSubstr("a.png: cannot be written: it takes OpenImageIO, whose module cannot be loaded"));
  EXPECT_THAT(png.err, HasSubstr("install liborvrender_images.so beside liborvrender.so"));
  EXPECT_FALSE(fs::exists(folder_ / "a.png"));
}

TEST_F(PaintTest, APainterThatIsMissingIsNamed) {
  const Outcome run = paint({"-o", folder_ / "a.exr", "--painter", folder_ / "none.so"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("the painter cannot be loaded: " + (folder_ / "none.so")));
}

TEST_F(PaintTest, TooManyPixelsForTheMemoryIsAFailure) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitized process needs more address space than the limit leaves";
#endif
  const Outcome run = Program({"paint", scene_, "-o", folder_ / "a.exr", "--size", "65536x8192"})
                          .prepared([] {
                            const rlimit small{rlim_t{2} << 30, RLIM_INFINITY};
                            ::setrlimit(RLIMIT_AS, &small);
                          })
                          .run();
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("not enough memory"));
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

}  // namespace
