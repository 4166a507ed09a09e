#include "scene/paint_scene.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>

#include "host/orvImage.h"
#include "orvrender/orvHost.h"
#include "scene/LogCollector.h"
#include "scene/pin_light.h"
#include "scene/scene_brushes.h"

namespace orv::scene {
namespace {

/// Lines by which the painter tells that it paints a colour in place of what was asked, or the host that
/// pictures are black, unfiltered or unscaled for want of memory or of its module.
bool tellsOfFallback(std::string_view line) {
  constexpr std::string_view kDegrades[] = {": there is no memory to ", ": it is looked up without filtering",
                                            " when it was loaded; load it again", "environment images of "};
  return line.starts_with("Failed to find image ") || line.starts_with("Background painting failed") ||
         line.starts_with("No skylight api found") ||
         std::any_of(std::begin(kDegrades), std::end(kDegrades), [line](std::string_view degrades) {
           return line.find(degrades) != std::string_view::npos;
         });
}

bool isSet(const std::atomic<bool>* flag) { return flag && flag->load(); }

void throwIfCancelled(const PaintOptions& options) {
  if (isSet(options.cancel)) throw PaintCancelled(options.fileName + ": the paint was cancelled");
}

/// The size of the map.
MapSize sizeOf(const Scene& scene, orvScene* host, const PaintOptions& options, const LogCollector& log) {
  if (options.size || scene.sizeFromImage.empty()) return options.size.value_or(scene.size);
  const std::string path = resolvePath(options.folder, scene.sizeFromImage);
  orvImage* const image = orv_image_load(host, path.c_str(), orvTexture_profile::environment, true, nullptr);
  if (!image) throwIfCancelled(options);
  if (!image)
    throw FileError(options.fileName + ": sizeFromImage: the size of " + path +
                    " cannot be read: " + log.joined());
  const MapSize size{static_cast<int>(image->width()), static_cast<int>(image->height())};
  orv_image_free(host, image, false);
  return size;
}

/// Has the host give environment images in the map's size while it lives.
class EnvironmentSize {
 public:
  EnvironmentSize(orvScene* host, const MapSize& size) : host_(host) {
    orv_image_set_environment_size(host, static_cast<std::uint32_t>(size.width),
                                   static_cast<std::uint32_t>(size.height));
  }
  ~EnvironmentSize() { orv_image_set_environment_size(host_, 0, 0); }
  EnvironmentSize(const EnvironmentSize&) = delete;
  EnvironmentSize& operator=(const EnvironmentSize&) = delete;

 private:
  orvScene* host_;
};

/// Lays the scene's pins over a painter's map, the sizes of soft ones such that they keep their light where
/// the scene asks for it.
class PinLayer {
 public:
  PinLayer(const Scene& scene, const MapSize& size, hdri::IPainter& painter, PinLights& lights)
      : smoothing_(scene.smoothing),
        keepsLight_(scene.quality == Quality::light),
        size_(size),
        painter_(painter),
        lights_(lights) {}

  /// @return false when the painter refuses it.
  bool add(const ScenePin& pin, const hdri::Brush& fill) const {
    return std::visit([&](const auto& shape) { return add(pinParams(pin, shape), fill); }, pin.shape);
  }

 private:
  bool add(const hdri::CirclePinParams& circle, const hdri::Brush& fill) const {
    if (!keepsLight_ || !smoothing_) return painter_.addCirclePin(circle, fill);
    const bool coordinates = fill.kind() != hdri::BrushKind::color;
    return painter_.addCirclePin(lights_.keepLight(circle, size_.width, size_.height, coordinates), fill);
  }
  bool add(const hdri::RectPinParams& rect, const hdri::Brush& fill) const {
    // Round corners are soft whatever the other edges are.
    const bool soft = smoothing_ || rect.cornerRadius > 0;
    if (!keepsLight_ || !soft) return painter_.addRectPin(rect, fill);
    return painter_.addRectPin(lights_.keepLight(rect, size_.width, size_.height), fill);
  }

  bool smoothing_;
  bool keepsLight_;
  MapSize size_;
  hdri::IPainter& painter_;
  PinLights& lights_;
};

void addPins(const Scene& scene, const MapSize& size, hdri::IPainter& painter, const PaintOptions& options,
             PinLights& lights) {
  lights.nextScene();
  const PinLayer layer(scene, size, painter, lights);
  for (std::size_t i = 0; i < scene.pins.size(); ++i) {
    const ScenePin& pin = scene.pins[i];
    throwIfCancelled(options);
    if (!pin.enabled || layer.add(pin, *fillBrush(pin.fill, options.folder))) continue;
    throw PaintError(options.fileName + ": " + pinLabel(scene, i) +
                     ": refused by the painter, which has no memory left for it or can not paint its fill");
  }
}

/// Sends a host's progress to a listener while it lives.
class ProgressListener {
 public:
  using Listener = std::function<void(const char*, double)>;

  ProgressListener(orvScene* host, const Listener& listener) : host_(listener ? host : nullptr) {
    if (host_) orv_progress_set_listener(host_, &ProgressListener::hear, const_cast<Listener*>(&listener));
  }
  ~ProgressListener() {
    if (host_) orv_progress_set_listener(host_, nullptr, nullptr);
  }
  ProgressListener(const ProgressListener&) = delete;
  ProgressListener& operator=(const ProgressListener&) = delete;

 private:
  static void hear(void* listener, const char* phase, double amount) {
    (*static_cast<const Listener*>(listener))(phase, amount);
  }

  orvScene* host_;  // null: nobody listens
};

/// Lets the flag of the options cancel what a host does while it lives.
class CancelFlag {
 public:
  CancelFlag(orvScene* host, const std::atomic<bool>* flag) : host_(host) { orv_cancel_set_flag(host, flag); }
  ~CancelFlag() { orv_cancel_set_flag(host_, nullptr); }
  CancelFlag(const CancelFlag&) = delete;
  CancelFlag& operator=(const CancelFlag&) = delete;

 private:
  orvScene* host_;
};

/// The use of a painter for one scene. At its end the pins are taken away, and the background where it is not
/// to be kept.
class PainterUse {
 public:
  PainterUse(hdri::IPainter& painter, const Scene& scene, KeptWork* kept)
      : painter_(painter), smoothing_(static_cast<std::uint8_t>(scene.smoothing ? 1 : 0)), kept_(kept) {}
  ~PainterUse() {
    const bool drops = kept_ && !keeps_;
    if (drops) setOptions(false);
    painter_.clear();
    if (!drops) return;
    kept_->brush.reset();
    kept_->imageStamp.reset();
  }
  PainterUse(const PainterUse&) = delete;
  PainterUse& operator=(const PainterUse&) = delete;

  void setOptions(bool keep) {
    painter_.setOptions({.smoothing = smoothing_, .keepBackground = static_cast<std::uint8_t>(keep ? 1 : 0)});
  }
  /// Sets the background unless it is the kept one; false when the painter can not show it.
  bool setBackground(std::shared_ptr<hdri::Brush> brush, std::optional<host::FileStamp> imageStamp) {
    if (kept_ && kept_->brush && kept_->brush->equals(*brush) && kept_->imageStamp == imageStamp) return true;
    // The painter may look at the brush until the background is gone, so the old one goes last.
    const bool good = painter_.setBackground(*brush);
    brush_ = std::move(brush);
    if (!kept_) return good;
    kept_->brush = brush_;
    kept_->imageStamp = imageStamp;
    return good;
  }
  void keep() { keeps_ = true; }

 private:
  hdri::IPainter& painter_;
  std::uint8_t smoothing_;
  KeptWork* kept_;
  std::shared_ptr<hdri::Brush> brush_;
  bool keeps_ = false;
};

/// The state of the file that a background shows; none when it shows none, or none is there. Of images from
/// memory the session sees to it.
std::optional<host::FileStamp> imageStampOf(const Background& background, const std::string& folder) {
  const auto* image = std::get_if<ImageBackground>(&background.paint);
  return image ? host::FileStamp::of(resolvePath(folder, image->path)) : std::nullopt;
}

}  // namespace

PaintResult paintScene(const Scene& scene, hdri::IPainter& painter, orvScene* host,
                       const PaintOptions& options, KeptWork* kept) {
  const LogCollector log;
  const ProgressListener progress(host, options.progress);
  const CancelFlag cancel(host, options.cancel);
  PaintResult result;
  PainterUse use(painter, scene, kept);
  try {
    const std::shared_ptr<hdri::Brush> background = backgroundBrush(scene.background, options.folder);
    const bool keepsLight = scene.quality == Quality::light;
    background->setBlurOnSphere(keepsLight);
    painter.setScene(host);
    const MapSize size = sizeOf(scene, host, options, log);
    painter.setSize(size.width, size.height);
    const EnvironmentSize imageSize(host, keepsLight ? size : MapSize{0, 0});
    use.setOptions(kept != nullptr);
    result.fellBack = !use.setBackground(background, imageStampOf(scene.background, options.folder));
    PinLights ofThisScene;
    addPins(scene, size, painter, options, kept ? kept->pins : ofThisScene);
    result.map = painter.paint();
  } catch (const std::bad_alloc&) {
    throw PaintError(options.fileName + ": size: there is not enough memory to paint a map of this size");
  } catch (const std::length_error&) {
    throw PaintError(options.fileName + ": size: the map has more pixels than the painter can address");
  }
  result.messages = log.lines();
  if (!result.map && isSet(options.cancel)) {
    if (result.messages.empty() && !result.fellBack) use.keep();
    throwIfCancelled(options);
  }
  if (!result.map)
    throw PaintError(options.fileName + ": background: could not be painted" +
                     (result.messages.empty() ? "" : ": " + log.joined()));
  for (const std::string& line : result.messages) result.fellBack |= tellsOfFallback(line);
  // What is said of a background may be that it is not what was asked for.
  if (result.messages.empty() && !result.fellBack) use.keep();
  return result;
}

}  // namespace orv::scene
