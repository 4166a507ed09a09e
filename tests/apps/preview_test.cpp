#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <utility>

#include "apps/Program.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

class PreviewTest : public testing::Test {
 protected:
  PreviewTest() : scene_(folder_.put("s.json", kColorScene)) {}

  Outcome preview(const std::string& file, std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"preview", file});
    if (std::find(more.begin(), more.end(), "-o") == more.end())
      more.insert(more.end(), {"-o", folder_ / "a.png"});
    return orvpaint(std::move(more));
  }

  /// A scene with a white circle that is 100000 bright.
  std::string brightScene() const {
    return folder_.put("bright.json", R"({"version": 1, "size": [64, 32], "smoothing": false,
      "background": {"type": "color", "color": [1, 1, 1]},
      "pins": [{"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 10, "falloff": "solid",
                "fill": {"type": "color", "mode": "mix", "color": [1, 1, 1], "brightness": 100000}}]})");
  }

  TestFolder folder_;
  std::string scene_;
};

/// Width and height from a PNG's header.
std::pair<int, int> pngSize(const std::string& path) {
  const std::string bytes = contentsOf(path);
  if (bytes.size() < 24 || bytes.substr(1, 3) != "PNG") return {};
  const auto number = [&](std::size_t at) {
    int value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value * 256 + static_cast<unsigned char>(bytes[i]);
    return value;
  };
  return {number(16), number(20)};
}

TEST_F(PreviewTest, ShowsAScene) {
  const Outcome run = preview(scene_);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, ::testing::MatchesRegex(folder_ / "a.png" + "  1024x900  [0-9.]+ kB  [0-9.]+ s\n"));
  EXPECT_EQ(pngSize(folder_ / "a.png"), std::make_pair(1024, 900));
}

TEST_F(PreviewTest, ShowsMapsThatArePainted) {
  // The library's own reader and the images module's; formats have tests of their own.
  const std::vector<const char*> names = {"m.exr", "m.tif"};
  std::vector<std::string> paint = {"paint", scene_};
  for (const char* name : names) paint.insert(paint.end(), {"-o", folder_ / name});
  ASSERT_EQ(orvpaint(paint).status, 0);
  for (const char* name : names) {
    const Outcome run = preview(folder_ / name);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(pngSize(folder_ / "a.png"), std::make_pair(1024, 900)) << name;
  }
}

TEST_F(PreviewTest, ASceneAndItsMapGiveTheSamePicture) {
  fs::create_directory(folder_ / "maps");
  ASSERT_EQ(orvpaint({"paint", scene_, "-o", folder_ / "maps/s.exr"}).status, 0);
  fs::rename(folder_ / "maps/s.exr", folder_ / "maps/s");
  // Names stand in the caption.
  fs::copy_file(scene_, folder_ / "s");
  EXPECT_EQ(preview(folder_ / "s").status, 0);
  EXPECT_EQ(preview(folder_ / "maps/s", {"-o", folder_ / "b.png"}).status, 0);
  EXPECT_EQ(contentsOf(folder_ / "a.png"), contentsOf(folder_ / "b.png"));
}

TEST_F(PreviewTest, BytesAreEqualWithOneAndSevenThreads) {
  for (const char* threads : {"1", "7"})
    EXPECT_EQ(preview(brightScene(), {"-o", folder_ / (std::string(threads) + ".png"), "--threads", threads})
                  .status,
              0);
  EXPECT_EQ(contentsOf(folder_ / "7.png"), contentsOf(folder_ / "1.png"));
}

TEST_F(PreviewTest, WritesJpeg) {
  EXPECT_EQ(preview(scene_, {"-o", folder_ / "a.jpg", "--exposure", "-2.5", "--size", "33x17"}).status, 0);
  EXPECT_EQ(contentsOf(folder_ / "a.jpg").substr(0, 2), "\xFF\xD8");
}

TEST_F(PreviewTest, ASizeForAMapIsWrong) {
  const std::string map = folder_ / "m.pfm";
  ASSERT_EQ(orvpaint({"paint", scene_, "-o", map}).status, 0);
  const Outcome run = preview(map, {"--size", "64x32"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "orvpaint: --size: " + map + " is a map and has its size already; allowed: a scene\n");
  EXPECT_FALSE(fs::exists(folder_ / "a.png"));
}

TEST_F(PreviewTest, AMissingMapIsNamed) {
  const Outcome run = preview(folder_ / "none.exr");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr(folder_ / "none.exr"));
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

TEST_F(PreviewTest, AWrongSceneLeavesNoFile) {
  const Outcome run = preview(folder_.put("s.json", R"({"version": 1})"));
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, scene_ + ":1:1: background: missing; required: a brush\n  {\"version\": 1}\n  ^\n");
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
}

TEST_F(PreviewTest, AMissingImageLeavesNoFile) {
  const std::string scene = folder_.put(
      "s.json", R"({"version": 1, "size": [64, 32], "background": {"type": "image", "path": "none.exr"}})");
  EXPECT_EQ(preview(scene).status, 3);
  EXPECT_THAT(folder_.names(), ElementsAre("s.json"));
  EXPECT_EQ(preview(scene, {"--allow-fallback"}).status, 0);
}

TEST_F(PreviewTest, AFullDiskLeavesTheOldFile) {
  folder_.put("a.png", "old");
  const Outcome run = Program({"preview", scene_, "-o", folder_ / "a.png"})
                          .prepared([] {
                            const rlimit small{1024, RLIM_INFINITY};
                            ::setrlimit(RLIMIT_FSIZE, &small);
                          })
                          .run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: " + (folder_ / "a.png") + ": cannot be written: File too large\n");
  EXPECT_EQ(contentsOf(folder_ / "a.png"), "old");
  EXPECT_THAT(folder_.names(), UnorderedElementsAre("s.json", "a.png"));
}

TEST_F(PreviewTest, PaintTellsWhatHalvesLoseEvenWhenQuiet) {
  const Outcome run = orvpaint({"paint", brightScene(), "-o", folder_ / "a.exr", "--half", "-q"});
  EXPECT_EQ(run.status, 0);
  // 100000 loses 34.496 % of itself, and the background is next to nothing.
  EXPECT_THAT(run.err, testing::MatchesRegex("orvpaint: .*a.exr: [0-9]+ pixels above 65504 were clamped "
                                             "\\(largest 1e\\+05\\): 34.5 % of the light is lost; write "
                                             "floats without --half\n"));
}

TEST_F(PreviewTest, PaintTellsOfALimitForEveryFile) {
  const Outcome run = orvpaint({"paint", brightScene(), "-o", folder_ / "a.hdr", "-o", folder_ / "a.png",
                                "-o", folder_ / "a.exr", "--clamp", "0.5", "-q"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 3) << run.err;
  EXPECT_THAT(run.err, HasSubstr("a.png: 2048 pixels above 0.5 were clamped (largest 1e+05): 99.9 % of"));
}

TEST_F(PreviewTest, PaintSaysNothingWhereNothingIsLost) {
  const Outcome run = orvpaint({"paint", scene_, "-o", folder_ / "a.exr", "--half", "--clamp", "2", "-q"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
}

TEST_F(PreviewTest, PaintExposesPreviewsAutomatically) {
  // Luminance 0.2126 * 0.5 + 0.7152 * 0.25 + 0.0722 * 2 = 0.4295: log2(0.18 / 0.4295) = -1.2547 stops.
  ASSERT_EQ(orvpaint({"paint", scene_, "-o", folder_ / "auto.png", "--exposure", "auto"}).status, 0);
  ASSERT_EQ(orvpaint({"paint", scene_, "-o", folder_ / "stops.png", "--exposure", "-1.25467"}).status, 0);
  ASSERT_EQ(orvpaint({"paint", scene_, "-o", folder_ / "none.png"}).status, 0);
  EXPECT_EQ(contentsOf(folder_ / "auto.png"), contentsOf(folder_ / "stops.png"));
  EXPECT_NE(contentsOf(folder_ / "auto.png"), contentsOf(folder_ / "none.png"));
}

}  // namespace
