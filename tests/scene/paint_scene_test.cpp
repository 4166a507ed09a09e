#include "scene/paint_scene.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "host/orvLog.h"
#include "orvrender/orvHost.h"
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
    if (!imageFound) orv_critical("Failed to find image '%s' used environment painter\n", path.c_str());
    return imageFound;
  }
  void setOptions(const hdri::PainterOptions& options) override {
    calls.push_back("options " + std::to_string(options.smoothing) + std::to_string(options.keepBackground));
  }
  bool setBackground(const hdri::Brush& brush) override {
    calls.push_back("background " + std::to_string(static_cast<int>(brush.kind())));
    return acceptBackground;
  }
  bool addRectPin(const hdri::RectPinParams&, const hdri::Brush& fill) override {
    return addPin("rect", fill);
  }
  bool addCirclePin(const hdri::CirclePinParams&, const hdri::Brush& fill) override {
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
  std::string logLine;
  bool imageFound = true;
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
  paint(withBackground(kWhite, R"(, "sizeFromImage": "a.exr")"), {.folder = "/maps"});
  EXPECT_EQ(painter_.calls.at(1), "size of /maps/a.exr");
}

TEST_F(PaintSceneTest, NamesTheImageThatShouldGiveTheSize) {
  painter_.imageFound = false;
  EXPECT_EQ(errorOf<FileError>(withBackground(kWhite, R"(, "sizeFromImage": "a.exr")")),
            "s.json: sizeFromImage: the size of a.exr cannot be read: "
            "Failed to find image 'a.exr' used environment painter");
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
