#include "scene/paint_scene.h"

#include <new>
#include <stdexcept>
#include <string_view>

#include "scene/LogCollector.h"
#include "scene/scene_brushes.h"

namespace orv::scene {
namespace {

/// Lines by which the painter tells that it paints a colour in place of what was asked.
bool tellsOfFallback(std::string_view line) {
  return line.starts_with("Failed to find image ") || line.starts_with("Background painting failed") ||
         line.starts_with("No skylight api found");
}

void setSize(const Scene& scene, hdri::IPainter& painter, const PaintOptions& options,
             const LogCollector& log) {
  if (!options.size && !scene.sizeFromImage.empty()) {
    const std::string path = resolvePath(options.folder, scene.sizeFromImage);
    if (!painter.setSizeFromImage(path))
      throw FileError(options.fileName + ": sizeFromImage: the size of " + path +
                      " cannot be read: " + log.joined());
    return;
  }
  const MapSize size = options.size.value_or(scene.size);
  painter.setSize(size.width, size.height);
}

void addPins(const Scene& scene, hdri::IPainter& painter, const PaintOptions& options) {
  for (std::size_t i = 0; i < scene.pins.size(); ++i) {
    const ScenePin& pin = scene.pins[i];
    if (!pin.enabled) continue;
    const std::shared_ptr<hdri::Brush> fill = fillBrush(pin.fill, options.folder);
    const bool added = std::holds_alternative<CircleShape>(pin.shape)
                           ? painter.addCirclePin(circleParams(pin), *fill)
                           : painter.addRectPin(rectParams(pin), *fill);
    if (!added)
      throw PaintError(options.fileName + ": " + pinLabel(scene, i) +
                       ": refused by the painter, which has no memory left for it or can not paint its fill");
  }
}

}  // namespace

PaintResult paintScene(const Scene& scene, hdri::IPainter& painter, orvScene* host,
                       const PaintOptions& options) {
  LogCollector log;
  PaintResult result;
  try {
    // The painter may look at the background's brush until it is cleared.
    const std::shared_ptr<hdri::Brush> background = backgroundBrush(scene.background, options.folder);
    const auto clear = [](hdri::IPainter* used) { used->clear(); };
    const std::unique_ptr<hdri::IPainter, decltype(clear)> clearAtEnd(&painter, clear);
    painter.setScene(host);
    setSize(scene, painter, options, log);
    painter.setOptions(
        {.smoothing = static_cast<std::uint8_t>(scene.smoothing ? 1 : 0), .keepBackground = 0});
    result.fellBack = !painter.setBackground(*background);
    addPins(scene, painter, options);
    result.map = painter.paint();
  } catch (const std::bad_alloc&) {
    throw PaintError(options.fileName + ": size: there is not enough memory to paint a map of this size");
  } catch (const std::length_error&) {
    throw PaintError(options.fileName + ": size: the map has more pixels than the painter can address");
  }
  result.messages = log.lines();
  if (!result.map)
    throw PaintError(options.fileName + ": background: could not be painted" +
                     (result.messages.empty() ? "" : ": " + log.joined()));
  for (const std::string& line : result.messages) result.fellBack |= tellsOfFallback(line);
  return result;
}

}  // namespace orv::scene
