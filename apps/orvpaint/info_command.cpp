#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "commands.h"
#include "console.h"
#include "scene/json_tree.h"
#include "scene/map_info.h"
#include "scene/read_scene.h"
#include "scene/scene_names.h"

namespace orvpaint {
namespace {

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
  std::string text(label);
  text.append(text.size() < 14 ? 14 - text.size() : 1, ' ');
  return text + value + "\n";
}

/// A scene starts with a brace, after spaces and comments; every picture with other bytes.
bool looksLikeScene(const std::string& path) {
  if (std::filesystem::path(path).extension() == ".json") return true;
  std::ifstream file(path, std::ios::binary);
  char buffer[256] = {};
  file.read(buffer, sizeof buffer);
  const std::string_view start(buffer, static_cast<std::size_t>(file.gcount()));
  const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != std::string_view::npos &&
         (start[first] == '{' || start.substr(first, 2) == "//" || start.substr(first, 2) == "/*");
}

std::string imageNote(const std::string& folder, const std::string& path) {
  std::error_code error;
  const bool found = std::filesystem::exists(scene::resolvePath(folder, path), error);
  return scene::quotedText(path) + (found ? "" : " (not found)");
}

std::string paintText(const scene::SceneBrush& brush, const std::string& folder) {
  std::string type(scene::kBrushTypes.nameOf(brush.kind()));
  if (const auto* color = std::get_if<scene::ColorPaint>(&brush.paint)) {
    const auto& [r, g, b] = color->color;
    return type + " " + rgbText(static_cast<double>(r), static_cast<double>(g), static_cast<double>(b));
  }
  if (const auto* gradient = std::get_if<scene::GradientPaint>(&brush.paint))
    return type + " of " + std::to_string(gradient->stops.size()) + " stops";
  if (const auto* image = std::get_if<scene::ImagePaint>(&brush.paint))
    return type + " " + imageNote(folder, image->path);
  return type;
}

std::string brushText(const scene::SceneBrush& brush, const std::string& folder) {
  std::string text = paintText(brush, folder);
  if (brush.adjustments.brightness != 1.0f)
    text += ", brightness " + number(static_cast<double>(brush.adjustments.brightness));
  if (brush.blur != 0.0f) text += ", blur " + number(static_cast<double>(brush.blur));
  if (brush.rotationAzimuth != 0.0f || brush.rotationTilt != 0.0f)
    text += ", rotation " + number(static_cast<double>(brush.rotationAzimuth)) + "/" +
            number(static_cast<double>(brush.rotationTilt));
  return text;
}

std::string pinText(const scene::ScenePin& pin, const std::string& folder) {
  const bool circle = std::holds_alternative<scene::CircleShape>(pin.shape);
  std::string text = circle ? "circle" : "rect";
  text +=
      " at " + number(static_cast<double>(pin.azimuth)) + "/" + number(static_cast<double>(pin.elevation));
  if (circle) {
    text += ", radius " + number(static_cast<double>(std::get<scene::CircleShape>(pin.shape).radius));
  } else {
    const auto& rect = std::get<scene::RectShape>(pin.shape);
    text += ", " + number(static_cast<double>(rect.halfWidth)) + " x " +
            number(static_cast<double>(rect.halfHeight));
  }
  text += ", " + std::string(circle ? scene::kCircleFalloffs.nameOf(pin.falloff)
                                    : scene::kRectFalloffs.nameOf(pin.falloff));
  text += ", " + std::string(scene::kModes.nameOf(pin.fill.mode)) + " " + brushText(pin.fill, folder);
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
  text += line("background", brushText(read.background, folder));
  for (std::size_t i = 0; i < read.pins.size(); ++i)
    text += line(scene::pinLabel(read, i), pinText(read.pins[i], folder));
  return text;
}

std::string mapText(const std::string& path) {
  const scene::MapInfo info = scene::readMapInfo(path);
  std::string text = line("map", path);
  text += line("size", std::to_string(info.width) + " x " + std::to_string(info.height));
  text += line("file", info.format + ", " + std::to_string(info.channels) + " channels, " + info.pixelType +
                           (info.compression.empty() ? "" : ", compression " + info.compression));
  if (!info.software.empty()) text += line("software", info.software);
  if (!info.orientation.empty()) text += line("orientation", info.orientation);
  text += line("mean", rgbText(info.mean[0], info.mean[1], info.mean[2]) + " over the sphere");
  text +=
      line("brightest", "luminance " + number(info.brightest) + " at longitude " +
                            number(info.brightestLongitude) + ", latitude " + number(info.brightestLatitude));
  return text;
}

}  // namespace

ExitStatus info(const std::string& file) {
  printResult(looksLikeScene(file) ? sceneText(file) : mapText(file));
  return done;
}

}  // namespace orvpaint
