#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>

#include "commands.h"
#include "console.h"
#include "orvrender/printable_text.h"
#include "scene/SceneDocument.h"
#include "scene/info_json.h"
#include "scene/json_tree.h"
#include "scene/map_info.h"
#include "scene/read_scene.h"
#include "scene/scene_info.h"

namespace orvpaint {
namespace {

namespace hdri = orv::hdri;
namespace scene = orv::scene;

/// Numbers as people read them: six digits at most.
std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string rgbText(const std::array<double, 3>& rgb) {
  std::string text = "[";
  return text.append(number(rgb[0])).append(", ").append(number(rgb[1])).append(", ").append(number(rgb[2])) +
         "]";
}

std::string line(std::string_view label, const std::string& value) {
  std::string text = orv::printableText(label);
  text.append(text.size() < 14 ? 14 - text.size() : 1, ' ');
  return text + orv::printableText(value) + "\n";
}

/// A share of the light, per cent.
std::string shareText(const std::optional<double>& share) {
  if (!share) return {};
  char text[48];
  std::snprintf(text, sizeof text, ", %.3g %% of the light", 100 * *share);
  return text;
}

/// The pictures of a scene, by the places of their paths in it.
class Pictures {
 public:
  explicit Pictures(const scene::SceneInfo& info) : info_(info) {}

  std::string note(const std::string& place, const std::string& path) const {
    std::string text = scene::quotedText(path);
    for (const scene::PictureInfo& picture : info_.pictures) {
      if (picture.place != place) continue;
      if (!picture.found) return text + " (not found)";
      if (!picture.error.empty()) return text.append(" (").append(picture.error).append(")");
      return text.append(" (").append(sizeText(picture.width, picture.height)).append(")");
    }
    return text;
  }

  static std::string sizeText(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
  }

 private:
  const scene::SceneInfo& info_;
};

/// What a brush is painted with.
struct PaintText {
  const Pictures& pictures;
  const std::string& place;  ///< the brush's

  std::string operator()(const scene::ColorPaint& paint) const {
    const auto& [r, g, b] = paint.color;
    return std::string(" ")
        .append(rgbText({static_cast<double>(r), static_cast<double>(g), static_cast<double>(b)}))
        .append(brightnessText(paint.brightness));
  }
  std::string operator()(const scene::GradientFill& fill) const { return (*this)(fill.gradient); }
  template <typename Paint>
  std::string operator()(const Paint& paint) const {
    std::string text;
    if constexpr (requires { paint.stops; })
      text.append(" of ").append(std::to_string(paint.stops.size())).append(" stops");
    if constexpr (requires { paint.path; })
      text.append(" ").append(pictures.note(place + ".path", paint.path));
    text += brightnessText(paint.adjustments.brightness);
    if constexpr (requires { paint.layout; })
      if (paint.layout != scene::Layout::native) text.append(", layout ").append(scene::nameOf(paint.layout));
    if constexpr (requires { paint.map; }) text += changesText(paint.map);
    return text;
  }

 private:
  static std::string brightnessText(float brightness) {
    std::string text;
    if (brightness != 1.0f) text.append(", brightness ").append(number(static_cast<double>(brightness)));
    return text;
  }
  static std::string changesText(const scene::MapChanges& map) {
    const auto& [azimuth, tilt] = map.rotation;
    std::string text;
    if (map.blur != 0.0f) text.append(", blur ").append(number(static_cast<double>(map.blur)));
    if (azimuth == 0.0f && tilt == 0.0f) return text;
    return text.append(", rotation ")
        .append(number(static_cast<double>(azimuth)))
        .append("/")
        .append(number(static_cast<double>(tilt)));
  }
};

/// `choice` is the one of the background's or the fill's type.
template <typename Choice, typename Brush>
std::string brushText(const Choice& choice, const Brush& brush, const std::string& place,
                      const Pictures& pictures) {
  return std::string(choice.nameOf(brush)) + std::visit(PaintText{pictures, place}, brush.paint);
}

struct ShapeText {
  std::string operator()(const scene::CircleShape& circle) const {
    return std::string("radius ").append(number(static_cast<double>(circle.radius)));
  }
  std::string operator()(const scene::RectShape& rect) const {
    std::string text = number(static_cast<double>(rect.halfWidth));
    return text.append(" x ").append(number(static_cast<double>(rect.halfHeight)));
  }
};

std::string pinText(const scene::ScenePin& pin, std::size_t index, const scene::PinInfo& info,
                    const Pictures& pictures) {
  const hdri::Falloff falloff = std::visit([](const auto& shape) { return shape.falloff; }, pin.shape);
  std::string text(scene::kPinShape.nameOf(pin));
  text +=
      " at " + number(static_cast<double>(pin.azimuth)) + "/" + number(static_cast<double>(pin.elevation));
  text.append(", ").append(std::visit(ShapeText(), pin.shape));
  text.append(", ").append(scene::nameOf(falloff)).append(", ").append(scene::nameOf(pin.fill.mode));
  text.append(" ").append(
      brushText(scene::kFillPaint, pin.fill, "pins[" + std::to_string(index) + "].fill", pictures));
  text.append(", ").append(number(info.solidAngle)).append(" sr");
  return pin.enabled ? text + shareText(info.share) : text + " (disabled)";
}

std::string sunText(const scene::SunInfo& sun, const hdri::SkySettings& sky) {
  std::string text = "at " + number(sun.azimuth) + "/" + number(sun.elevation);
  if (sky.sunFromAngles) return text + ", fixed";
  const auto minutes = static_cast<int>(std::lround(static_cast<double>(sky.hours) * 60));
  char time[96];
  std::snprintf(time, sizeof time, ", day %u, %02d:%02d, UTC%+g, latitude %g, longitude %g", sky.dayOfYear,
                minutes / 60, minutes % 60, static_cast<double>(sky.timeZone),
                static_cast<double>(sky.latitude), static_cast<double>(sky.longitude));
  return text + time;
}

std::string sceneText(const std::string& path, const scene::Scene& read, const scene::SceneInfo& info) {
  const Pictures pictures(info);
  std::string text = line("scene", scene::sceneName(path));
  std::string size = info.size ? Pictures::sizeText(info.size->width, info.size->height) : "not known";
  if (!read.sizeFromImage.empty())
    size.append(", of ").append(pictures.note("sizeFromImage", read.sizeFromImage));
  text += line("size", size);
  text += line("quality", std::string(scene::nameOf(read.quality)));
  text += line("smoothing", read.smoothing ? "on" : "off");
  text += line("background", brushText(scene::kBackgroundPaint, read.background, "background", pictures) +
                                 shareText(info.backgroundShare));
  if (info.sun)
    text +=
        line("sun", sunText(*info.sun, std::get<scene::SunSkyBackground>(read.background.paint).settings));
  for (std::size_t i = 0; i < read.pins.size(); ++i)
    text += line(scene::pinLabel(read, i), pinText(read.pins[i], i, info.pins[i], pictures));
  if (info.mean) text += line("mean", rgbText(*info.mean) + " over the sphere");
  if (!info.withoutShares.empty()) text += line("no shares", info.withoutShares);
  return text;
}

std::string mapText(const std::string& path, scene::Layout layout, const scene::MapInfo& info) {
  std::string text = line("map", path);
  text += line("size", Pictures::sizeText(info.width, info.height));
  text +=
      line("file", info.header.format + ", " + std::to_string(info.header.channels) + " channels, " +
                       info.header.pixelType +
                       (info.header.compression.empty() ? "" : ", compression " + info.header.compression));
  if (!info.header.software.empty()) text += line("software", info.header.software);
  if (!info.header.orientation.empty()) text += line("orientation", info.header.orientation);
  text += line("layout", std::string(scene::nameOf(layout)));
  text += line("mean", rgbText(info.mean) + " over the sphere");
  text += line("min", rgbText(info.least));
  text += line("max", rgbText(info.most));
  constexpr const char* kAxes[] = {"+X", "-X", "+Y", "-Y", "+Z", "-Z"};
  for (std::size_t axis = 0; axis < 6; ++axis)
    text += line(std::string("irradiance ") + kAxes[axis], rgbText(info.irradiance[axis]));
  text +=
      line("brightest", "luminance " + number(info.brightest) + " at longitude " +
                            number(info.brightestLongitude) + ", latitude " + number(info.brightestLatitude) +
                            shareText(info.brightestShare) + " within 5 degrees");
  text += line("range", number(info.stops) + " stops");
  text += line("pixels", std::to_string(info.nan) + " NaN, " + std::to_string(info.infinite) + " infinite, " +
                             std::to_string(info.negative) + " negative");
  return text;
}

/// What is told of a file; `status` becomes a failure's when a picture of a scene is not there.
std::string textOf(const std::string& path, const InfoArguments& arguments, ExitStatus& status) {
  if (!scene::looksLikeScene(path)) {
    const scene::MapInfo info = scene::readMapInfo(path, arguments.layout, arguments.maxImagePixels);
    return arguments.json ? scene::infoJson(path, arguments.layout, info) + "\n"
                          : mapText(path, arguments.layout, info);
  }
  const scene::Scene read = scene::readScene(path);
  const scene::SceneInfo info =
      scene::describeScene(read, std::filesystem::path(path).parent_path().string());
  if (!info.complete()) status = std::max(status, fileFailed);
  return arguments.json ? scene::infoJson(path, read, info) + "\n" : sceneText(path, read, info);
}

}  // namespace

ExitStatus info(const InfoArguments& arguments) {
  ExitStatus status = done;
  bool first = true;
  for (const std::string& path : arguments.files) {
    std::string text;
    const ExitStatus failed = tellErrors([&] { text = textOf(path, arguments, status); });
    status = std::max(status, failed);
    if (text.empty()) continue;
    printResult(first || arguments.json ? text : "\n" + text);
    first = false;
  }
  return status;
}

}  // namespace orvpaint
