#include "scene/paint_scene.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "host/orvLog.h"
#include "orvrender/orvHost.h"
#include "scene/PainterLibrary.h"
#include "scene/read_scene.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Records what it is asked, and answers what a test tells it to.
class RecordingPainter final : public hdri::IPainter {
 public:
  void setScene(orvScene* scene) override {
    scene_ = scene;
    calls.emplace_back("scene");
  }
  void setSize(std::int32_t width, std::int32_t height) override {
    width_ = width;
    height_ = height;
    calls.push_back("size " + std::to_string(width) + "x" + std::to_string(height));
  }
  bool setSizeFromImage(const std::string& path) override {
    calls.push_back("size of " + path);
    return true;
  }
  void setOptions(const hdri::PainterOptions& options) override {
    calls.push_back("options " + std::to_string(options.smoothing) + std::to_string(options.keepBackground));
  }
  bool setBackground(const hdri::Brush& brush) override {
    calls.push_back("background " + std::to_string(static_cast<int>(brush.kind())));
    return acceptBackground;
  }
  bool addRectPin(const hdri::RectPinParams& rect, const hdri::Brush& fill) override {
    lastHalfHeight = rect.halfHeight;
    return addPin("rect", fill);
  }
  bool addCirclePin(const hdri::CirclePinParams& circle, const hdri::Brush& fill) override {
    lastRadius = circle.radius;
    return addPin("circle", fill);
  }
  bool reserved() override { return true; }
  bool hasBackground() const override { return true; }
  bool isValid() const override { return true; }
  std::shared_ptr<hdri::EnvImage> paint() override {
    calls.emplace_back("paint");
    if (!logLine.empty()) orv_critical("%s\n", logLine.c_str());
    if (outOfMemory) throw std::bad_alloc();
    return std::make_shared<hdri::EnvImage>(2, 1);
  }
  void clear() override {
    calls.emplace_back("clear");
    pins = 0;
  }
  hdri::PainterType getType() const override { return hdri::PainterType::avx2; }

  std::vector<std::string> calls;
  float lastRadius = 0;
  float lastHalfHeight = 0;
  std::string logLine;
  bool acceptBackground = true;
  std::size_t mostPins = 1000;
  bool throwAtPins = false;  ///< beyond `mostPins`
  std::size_t pins = 0;
  bool outOfMemory = false;

 private:
  bool addPin(const std::string& shape, const hdri::Brush& fill) {
    calls.push_back(shape + " " + std::to_string(static_cast<int>(fill.kind())));
    if (pins == mostPins && throwAtPins) throw std::length_error("list too long");
    if (pins == mostPins) return false;
    ++pins;
    return true;
  }

  orvScene* scene_ = nullptr;
  int width_ = 0;
  int height_ = 0;
};

class PaintSceneTest : public testing::Test {
 protected:
  PaintSceneTest() : host_(orv_scene_create({})) {}
  ~PaintSceneTest() override { orv_scene_destroy(host_); }

  PaintResult paint(const std::string& text, PaintOptions options = {}) {
    options.fileName = "s.json";
    return paintScene(parseScene(text, "s.json"), painter_, host_, options);
  }

  template <typename Error>
  std::string errorOf(const std::string& text) {
    try {
      paint(text);
      return {};
    } catch (const Error& error) {
      return error.what();
    }
  }

  orvScene* host_;
  RecordingPainter painter_;
};

TEST_F(PaintSceneTest, CallsThePainterInItsOrder) {
  const PaintResult result = paint(R"({"version": 1, "size": [64, 32], "smoothing": false,
    "background": {"type": "gradient"}, "pins": [
      {)" + kCircle + R"(, "fill": {"type": "background"}}, {)" +
                                   kRect + R"(, "fill": {"type": "image", "path": "a"}}]})");
  EXPECT_THAT(painter_.calls, ElementsAre("scene", "size 64x32", "options 00", "background 3", "circle 6",
                                          "rect 5", "paint", "clear"));
  EXPECT_FALSE(result.fellBack);
  EXPECT_THAT(result.messages, IsEmpty());
  EXPECT_EQ(result.map->width, 2);
}

TEST_F(PaintSceneTest, SoftPinsAreLargerWhereTheSceneKeepsItsLight) {
  // A circle of 10 degrees at 2048 pixels: w = 1.5 * 2 pi / 2048, r' = w/2 + sqrt(r^2 - w^2/20).
  const double w = 1.5 * 6.283185307179586 / 2048, r = 0.17453292519943295;
  const double grown = w / 2 + std::sqrt(r * r - w * w / 20);
  for (const auto& [keys, radius] : {std::pair{"", grown},
                                     {R"("quality": "light", )", grown},
                                     {R"("quality": "plain", )", r},
                                     {R"("smoothing": false, )", r}}) {
    paint(R"({"version": 1, )" + std::string(keys) + R"("background": )" + kWhite +
          R"(, "pins": [{"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 10, "fill": )" + kWhite +
          "}]}");
    EXPECT_NEAR(painter_.lastRadius, radius, 1e-5) << keys;
  }
}

TEST_F(PaintSceneTest, RoundCornersAreSoftWithoutSmoothingToo) {
  for (const auto& [corner, grows] : {std::pair{"0", false}, {"1", true}}) {
    paint(R"({"version": 1, "smoothing": false, "background": )" + kWhite +
          R"(, "pins": [{"shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 10, "halfHeight": 5,
             "cornerRadius": )" +
          std::string(corner) + R"(, "fill": )" + kWhite + "}]}");
    EXPECT_EQ(painter_.lastHalfHeight > 0.0873f, grows);
  }
}

TEST_F(PaintSceneTest, WhatDegradesThePictureIsAFallback) {
  const PainterLibrary library;
  const Scene scene = parseScene(R"({"version": 1, "size": [64, 32],
    "background": {"type": "image", "path": "venice.exr"}, "pins": [{)" +
                                     kCircle + R"(, "fill": {"type": "image", "path": "venice.exr"}}]})",
                                 "s.json");
  // With the n-th allocation failing: the picture, or an error, or a fallback that is told.
  struct Painted {
    std::shared_ptr<hdri::EnvImage> map;
    bool told = false;
    std::uint64_t allocations = 0;
  };
  const auto painted = [&](std::uint64_t failing) {
    const std::unique_ptr<orvScene, void (*)(orvScene*)> host(orv_scene_create({}), &orv_scene_destroy);
    const PainterPointer painter = library.create();
    Painted result;
    const std::uint64_t before = orv_memory_counters().totalBlocks;
    orv_memory_fail_at(failing);
    try {
      const PaintResult paint =
          paintScene(scene, *painter, host.get(), {.folder = ORVHDRI_SOURCE_DIR "/examples"});
      result = {paint.map, paint.fellBack, 0};
    } catch (const PaintError&) {
      result.told = true;
    }
    orv_memory_fail_at(0);
    result.allocations = orv_memory_counters().totalBlocks - before;
    return result;
  };
  const Painted whole = painted(0);
  ASSERT_FALSE(whole.told);
  ASSERT_GT(whole.allocations, 5u);
  for (std::uint64_t n = 1; n <= whole.allocations; ++n) {
    const Painted result = painted(n);
    EXPECT_TRUE(result.told || result.map->pixels == whole.map->pixels) << n;
  }
}

TEST_F(PaintSceneTest, SkipsDisabledPins) {
  paint(withPin(kCircle + R"(, "enabled": false)", kWhite));
  EXPECT_THAT(painter_.calls,
              ElementsAre("scene", "size 2048x1024", "options 10", "background 2", "paint", "clear"));
}

TEST_F(PaintSceneTest, ASizeOfTheCallComesBeforeTheScenes) {
  paint(withBackground(kWhite, R"(, "sizeFromImage": "a.exr")"), {.size = MapSize{8, 4}});
  EXPECT_EQ(painter_.calls.at(1), "size 8x4");
}

TEST_F(PaintSceneTest, TakesTheSizeFromAnImageInTheScenesFolder) {
  // 512 x 256 pixels.
  paint(withBackground(kWhite, R"(, "sizeFromImage": "venice.exr")"),
        {.folder = ORVHDRI_SOURCE_DIR "/examples"});
  EXPECT_EQ(painter_.calls.at(1), "size 512x256");
}

TEST_F(PaintSceneTest, NamesTheImageThatShouldGiveTheSize) {
  EXPECT_EQ(errorOf<FileError>(withBackground(kWhite, R"(, "sizeFromImage": "a.exr")")),
            "s.json: sizeFromImage: the size of a.exr cannot be read: "
            "a.exr: there is no such file; check the path");
}

TEST_F(PaintSceneTest, NamesAPinThatIsRefused) {
  painter_.mostPins = 0;
  const std::string disabled = "{" + kCircle + R"(, "enabled": false, "fill": )" + kWhite + "}, ";
  const std::string pins = ", \"pins\": [" + disabled + disabled;
  EXPECT_THAT(errorOf<PaintError>(withBackground(
                  kWhite, pins + "{" + kRect + R"(, "name": "rim", "fill": )" + kWhite + "}]")),
              HasSubstr("s.json: pins[2] \"rim\": refused by the painter"));
  EXPECT_THAT(
      errorOf<PaintError>(withBackground(kWhite, pins + "{" + kRect + ", \"fill\": " + kWhite + "}]")),
      HasSubstr("s.json: pins[2]: refused by the painter"));
}

TEST_F(PaintSceneTest, AMissingSkyIsAFallback) {
  painter_.acceptBackground = false;
  EXPECT_TRUE(paint(withBackground(R"({"type": "sunSky"})")).fellBack);
}

TEST_F(PaintSceneTest, AMissingImageIsAFallback) {
  painter_.logLine = "Failed to find image 'a.exr' used environment painter";
  const PaintResult result = paint(withBackground(kWhite));
  EXPECT_TRUE(result.fellBack);
  EXPECT_THAT(result.messages, ElementsAre(painter_.logLine));
}

TEST_F(PaintSceneTest, AWhiteBackgroundInPlaceOfAnotherIsAFallback) {
  painter_.logLine = "Background painting failed, using white instead";
  EXPECT_TRUE(paint(withBackground(kWhite)).fellBack);
}

TEST_F(PaintSceneTest, OtherLinesOfTheLogAreNoFallback) {
  painter_.logLine = "a.exr: 3 pixels that are not finite were replaced";
  const PaintResult result = paint(withBackground(kWhite));
  EXPECT_FALSE(result.fellBack);
  EXPECT_THAT(result.messages, ElementsAre(painter_.logLine));
}

TEST_F(PaintSceneTest, LeavesNoPinInThePainterWhateverHappens) {
  const std::string pin = "{" + kCircle + R"(, "fill": )" + kWhite + "}";
  const std::string twoPins = withBackground(kWhite, ", \"pins\": [" + pin + ", " + pin + "]");
  painter_.mostPins = 1;
  EXPECT_NE(errorOf<PaintError>(twoPins), "") << "the second pin is refused";
  EXPECT_EQ(painter_.pins, 0u);
  painter_.throwAtPins = true;
  EXPECT_NE(errorOf<PaintError>(twoPins), "") << "the second pin throws";
  EXPECT_EQ(painter_.pins, 0u);
  painter_.mostPins = 2;
  painter_.outOfMemory = true;
  EXPECT_NE(errorOf<PaintError>(twoPins), "") << "painting throws";
  EXPECT_EQ(painter_.pins, 0u);
}

TEST_F(PaintSceneTest, TellsWhenMemoryRunsOut) {
  painter_.outOfMemory = true;
  EXPECT_THAT(errorOf<PaintError>(withBackground(kWhite)),
              HasSubstr("s.json: size: there is not enough memory"));
}

}  // namespace
}  // namespace orv::scene
