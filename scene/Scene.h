#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "hdri/Brush.h"
#include "hdri/GradientBrush.h"
#include "hdri/PinParams.h"
#include "hdri/Pixel.h"
#include "hdri/SunSkyBrush.h"

namespace orv::scene {

// A scene as its file holds it: angles are degrees, longitudes grow to the right with 0 at the middle column,
// latitudes grow upward, colours are scene-linear. Plain values; equality is exact.

/// Limits of a map's size.
inline constexpr int kMaxSide = 65536;
inline constexpr std::int64_t kMaxPixels = std::int64_t{1} << 29;

struct MapSize {
  int width = 2048;   ///< pixels, 1 to `kMaxSide`
  int height = 1024;  ///< pixels, 1 to `kMaxSide`; at most `kMaxPixels` in all

  friend bool operator==(const MapSize&, const MapSize&) = default;
};

struct ColorPaint {
  hdri::Rgb color{1, 1, 1};

  friend bool operator==(const ColorPaint&, const ColorPaint&) = default;
};

struct GradientPaint {
  std::vector<hdri::GradientStop> stops;  ///< ascending positions; white when empty
  std::vector<hdri::CurveStop> opacity;   ///< ascending positions; opaque when empty; fills only
  float angle = 0;                        ///< direction inside a pin; fills only

  friend bool operator==(const GradientPaint&, const GradientPaint&) = default;
};

struct SunSkyPaint {
  hdri::SkySettings settings;

  friend bool operator==(const SunSkyPaint&, const SunSkyPaint&) = default;
};

struct ImagePaint {
  std::string path;  ///< UTF-8, as the scene gives it: relative to the scene file's folder

  friend bool operator==(const ImagePaint&, const ImagePaint&) = default;
};

struct BackgroundPaint {
  float turn = 0;
  float tilt = 0;

  friend bool operator==(const BackgroundPaint&, const BackgroundPaint&) = default;
};

/// How the background or the inside of a pin is painted.
struct SceneBrush {
  std::variant<ColorPaint, GradientPaint, SunSkyPaint, ImagePaint, BackgroundPaint> paint;
  hdri::BlendMode mode = hdri::BlendMode::mix;  ///< fills only
  hdri::Adjustments adjustments;                ///< of a colour, the brightness alone
  float blur = 0;                               ///< percent-like; image and sunSky backgrounds only
  float rotationAzimuth = 0;                    ///< 0 to 360; image and sunSky backgrounds only
  float rotationTilt = 0;                       ///< -180 to 180; image and sunSky backgrounds only

  hdri::BrushKind kind() const;

  friend bool operator==(const SceneBrush&, const SceneBrush&) = default;
};

struct CircleShape {
  float radius = 10;  ///< (0, 180]

  friend bool operator==(const CircleShape&, const CircleShape&) = default;
};

struct RectShape {
  float halfWidth = 10;    ///< (0, 90)
  float halfHeight = 10;   ///< (0, 90)
  float cornerRadius = 0;  ///< at least 0

  friend bool operator==(const RectShape&, const RectShape&) = default;
};

struct ScenePin {
  std::string name;  ///< for people; empty when the pin has none
  bool enabled = true;
  std::variant<CircleShape, RectShape> shape;
  float azimuth = 0;    ///< longitude of the centre, [-180, 180]
  float elevation = 0;  ///< latitude of the centre, [-90, 90]
  float rotation = 0;   ///< about the centre
  bool half = false;    ///< keep only the positive side of the second axis
  hdri::Falloff falloff = hdri::Falloff::solid;
  float falloffAmount = 0.5f;  ///< at least 0
  SceneBrush fill;

  friend bool operator==(const ScenePin&, const ScenePin&) = default;
};

struct Scene {
  MapSize size;
  std::string sizeFromImage;  ///< path of the image whose size is taken instead of `size`; empty for none
  bool smoothing = true;
  SceneBrush background;
  std::vector<ScenePin> pins;  ///< laid over the background in this order
  std::string view;            ///< tools' own state: the JSON text of an object, or empty

  friend bool operator==(const Scene&, const Scene&) = default;
};

/// `path` as seen from the working directory when the scene file lies in `folder`.
std::string resolvePath(const std::string& folder, const std::string& path);

/// How messages name a pin: `pins[2] "rim"`, or `pins[2]` without a name.
std::string pinLabel(const Scene& scene, std::size_t index);

}  // namespace orv::scene
