#include "scene/Session.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <thread>

#include "orvrender/orvHost.h"
#include "scene/scene_texts.h"
#include "sweeps/soak.h"

namespace orv::scene {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string kExamples = ORVHDRI_SOURCE_DIR "/examples";

/// What a new painter with a new host paints.
PaintResult paintFresh(const Scene& scene, const PaintOptions& options) {
  const std::unique_ptr<orvScene, decltype(&orv_scene_destroy)> host(orv_scene_create({}),
                                                                     &orv_scene_destroy);
  const PainterPointer painter = PainterLibrary().create();
  return paintScene(scene, *painter, host.get(), options);
}

bool sameBytes(const hdri::EnvImage& a, const hdri::EnvImage& b) {
  return a.width == b.width && a.height == b.height &&
         std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size() * sizeof(hdri::Rgb)) == 0;
}

/// Changes one thing of a scene at a time, as somebody at work on it does.
class Editor {
 public:
  explicit Editor(std::uint32_t seed) : random_(seed) {
    scene.size = {64, 32};
    scene.background.paint = ColorPaint{};
  }

  Scene scene;

  void edit() {
    switch (below(14)) {
      case 0:
        return newBackground();
      case 1:
      case 2:
        return editBackground();
      case 3:
        scene.size = std::vector<MapSize>{{64, 32}, {40, 20}, {33, 17}, {64, 48}}[below(4)];
        return;
      case 4:
        scene.quality = below(2) == 0 ? Quality::light : Quality::plain;
        return;
      case 5:
        scene.smoothing = below(3) != 0;
        return;
      case 6:
        if (!scene.pins.empty()) scene.pins.erase(scene.pins.begin() + static_cast<std::ptrdiff_t>(anyPin()));
        return;
      case 7:
      case 8:
        if (scene.pins.size() < 6) scene.pins.push_back(newPin());
        return;
      default:
        if (!scene.pins.empty()) editPin(scene.pins[anyPin()]);
    }
  }

 private:
  std::size_t below(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
  float within(float min, float max) { return std::uniform_real_distribution<float>(min, max)(random_); }
  std::size_t anyPin() { return below(scene.pins.size()); }
  hdri::Rgb color() { return {within(0, 2), within(0, 2), within(0, 2)}; }

  hdri::Adjustments adjustments() {
    hdri::Adjustments all;
    if (below(2) == 0) return all;
    all.brightness = within(0.2f, 3);
    all.gamma = below(2) == 0 ? 1.0f : within(0.5f, 2);
    all.hueShift = below(2) == 0 ? 0.0f : within(0, 1);
    all.saturation = below(2) == 0 ? 0.0f : within(-1, 1);
    all.tintGreen = within(0, 1);
    return all;
  }
  MapChanges mapChanges() {
    MapChanges map;
    if (below(2) == 0) map.blur = within(0, 20);
    if (below(2) == 0) map.rotation = {within(0, 360), below(2) == 0 ? 0.0f : within(-180, 180)};
    return map;
  }
  std::string picture() {
    return std::vector<std::string>{"venice.exr", "forest.exr", "studio.exr", "missing.exr"}[below(4)];
  }
  GradientPaint gradient() {
    return {
        {{.position = 0, .r = within(0, 1), .g = 1, .b = 0}, {.position = within(0.2f, 1), .r = 1, .g = 0}},
        adjustments()};
  }

  void newBackground() {
    switch (below(4)) {
      case 0:
        scene.background.paint = ColorPaint{color(), within(0, 2)};
        return;
      case 1:
        scene.background.paint = gradient();
        return;
      case 2:
        scene.background.paint = ImageBackground{picture(), adjustments(), mapChanges(),
                                                 below(2) == 0 ? Layout::native : Layout::usd};
        return;
      default: {
        SunSkyBackground sky{{}, adjustments(), mapChanges()};
        sky.settings.hours = within(5, 20);
        scene.background.paint = sky;
      }
    }
  }

  void editBackground() {
    if (auto* flat = std::get_if<ColorPaint>(&scene.background.paint)) {
      flat->brightness = within(0, 2);
    } else if (auto* ramp = std::get_if<GradientPaint>(&scene.background.paint)) {
      ramp->stops.front().r = within(0, 1);
    } else if (auto* sky = std::get_if<SunSkyBackground>(&scene.background.paint)) {
      if (below(2) == 0) {
        sky->map = mapChanges();
      } else {
        sky->settings.sunFromAngles = static_cast<std::uint8_t>(below(2));
        sky->settings.sunAzimuth = within(-180, 180);
        sky->settings.sunElevation = within(-5, 90);
        sky->settings.turbidity = below(3) == 0 ? within(1, 10) : sky->settings.turbidity;
      }
    } else if (auto* image = std::get_if<ImageBackground>(&scene.background.paint)) {
      if (below(2) == 0)
        image->path = picture();
      else
        image->map = mapChanges();
    }
  }

  ScenePin newPin() {
    ScenePin pin;
    editPin(pin);
    switch (below(4)) {
      case 0:
        pin.fill.paint = ColorPaint{color(), within(0, 5)};
        break;
      case 1:
        pin.fill.paint = GradientFill{gradient(), {}, within(0, 360)};
        break;
      case 2:
        pin.fill.paint = ImageFill{picture(), adjustments()};
        break;
      default:
        pin.fill.paint = BackgroundFill{within(-180, 180), within(-90, 90), adjustments()};
    }
    return pin;
  }

  void editPin(ScenePin& pin) {
    pin.enabled = below(5) != 0;
    pin.azimuth = within(-180, 180);
    pin.elevation = within(-90, 90);
    pin.rotation = within(-180, 180);
    pin.half = below(5) == 0;
    pin.fill.mode = static_cast<hdri::BlendMode>(below(4));
    if (below(2) == 0)
      pin.shape =
          CircleShape{within(1, 180), below(2) == 0 ? hdri::Falloff::solid : hdri::Falloff::circleCosine};
    else
      pin.shape = RectShape{within(1, 89), within(1, 89), below(2) == 0 ? 0.0f : within(0, 20),
                            below(2) == 0 ? hdri::Falloff::solid : hdri::Falloff::rectBoxEdge};
  }

  std::mt19937 random_;
};

TEST(Session, PaintsTheBytesOfFreshPaintsThroughEveryEdit) {
  Session session;
  Editor editor(20);
  std::set<std::size_t> backgrounds;
  for (int i = 0; i < sweeps::rounds(300, 1000); ++i) {
    editor.edit();
    const PaintOptions options{.folder = kExamples};
    const PaintResult painted = session.paint(editor.scene, options);
    const PaintResult fresh = paintFresh(editor.scene, options);
    ASSERT_TRUE(sameBytes(*painted.map, *fresh.map)) << "edit " << i;
    ASSERT_EQ(painted.fellBack, fresh.fellBack) << "edit " << i;
    backgrounds.insert(editor.scene.background.paint.index());
  }
  EXPECT_EQ(backgrounds.size(), 4u);
}

/// Paints with a session and hears which phases that takes.
class SessionPhases : public testing::Test {
 protected:
  std::set<std::string> phasesOf(const std::string& text, std::optional<MapSize> size = MapSize{64, 32}) {
    std::set<std::string> phases;
    PaintOptions options{.fileName = "s.json", .folder = folder, .size = size};
    options.progress = [&](const char* phase, double) { phases.insert(phase); };
    session.paint(parseScene(text, "s.json"), options);
    return phases;
  }

  Session session;
  std::string folder = kExamples;
};

const std::string kSky = R"({"type": "sunSky", "blur": 3})";

TEST_F(SessionPhases, TheSkyIsNotRenderedAgainWhileItIsTheSame) {
  EXPECT_THAT(phasesOf(withBackground(kSky)), Contains("Sun & Sky"));
  EXPECT_THAT(phasesOf(withBackground(kSky)), Not(Contains("Sun & Sky")));
  const std::string pin = "{" + kCircle + R"(, "fill": )" + kWhite + "}";
  EXPECT_THAT(phasesOf(withBackground(kSky, ", \"pins\": [" + pin + "]")),
              testing::ElementsAre("Painting Pins"));
}

TEST_F(SessionPhases, AnotherBackgroundSizeOrQualityIsPreparedAnew) {
  phasesOf(withBackground(kSky));
  EXPECT_THAT(phasesOf(withBackground(R"({"type": "sunSky", "blur": 4})")), Contains("Blur"));
  EXPECT_THAT(phasesOf(withBackground(R"({"type": "sunSky", "blur": 4})"), MapSize{32, 16}),
              Contains("Blur"));
  EXPECT_THAT(phasesOf(withBackground(R"({"type": "sunSky", "blur": 4})", R"(, "quality": "plain")"),
                       MapSize{32, 16}),
              Contains("Blur"));
}

TEST_F(SessionPhases, AForgottenBackgroundIsPreparedAnew) {
  phasesOf(withBackground(kSky));
  session.forgetBackground();
  EXPECT_THAT(phasesOf(withBackground(kSky)), Contains("Sun & Sky"));
}

TEST_F(SessionPhases, APictureThatHasChangedIsReadAgain) {
  namespace fs = std::filesystem;
  const fs::path copies = fs::temp_directory_path() / ("orvhdri_session_" + std::to_string(::getpid()));
  fs::create_directories(copies);
  fs::copy_file(kExamples + "/venice.exr", copies / "a.exr", fs::copy_options::overwrite_existing);
  folder = copies.string();
  const std::string text = withBackground(R"({"type": "image", "path": "a.exr"})");
  EXPECT_THAT(phasesOf(text), Contains("Image Adjustments"));
  EXPECT_THAT(phasesOf(text), Not(Contains("Image Adjustments")));
  fs::copy_file(kExamples + "/forest.exr", copies / "a.exr", fs::copy_options::overwrite_existing);
  EXPECT_THAT(phasesOf(text), Contains("Image Adjustments"));
  fs::remove_all(copies);
}

TEST_F(SessionPhases, AMissingPictureIsToldOfEachTime) {
  const Scene scene = parseScene(withBackground(R"({"type": "image", "path": "none.exr"})"), "s.json");
  const PaintOptions options{.folder = kExamples, .size = MapSize{16, 8}};
  for (int i = 0; i < 2; ++i) {
    const PaintResult result = session.paint(scene, options);
    EXPECT_TRUE(result.fellBack);
    EXPECT_THAT(result.messages, Contains(HasSubstr("none.exr: there is no such file")));
  }
}

TEST_F(SessionPhases, AMapOutlivesItsSession) {
  const Scene scene = parseScene(withBackground(kWhite), "s.json");
  std::shared_ptr<hdri::EnvImage> map;
  {
    Session shortLived;
    map = shortLived.paint(scene, {.size = MapSize{16, 8}}).map;
  }
  for (const hdri::Rgb& pixel : map->pixels) ASSERT_EQ(pixel.r, 1.0f);
}

TEST_F(SessionPhases, ASceneThatCanNotBePaintedLeavesTheSessionUsable) {
  const Scene scene = parseScene(withBackground(kWhite, R"(, "sizeFromImage": "none.exr")"), "s.json");
  EXPECT_THROW(session.paint(scene, {.folder = kExamples}), FileError);
  EXPECT_FALSE(session.paint(scene, {.folder = kExamples, .size = MapSize{16, 8}}).fellBack);
}

/// Pixels that differ everywhere.
std::vector<float> anyPixels(std::size_t count, float factor) {
  std::vector<float> rgb(count);
  for (std::size_t i = 0; i < count; ++i) rgb[i] = factor * static_cast<float>(i % 251);
  return rgb;
}

/// Images from memory, beside files with the same pixels.
class SessionImages : public SessionPhases {
 protected:
  void SetUp() override { std::filesystem::create_directories(copies); }
  void TearDown() override { std::filesystem::remove_all(copies); }

  /// Writes a portable float map, whose rows begin at the bottom.
  void write(const std::string& name, const std::vector<float>& rgb, int width, int height) const {
    std::ofstream file(copies / name, std::ios::binary);
    file << "PF\n" << width << ' ' << height << "\n-1.0\n";
    const auto row = static_cast<std::size_t>(3 * width);
    for (auto y = static_cast<std::size_t>(height); y-- > 0;)
      file.write(reinterpret_cast<const char*>(&rgb[y * row]),
                 static_cast<std::streamsize>(row * sizeof(float)));
  }

  PaintResult paint(const std::string& text) {
    return session.paint(parseScene(text, "s.json"), {.folder = copies.string()});
  }

  const std::filesystem::path copies =
      std::filesystem::temp_directory_path() / ("orvhdri_session_" + std::to_string(::getpid()));
};

TEST_F(SessionImages, FromMemoryPaintWhatTheirFilesPaint) {
  const std::vector<float> rgb = anyPixels(3 * 60 * 30, 0.01f);
  write("a.pfm", rgb, 60, 30);
  session.addImage("memory:a", rgb.data(), 60, 30);
  const auto scene = [](const std::string& path) {
    return withBackground(
        R"({"type": "image", "path": ")" + path +
            R"(", "blur": 5, "rotation": {"azimuth": 40, "tilt": 20}, "layout": "blender"})",
        R"(, "size": [96, 48], "pins": [{)" + kCircle + R"(, "fill": {"type": "image", "path": ")" + path +
            R"("}}])");
  };
  const PaintResult ofFile = paint(scene("a.pfm"));
  const PaintResult ofMemory = paint(scene("memory:a"));
  EXPECT_THAT(ofMemory.messages, IsEmpty());
  EXPECT_TRUE(sameBytes(*ofFile.map, *ofMemory.map));
}

TEST_F(SessionImages, GiveTheMapItsSize) {
  const std::vector<float> rgb = anyPixels(3 * 20 * 10, 1);
  session.addImage("memory:a", rgb.data(), 20, 10);
  const PaintResult painted = paint(withBackground(kWhite, R"(, "sizeFromImage": "memory:a")"));
  EXPECT_EQ(painted.map->width, 20);
  EXPECT_EQ(painted.map->height, 10);
}

TEST_F(SessionImages, ThatWereReplacedArePaintedAnew) {
  const std::string scene = withBackground(R"({"type": "image", "path": "memory:a"})", R"(, "size": [8, 4])");
  session.addImage("memory:a", std::vector<float>(96, 1.0f).data(), 8, 4);
  EXPECT_EQ(paint(scene).map->pixels[0].r, 1.0f);
  session.addImage("memory:a", std::vector<float>(96, 2.0f).data(), 8, 4);
  EXPECT_EQ(paint(scene).map->pixels[0].r, 2.0f);
  EXPECT_TRUE(session.removeImage("memory:a"));
  EXPECT_FALSE(session.removeImage("memory:a"));
  const PaintResult without = paint(scene);
  EXPECT_TRUE(without.fellBack);
  EXPECT_THAT(without.messages, Contains(HasSubstr("memory:a: there is no image of that name in memory")));
}

TEST_F(SessionImages, ThatAreTheSameAreNotPreparedAgain) {
  session.addImage("memory:a", anyPixels(96, 1).data(), 8, 4);
  const std::string scene = withBackground(R"({"type": "image", "path": "memory:a"})");
  EXPECT_THAT(phasesOf(scene), Contains("Image Adjustments"));
  session.addImage("memory:b", anyPixels(96, 1).data(), 8, 4);
  EXPECT_THAT(phasesOf(scene), Not(Contains("Image Adjustments")));
}

TEST_F(SessionImages, NeedANameAndASize) {
  const std::vector<float> rgb = anyPixels(96, 1);
  EXPECT_THROW(session.addImage("a.exr", rgb.data(), 8, 4), FileError);
  EXPECT_THROW(session.addImage("memory:a", rgb.data(), 0, 4), FileError);
}

TEST_F(SessionPhases, ACancelledPaintThrowsAndTheNextIsRight) {
  const std::string sky = R"({"type": "sunSky", "blur": 3, "rotation": {"azimuth": 20, "tilt": 5}})";
  const std::string pin = "{" + kCircle + R"(, "fill": )" + kWhite + "}";
  const Scene scene = parseScene(withBackground(sky, ", \"pins\": [" + pin + "]"), "s.json");
  const PaintOptions plain{.size = MapSize{64, 32}};
  const PaintResult expected = paintFresh(scene, plain);
  for (const char* last : {"Sun & Sky", "Sun & Sky Adjustments", "Blur", "Tilt", "Painting Pins"}) {
    Session fresh;
    std::atomic<bool> cancel{false};
    PaintOptions options = plain;
    options.cancel = &cancel;
    options.progress = [&](const char* phase, double) {
      if (std::string(phase) == last) cancel = true;
    };
    EXPECT_THROW(fresh.paint(scene, options), PaintCancelled) << last;
    const PaintResult next = fresh.paint(scene, plain);
    EXPECT_TRUE(sameBytes(*next.map, *expected.map)) << last;
    EXPECT_THAT(next.messages, IsEmpty()) << last;
  }
}

TEST_F(SessionPhases, AFlagThatIsSetAlreadyCancelsEachKindOfScene) {
  const std::atomic<bool> cancel{true};
  const PaintOptions options{.fileName = "s.json", .folder = kExamples, .cancel = &cancel};
  for (const std::string& text : {withBackground(kWhite), withBackground(kSky),
                                  withBackground(R"({"type": "image", "path": "venice.exr"})"),
                                  withBackground(kWhite, R"(, "sizeFromImage": "venice.exr")")}) {
    try {
      session.paint(parseScene(text, "s.json"), options);
      ADD_FAILURE() << text;
    } catch (const PaintCancelled& cancelled) {
      EXPECT_STREQ(cancelled.what(), "s.json: the paint was cancelled");
    }
  }
}

TEST_F(SessionPhases, ABackgroundThatWasReadyIsKeptWhenThePinsAreCancelled) {
  std::atomic<bool> cancel{false};
  PaintOptions options{.size = MapSize{64, 32}, .cancel = &cancel};
  options.progress = [&](const char* phase, double) { cancel = std::string(phase) == "Painting Pins"; };
  EXPECT_THROW(session.paint(parseScene(withBackground(kSky), "s.json"), options), PaintCancelled);
  EXPECT_THAT(phasesOf(withBackground(kSky)), testing::ElementsAre("Painting Pins"));
}

TEST(Sessions, InSeveralThreadsHearOfTheirOwnScenesAlone) {
  const auto paintOften = [](const std::string& picture, std::vector<std::string>* heard) {
    Session session;
    const Scene scene =
        parseScene(withBackground(R"({"type": "image", "path": ")" + picture + "\"}"), "s.json");
    for (int i = 0; i < 50; ++i) {
      const PaintResult result = session.paint(scene, {.folder = kExamples, .size = MapSize{32, 16}});
      heard->insert(heard->end(), result.messages.begin(), result.messages.end());
    }
  };
  std::vector<std::string> ofMissing, ofVenice;
  std::thread other(paintOften, "none.exr", &ofMissing);
  paintOften("venice.exr", &ofVenice);
  other.join();
  EXPECT_EQ(ofMissing.size(), 150u) << "three lines for each";
  EXPECT_THAT(ofVenice, IsEmpty());
}

}  // namespace
}  // namespace orv::scene
