#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "hdri/Brush.h"
#include "hdri/GradientBrush.h"
#include "hdri/PinParams.h"
#include "hdri/Pixel.h"
#include "hdri/SunSkyBrush.h"
#include "scene/keys.h"

namespace orv::scene {

// A scene as its file holds it: angles are degrees, longitudes grow to the right with 0 at the middle column,
// latitudes grow upward, colours are scene-linear. Plain values; equality is exact. Beside each object stand
// its keys: a new key is a line there, the member that it fills, and the use of that.

/// Limits of a map's size.
inline constexpr int kMaxSide = 65536;
inline constexpr std::int64_t kMaxPixels = std::int64_t{1} << 29;

struct MapSize {
  int width = 2048;   ///< pixels, 1 to `kMaxSide`
  int height = 1024;  ///< pixels, 1 to `kMaxSide`; at most `kMaxPixels` in all
  friend bool operator==(const MapSize&, const MapSize&) = default;
};

inline constexpr auto kTint = [](auto& of) { return std::tie(of.tintRed, of.tintGreen, of.tintBlue); };

inline constexpr auto kAdjustmentKeys =
    keys("an adjustment",  //
         key("brightness", Number::any(), &hdri::Adjustments::brightness),
         key("exposure", Exposure{}, &hdri::Adjustments::brightness),
         key("gamma", Number::above(0), &hdri::Adjustments::gamma),
         key("hue", Number::within(0, 1), &hdri::Adjustments::hueShift),
         key("saturation", Number::within(-1, 1), &hdri::Adjustments::saturation),
         key("tint", Color{}, kTint), key("temperature", Temperature{}, kTint, Need::optional, "tint"));

/// Rotation of the sphere: what lies `azimuth` to the right of the map's centre comes to its centre.
struct Rotation {
  float azimuth = 0;
  float tilt = 0;
  friend bool operator==(const Rotation&, const Rotation&) = default;
};

inline constexpr auto kRotationKeys = keys("a rotation",  //
                                           key("azimuth", Number::azimuth(), &Rotation::azimuth),
                                           key("tilt", Number::within(-180, 180), &Rotation::tilt));

/// What is done to a map before it becomes the background.
struct MapChanges {
  float blur = 0;  ///< percent-like
  Rotation rotation;
  friend bool operator==(const MapChanges&, const MapChanges&) = default;
};

inline constexpr auto kMapChangeKeys = keys("a map",  //
                                            key("blur", Number::atLeast(0), &MapChanges::blur),
                                            key("rotation", Object{kRotationKeys}, &MapChanges::rotation));

inline constexpr auto kStopKeys =
    keys("a stop",  //
         key("position", Number::any(), &hdri::GradientStop::position, Need::required),
         key("color", Color{}, kRgb, Need::required, {}, "temperature"),
         key("temperature", Temperature{}, kRgb, Need::optional, "color"),
         key("intensity", Number::any(), &hdri::GradientStop::intensity),
         key("slopeIn", Number::any(), &hdri::GradientStop::slopeIn),
         key("slopeOut", Number::any(), &hdri::GradientStop::slopeOut));

inline constexpr auto kOpacityStopKeys =
    keys("an opacity stop",  //
         key("position", Number::any(), &hdri::CurveStop::position, Need::required),
         key("value", Number::any(), &hdri::CurveStop::value, Need::required),
         key("slopeIn", Number::any(), &hdri::CurveStop::slopeIn),
         key("slopeOut", Number::any(), &hdri::CurveStop::slopeOut));

inline constexpr auto kSkyKeys =
    keys("a sky",  //
         key("turbidity", Number::within(1, 10), &hdri::SkySettings::turbidity),
         key("ozone", Number::within(0, 3), &hdri::SkySettings::ozone),
         key("groundAlbedo", Number::within(0, 1), &hdri::SkySettings::groundAlbedo),
         key("skyIntensity", Number::atLeast(0), &hdri::SkySettings::skyIntensity),
         key("sunIntensity", Number::atLeast(0), &hdri::SkySettings::sunIntensity),
         key("sunSize", Number::within(0.1, 30), &hdri::SkySettings::sunSize),
         key("latitude", Number::within(-90, 90), &hdri::SkySettings::latitude),
         key("longitude", Number::within(-180, 180), &hdri::SkySettings::longitude),
         key("hours", Number::within(0, 24), &hdri::SkySettings::hours),
         key("dayOfYear", Integer{1, 366}, &hdri::SkySettings::dayOfYear),
         key("timeZone", Number::within(-12, 14), &hdri::SkySettings::timeZone),
         key("northOffset", Number::azimuth(), &hdri::SkySettings::northOffset));

inline constexpr auto kSunKeys =
    keys("a sun",  //
         key("azimuth", Number::azimuth(), &hdri::SkySettings::sunAzimuth, Need::required),
         key("elevation", Number::within(-90, 90), &hdri::SkySettings::sunElevation, Need::required));

// What a background or a fill is painted with; what only one of them can be is named after it.
struct ColorPaint {
  hdri::Rgb color{1, 1, 1};
  float brightness = 1;
  friend bool operator==(const ColorPaint&, const ColorPaint&) = default;
};

inline constexpr auto kPaintColor = [](auto& of) { return kRgb(of.color); };

inline constexpr auto kColorKeys =
    keys("color",  //
         key("brightness", Number::any(), &ColorPaint::brightness),
         key("exposure", Exposure{}, &ColorPaint::brightness),
         key("color", Color{}, kPaintColor, Need::required, {}, "temperature"),
         key("temperature", Temperature{}, kPaintColor, Need::optional, "color"));

struct GradientPaint {
  std::vector<hdri::GradientStop> stops;  ///< ascending positions; white when empty
  hdri::Adjustments adjustments;
  friend bool operator==(const GradientPaint&, const GradientPaint&) = default;
};

inline constexpr auto kGradientKeys =
    keys("gradient", Inlined{kAdjustmentKeys, &GradientPaint::adjustments},
         key("stops", Array{kStopKeys, "stops", "position", &hdri::GradientStop::position},
             &GradientPaint::stops));

struct GradientFill {
  GradientPaint gradient;
  std::vector<hdri::CurveStop> opacity;  ///< ascending positions; opaque when empty
  float angle = 0;                       ///< direction inside a pin
  friend bool operator==(const GradientFill&, const GradientFill&) = default;
};

inline constexpr auto kGradientFillKeys =
    keys("gradient", Inlined{kGradientKeys, &GradientFill::gradient},
         key("opacity", Array{kOpacityStopKeys, "stops", "position", &hdri::CurveStop::position},
             &GradientFill::opacity),
         key("angle", Number::any(), &GradientFill::angle));

struct SunSkyBackground {
  hdri::SkySettings settings;
  hdri::Adjustments adjustments;
  MapChanges map;
  friend bool operator==(const SunSkyBackground&, const SunSkyBackground&) = default;
};

inline constexpr auto kSunSkyKeys =
    keys("sunSky", Inlined{kAdjustmentKeys, &SunSkyBackground::adjustments},
         Inlined{kMapChangeKeys, &SunSkyBackground::map},  //
         key("sky", Object{kSkyKeys}, &SunSkyBackground::settings),
         key("sun", Object{kSunKeys, &hdri::SkySettings::sunFromAngles}, &SunSkyBackground::settings));

struct ImageBackground {
  std::string path;  ///< UTF-8, as the scene gives it: relative to the scene file's folder
  hdri::Adjustments adjustments;
  MapChanges map;
  Layout layout = Layout::native;  ///< how the picture lies
  friend bool operator==(const ImageBackground&, const ImageBackground&) = default;
};

inline constexpr auto kImageBackgroundKeys =
    keys("image", Inlined{kAdjustmentKeys, &ImageBackground::adjustments},
         Inlined{kMapChangeKeys, &ImageBackground::map},  //
         key("path", kPath, &ImageBackground::path, Need::required),
         key("layout", Name{kNames<Layout>}, &ImageBackground::layout));

struct ImageFill {
  std::string path;  ///< as a background's
  hdri::Adjustments adjustments;
  friend bool operator==(const ImageFill&, const ImageFill&) = default;
};

inline constexpr auto kImageFillKeys = keys("image", Inlined{kAdjustmentKeys, &ImageFill::adjustments},
                                            key("path", kPath, &ImageFill::path, Need::required));

/// The map's own background: what lies at longitude `turn` and latitude `tilt` comes to the map's centre.
struct BackgroundFill {
  float turn = 0;
  float tilt = 0;
  hdri::Adjustments adjustments;
  friend bool operator==(const BackgroundFill&, const BackgroundFill&) = default;
};

inline constexpr auto kBackgroundFillKeys = keys(
    "background", Inlined{kAdjustmentKeys, &BackgroundFill::adjustments},
    key("turn", Number::azimuth(), &BackgroundFill::turn), key("tilt", Number::any(), &BackgroundFill::tilt));

/// How the whole sphere is painted.
struct Background {
  std::variant<ColorPaint, GradientPaint, SunSkyBackground, ImageBackground> paint;
  friend bool operator==(const Background&, const Background&) = default;
};

inline constexpr auto kBackgroundPaint =
    choice("type", "background", &Background::paint, {"background", "can not be the background"}, kColorKeys,
           kGradientKeys, kSunSkyKeys, kImageBackgroundKeys);
inline constexpr auto kBackgroundKeys =
    keys("a brush", Tag{kBackgroundPaint}, Alternatives{kBackgroundPaint});

/// How the inside of a pin is painted.
struct Fill {
  hdri::BlendMode mode = hdri::BlendMode::mix;
  std::variant<ColorPaint, GradientFill, ImageFill, BackgroundFill> paint;
  friend bool operator==(const Fill&, const Fill&) = default;
};

inline constexpr auto kFillPaint = choice("type", "fill", &Fill::paint, {"sunSky", "can not fill a pin"},
                                          kColorKeys, kGradientFillKeys, kImageFillKeys, kBackgroundFillKeys);
inline constexpr auto kFillKeys =
    keys("a brush", Tag{kFillPaint}, key("mode", Name{kNames<hdri::BlendMode>}, &Fill::mode),
         Alternatives{kFillPaint});

struct CircleShape {
  float radius = 10;
  hdri::Falloff falloff = hdri::Falloff::solid;
  friend bool operator==(const CircleShape&, const CircleShape&) = default;
};

inline constexpr auto kCircleKeys =
    keys("circle",  //
         key("radius", Number::above(0).to(180), &CircleShape::radius, Need::required),
         key("falloff", Name{kNames<hdri::Falloff>, kOfCircle, "is not a falloff of a circle"},
             &CircleShape::falloff));

struct RectShape {
  float halfWidth = 10;
  float halfHeight = 10;
  float cornerRadius = 0;
  hdri::Falloff falloff = hdri::Falloff::solid;
  friend bool operator==(const RectShape&, const RectShape&) = default;
};

inline constexpr auto kRectKeys = keys(
    "rect",  //
    key("halfWidth", Number::above(0).below(90), &RectShape::halfWidth, Need::required),
    key("halfHeight", Number::above(0).below(90), &RectShape::halfHeight, Need::required),
    key("cornerRadius", Number::atLeast(0), &RectShape::cornerRadius),
    key("falloff", Name{kNames<hdri::Falloff>, kOfRect, "is not a falloff of a rect"}, &RectShape::falloff));

/// What people say of an object in its `comment`.
struct Comment {
  std::string path;  ///< of the object as seen from the one that keeps it: `fill.stops[1]`; empty: that one
  std::string text;
  friend bool operator==(const Comment&, const Comment&) = default;
};

struct ScenePin {
  std::string name;  ///< for people; empty when the pin has none
  bool enabled = true;
  std::variant<CircleShape, RectShape> shape;
  float azimuth = 0;    ///< longitude of the centre
  float elevation = 0;  ///< latitude of the centre
  float rotation = 0;   ///< about the centre
  bool half = false;    ///< keep only the positive side of the second axis
  float falloffAmount = 0.5f;
  Fill fill;
  std::vector<Comment> comments;  ///< of the pin and the objects in it
  friend bool operator==(const ScenePin&, const ScenePin&) = default;
};

inline constexpr auto kPinShape = choice("shape", "pin", &ScenePin::shape, {}, kCircleKeys, kRectKeys);
inline constexpr auto kPinKeys =
    keys("a pin",                                                                           //
         key("name", Text{}, &ScenePin::name), key("enabled", Flag{}, &ScenePin::enabled),  //
         Tag{kPinShape}, key("azimuth", Number::azimuth(), &ScenePin::azimuth, Need::required),
         key("elevation", Number::within(-90, 90), &ScenePin::elevation, Need::required),
         key("rotation", Number::any(), &ScenePin::rotation), key("half", Flag{}, &ScenePin::half),  //
         Alternatives{kPinShape}, key("falloffAmount", Number::atLeast(0), &ScenePin::falloffAmount),
         key("fill", Object{kFillKeys}, &ScenePin::fill, Need::required));

struct Scene {
  int version = 1;
  Quality quality = Quality::light;
  MapSize size;
  std::string sizeFromImage;  ///< path of the image whose size is taken instead of `size`; empty for none
  bool smoothing = true;
  Background background;
  std::vector<ScenePin> pins;     ///< laid over the background in this order
  std::string view;               ///< tools' own state: the JSON text of an object, or empty
  std::string schema;             ///< `$schema`: what editors check the file with; empty for none
  std::vector<Comment> comments;  ///< of the scene and the objects in it that are in no pin
  friend bool operator==(const Scene&, const Scene&) = default;
};

inline constexpr auto kSceneKeys =
    keys("a scene",                               //
         key("$schema", Text{}, &Scene::schema),  //
         key("version", Integer{1, 1}, &Scene::version, Need::required),
         key("quality", Name{kNames<Quality>}, &Scene::quality),
         key("size", Size{}, &Scene::size, Need::alwaysWritten),
         key("sizeFromImage", kPath, &Scene::sizeFromImage, Need::optional, "size"),
         key("smoothing", Flag{}, &Scene::smoothing),
         key("background", Object{kBackgroundKeys}, &Scene::background, Need::required),
         key("pins", Array<decltype(kPinKeys), ScenePin>{kPinKeys, "pins"}, &Scene::pins),  //
         key("view", FreeObject{}, &Scene::view));

/// Whether a path names an image that the session was given from memory (`Session::addImage`).
inline bool isInMemory(std::string_view path) { return path.starts_with("memory:"); }

/// `path` as seen from the working directory when the scene file lies in `folder`. An absolute path stands
/// for itself, and so does the name of an image from memory.
inline std::string resolvePath(const std::string& folder, const std::string& path) {
  if (isInMemory(path)) return path;
  return (std::filesystem::path(folder) / path).string();
}

/// How messages name a pin: `pins[2] "rim"`, or `pins[2]` without a name.
inline std::string pinLabel(const Scene& scene, std::size_t index) {
  const std::string& name = scene.pins[index].name;
  return "pins[" + std::to_string(index) + (name.empty() ? "]" : "] \"" + name + "\"");
}

}  // namespace orv::scene
