#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hdri/Brush.h"
#include "hdri/EnvImage.h"
#include "hdri/PinParams.h"

class orvScene;

namespace orv::hdri {

/// Which build of the painter an object is. The library itself makes `avx2`; other values are passed through.
enum class PainterType : std::uint32_t { avx2 = 2 };

/// The two options of a painter, one byte each; non-zero is on.
struct PainterOptions {
  std::uint8_t smoothing = 0;       ///< soft pin edges and filtered image fills
  std::uint8_t keepBackground = 0;  ///< repaint only the pins while the background is unchanged
};

/// Paints environment maps. Used from one thread at a time; painting itself runs in parallel and its result
/// does not depend on the number of threads. In this order as a rule: scene, size, options, background, pins,
/// paint.
///
/// No operation throws, but for `paint` and the pin operations where they say so. The order of operations is
/// the interface.
class IPainter {
 public:
  virtual ~IPainter() = default;

  /// Sets the scene that images, the sky and progress are asked of. Not owned; may be null.
  virtual void setScene(orvScene* scene) = 0;

  /// Sets the size of the map in pixels; negative values count as 0. Pins are made for the size at hand, so
  /// it is set before they are added.
  virtual void setSize(std::int32_t width, std::int32_t height) = 0;

  /// Takes the size of the image file at `path` (UTF-8). @return false, and the size unchanged, when it can
  /// not be loaded; the host's log says why.
  virtual bool setSizeFromImage(const std::string& path) = 0;

  virtual void setOptions(const PainterOptions& options) = 0;

  /// Makes `brush` the background: a colour, gradient, image or sun and sky. Blur and rotation are taken from
  /// it.
  /// @return true when it was installed as asked. False for a kind that is no background (the old one stays)
  ///         and for a sky that the scene does not have (the background is then red).
  virtual bool setBackground(const Brush& brush) = 0;

  /// Adds a rectangle of light over everything added before.
  /// @return false, and nothing added, when `fill` can not fill a pin or memory ran out.
  /// @throws std::length_error "list too long" when no more pins fit.
  virtual bool addRectPin(const RectPinParams& params, const Brush& fill) = 0;

  /// Adds a circle of light over everything added before; results as `addRectPin`.
  virtual bool addCirclePin(const CirclePinParams& params, const Brush& fill) = 0;

  /// Reserved: changes nothing and returns true.
  virtual bool reserved() = 0;

  virtual bool hasBackground() const = 0;

  /// Whether the background has been painted for the current background and size.
  virtual bool isValid() const = 0;

  /// Paints the map from the current background and pins.
  /// @return width x height RGB, row 0 nearest the zenith; empty without a background or with a zero size. A
  ///         background or fill that can not be made paints a visible colour (white, red) and the host's log
  ///         says why.
  /// @throws std::length_error "vector too long" when the pixel count does not fit 32 bits; std::bad_alloc
  ///         when there is no memory.
  virtual std::shared_ptr<EnvImage> paint() = 0;

  /// Removes all pins and, unless `keepBackground` is set, the background.
  virtual void clear() = 0;

  virtual PainterType getType() const = 0;
};

namespace blockedAVX2 {

/// Makes a painter, to be destroyed with `destroyAVX2Painter`. The processor must have AVX2 and FMA.
/// @return null when there is no memory.
IPainter* createPainter(PainterType type);

}  // namespace blockedAVX2
}  // namespace orv::hdri

extern "C" {

/// `createPainter(PainterType::avx2)`.
orv::hdri::IPainter* createAVX2Painter();

/// Destroys a painter with its pins and background; null is ignored. Maps it returned stay valid as long as
/// this library stays loaded.
void destroyAVX2Painter(orv::hdri::IPainter* painter);

}  // extern "C"
