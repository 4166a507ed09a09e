// How a brush becomes the painter's background, and how an image sizes the map.

#include <new>

#include "backgrounds/ColorBackground.h"
#include "backgrounds/GradientBackground.h"
#include "backgrounds/ImageBackground.h"
#include "backgrounds/SunSkyBackground.h"
#include "brushes/host_parameters.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "host/orvImage.h"
#include "host/orvLog.h"
#include "host/orvSky.h"
#include "painter/BlockedPainter.h"

namespace orv::hdri::blockedAVX2 {

template <typename Background, typename... Args>
void BlockedPainter::install(Args&... args) {
  background_.reset(new (std::nothrow) Background(args...));
  if (!background_) throw std::bad_alloc();
}

bool BlockedPainter::setBackground(const Brush& brush) {
  context_.tiltAngle2 = brush.tiltAngle2() * kRadiansPerDegree;
  context_.tiltAngle1 = brush.tiltAngle1() * kRadiansPerDegree;
  context_.blurAmount = brush.blurAmount();
  context_.blurOnSphere = brush.blurOnSphere();
  backgroundValid_ = false;
  try {
    switch (brush.kind()) {
      case BrushKind::color:
        install<ColorBackground>(static_cast<const ColorBrush&>(brush));
        return true;
      case BrushKind::gradient:
        install<GradientBackground>(static_cast<const GradientBrush&>(brush));
        return true;
      case BrushKind::sunSky:
        return installSunSky(static_cast<const SunSkyBrush&>(brush));
      case BrushKind::image:
        install<ImageBackground>(static_cast<const ImageBrush&>(brush));
        return true;
      case BrushKind::background:
        break;
    }
  } catch (const std::bad_alloc&) {
    background_.reset();
  }
  return false;
}

bool BlockedPainter::installSunSky(const SunSkyBrush& brush) {
  if (orvSky* sky = orv_get_sky(context_.scene)) {
    applySunAndSky(brush, *sky);
    install<SunSkyBackground>(brush, *sky);
    return true;
  }
  // A missing sky shows as a red map rather than as a silent failure.
  orv_critical("No skylight api found\n");
  context_.tellFallback(-1);
  const ColorBrush red(1.0f, 0.0f, 0.0f);
  install<ColorBackground>(red);
  return false;
}

void BlockedPainter::prepareBackground() {
  if (background_->prepare(context_)) return;
  orv_critical("Background painting failed, using white instead\n");
  context_.tellFallback(-1);
  const ColorBrush white(1.0f, 1.0f, 1.0f);
  install<ColorBackground>(white);
  background_->prepare(context_);
}

bool BlockedPainter::setSizeFromImage(const std::string& path) {
  // Not released here: the host's cache keeps it for the background that shows it.
  orvImage* image = context_.loadImage(path).release();
  if (!image) return false;
  setSize(static_cast<std::int32_t>(image->width()), static_cast<std::int32_t>(image->height()));
  return true;
}

}  // namespace orv::hdri::blockedAVX2
