#include <cstdio>
#include <filesystem>
#include <string_view>

#include "commands.h"
#include "console.h"
#include "orvrender/printable_text.h"
#include "scene/json_tree.h"
#include "scene/map_info.h"
#include "scene/read_scene.h"

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

std::string rgbText(double r, double g, double b) {
  std::string text = "[";
  return text.append(number(r)).append(", ").append(number(g)).append(", ").append(number(b)).append("]");
}

std::string line(std::string_view label, const std::string& value) {
  std::string text = orv::printableText(label);
  text.append(text.size() < 14 ? 14 - text.size() : 1, ' ');
  return text + orv::printableText(value) + "\n";
}

std::string imageNote(const std::string& folder, const std::string& path) {
  std::error_code error;
  const bool found = std::filesystem::exists(scene::resolvePath(folder, path), error);
  return scene::quotedText(path) + (found ? "" : " (not found)");
}

/// What a brush is painted with.
struct PaintText {
  const std::string& folder;

  std::string operator()(const scene::ColorPaint& paint) const {
    const auto& [r, g, b] = paint.color;
    return std::string(" ")
        .append(rgbText(static_cast<double>(r), static_cast<double>(g), static_cast<double>(b)))
        .append(brightnessText(paint.brightness));
  }
  std::string operator()(const scene::GradientFill& fill) const { return (*this)(fill.gradient); }
  template <typename Paint>
  std::string operator()(const Paint& paint) const {
    std::string text;
    if constexpr (requires { paint.stops; })
      text.append(" of ").append(std::to_string(paint.stops.size())).append(" stops");
    if constexpr (requires { paint.path; }) text.append(" ").append(imageNote(folder, paint.path));
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
std::string brushText(const Choice& choice, const Brush& brush, const std::string& folder) {
  return std::string(choice.nameOf(brush)) + std::visit(PaintText{folder}, brush.paint);
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

std::string pinText(const scene::ScenePin& pin, const std::string& folder) {
  const hdri::Falloff falloff = std::visit([](const auto& shape) { return shape.falloff; }, pin.shape);
  std::string text(scene::kPinShape.nameOf(pin));
  text +=
      " at " + number(static_cast<double>(pin.azimuth)) + "/" + number(static_cast<double>(pin.elevation));
  text.append(", ").append(std::visit(ShapeText(), pin.shape));
  text.append(", ").append(scene::nameOf(falloff)).append(", ").append(scene::nameOf(pin.fill.mode));
  text.append(" ").append(brushText(scene::kFillPaint, pin.fill, folder));
  return pin.enabled ? text : text + " (disabled)";
}

std::string sceneText(const std::string& path) {
  const scene::Scene read = scene::readScene(path);
  const std::string folder = std::filesystem::path(path).parent_path().string();
  std::string text = line("scene", path);
  text += line("size", read.sizeFromImage.empty()
                           ? std::to_string(read.size.width) + " x " + std::to_string(read.size.height)
                           : "of " + imageNote(folder, read.sizeFromImage));
  text += line("smoothing", read.smoothing ? "on" : "off");
  text += line("background", brushText(scene::kBackgroundPaint, read.background, folder));
  for (std::size_t i = 0; i < read.pins.size(); ++i)
    text += line(scene::pinLabel(read, i), pinText(read.pins[i], folder));
  return text;
}

std::string mapText(const std::string& path, scene::Layout layout, std::uint64_t maxImagePixels) {
  const scene::MapInfo info = scene::readMapInfo(path, layout, maxImagePixels);
  std::string text = line("map", path);
  text += line("size", std::to_string(info.width) + " x " + std::to_string(info.height));
  text +=
      line("file", info.header.format + ", " + std::to_string(info.header.channels) + " channels, " +
                       info.header.pixelType +
                       (info.header.compression.empty() ? "" : ", compression " + info.header.compression));
  if (!info.header.software.empty()) text += line("software", info.header.software);
  if (!info.header.orientation.empty()) text += line("orientation", info.header.orientation);
  text += line("mean", rgbText(info.mean[0], info.mean[1], info.mean[2]) + " over the sphere");
  text +=
      line("brightest", "luminance " + number(info.brightest) + " at longitude " +
                            number(info.brightestLongitude) + ", latitude " + number(info.brightestLatitude));
  return text;
}

}  // namespace

ExitStatus info(const std::string& file, scene::Layout layout, std::uint64_t maxImagePixels) {
  printResult(scene::looksLikeScene(file) ? sceneText(file) : mapText(file, layout, maxImagePixels));
  return done;
}

}  // namespace orvpaint
