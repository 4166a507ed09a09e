#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hdri/IPainter.h"
#include "host/AlignedObject.h"
#include "painter/HostImage.h"
#include "pins/Pin.h"

namespace orv::hdri {
class SunSkyBrush;
}

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;

/// The painter, and the services that its parts call on it.
class BlockedPainter final : public IPainter, public AlignedObject {
 public:
  explicit BlockedPainter(PainterType type);
  ~BlockedPainter() override;
  BlockedPainter(const BlockedPainter&) = delete;
  BlockedPainter& operator=(const BlockedPainter&) = delete;

  void setScene(orvScene* scene) override { scene_ = scene; }
  void setSize(std::int32_t width, std::int32_t height) override;
  bool setSizeFromImage(const std::string& path) override;
  void setOptions(const PainterOptions& options) override;
  bool setBackground(const Brush& brush) override;
  bool addRectPin(const RectPinParams& params, const Brush& fill) override;
  bool addCirclePin(const CirclePinParams& params, const Brush& fill) override;
  bool reserved() override { return true; }
  bool hasBackground() const override { return background_ != nullptr; }
  bool isValid() const override { return backgroundValid_; }
  std::shared_ptr<EnvImage> paint() override;
  void clear() override;
  PainterType getType() const override { return type_; }

  std::int32_t width() const { return width_; }
  std::int32_t height() const { return height_; }
  bool smoothing() const { return smoothing_; }
  /// Whether a pin shows the background, so that map backgrounds keep a sampling copy.
  bool hasBackgroundFill() const { return hasBackgroundFill_; }
  /// Scale of the pixel angle that pin shapes are made with.
  float pinSizeScale() const { return pinSizeScale_; }
  /// As the background brush gave it.
  float blurAmount() const { return blurAmount_; }
  /// Azimuth, then tilt of the background's rotation, radians.
  float tiltAngle1() const { return tiltAngle1_; }
  float tiltAngle2() const { return tiltAngle2_; }
  const BackgroundSource* background() const { return background_.get(); }
  /// In the order in which they are painted.
  const PinList& pins() const { return pins_; }

  /// A pin that shows the background has been made: map backgrounds keep a sampling copy from the next paint
  /// on, and one that has none yet is prepared anew.
  void noteBackgroundFill();

  // Progress goes to the host when there is a scene; callable from many threads.

  /// Starts a phase.
  void progressText(const char* text) const;
  /// Advances the phase by `amount`.
  void progressStep(float amount) const;
  /// Advances the phase by a / b.
  void progressFraction(float a, float b) const;

  /// Loads an image through the host. @return null, after a line in the host's log, when it is not found. The
  /// image is handed back when the result goes, at the latest with the painter.
  HostImage loadImage(const std::string& path) const;
  /// Hands an image back to the host.
  void freeImage(orvImage* image) const;

 private:
  /// Makes a background and installs it in place of the old one; null, and no background, without memory.
  template <typename Background, typename... Args>
  bool install(const Args&... args);
  bool installSunSky(const SunSkyBrush& brush);
  /// One and a half pixels in the coarser direction of the map, radians: the soft edge of a shape.
  float pixelAngle() const;
  bool addPin(std::unique_ptr<PinShape> shape, const Brush& fill, bool rectangular);
  bool prepareBackground();

  orvScene* scene_ = nullptr;
  std::unique_ptr<BackgroundSource> background_;
  PinList pins_;
  bool smoothing_ = false;
  bool hasBackgroundFill_ = false;
  float pinSizeScale_ = 1.5f;
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
  float blurAmount_ = 0;
  float tiltAngle1_ = 0;
  float tiltAngle2_ = 0;
  bool keepBackground_ = false;
  bool backgroundValid_ = false;
  PainterType type_;
};

}  // namespace orv::hdri::blockedAVX2
