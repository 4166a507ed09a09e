#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "backgrounds/PaintContext.h"
#include "hdri/IPainter.h"
#include "maps/AlignedObject.h"
#include "pins/Pin.h"

namespace orv::hdri {
class SunSkyBrush;
}

namespace orv::hdri::blockedAVX2 {

class BackgroundSource;

/// The painter: what its host set up, and the state of its background.
class BlockedPainter final : public IPainter, public AlignedObject {
 public:
  explicit BlockedPainter(PainterType type);
  ~BlockedPainter() override;
  BlockedPainter(const BlockedPainter&) = delete;
  BlockedPainter& operator=(const BlockedPainter&) = delete;

  void setScene(orvScene* scene) override { context_.scene = scene; }
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

  const PaintContext& context() const { return context_; }
  const BackgroundSource* background() const { return background_.get(); }
  /// In the order in which they are painted.
  const PinList& pins() const { return pins_; }

 private:
  /// Makes a background and installs it in place of the old one. @throws std::bad_alloc; there is then none.
  template <typename Background, typename... Args>
  void install(Args&... args);
  bool installSunSky(const SunSkyBrush& brush);
  float softEdgeWidth() const;
  bool addPin(std::unique_ptr<PinShape> shape, const Brush& fill, bool rectangular);
  /// The map of `paint`. @throws std::length_error, std::bad_alloc; LoopStopped when the host cancels it.
  std::shared_ptr<EnvImage> paintAll();
  /// Prepares the background, or a white one in its place. @throws std::length_error, std::bad_alloc.
  void prepareBackground();

  PaintContext context_;
  std::unique_ptr<BackgroundSource> background_;
  PinList pins_;
  bool keepBackground_ = false;
  bool backgroundValid_ = false;
  PainterType type_;
};

}  // namespace orv::hdri::blockedAVX2
