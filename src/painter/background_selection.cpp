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
bool BlockedPainter::install(const Args&... args) {
  background_.reset(new (std::nothrow) Background(args...));
  return background_ != nullptr;
}

bool BlockedPainter::setBackground(const Brush& brush) {
  tiltAngle2_ = brush.tiltAngle2() * kRadiansPerDegree;
  tiltAngle1_ = brush.tiltAngle1() * kRadiansPerDegree;
  blurAmount_ = brush.blurAmount();
  backgroundValid_ = false;
  try {
    switch (brush.kind()) {
      case BrushKind::color:
        return install<ColorBackground>(static_cast<const ColorBrush&>(brush));
      case BrushKind::gradient:
        return install<GradientBackground>(static_cast<const GradientBrush&>(brush));
      case BrushKind::sunSky:
        return installSunSky(static_cast<const SunSkyBrush&>(brush));
      case BrushKind::image:
        return install<ImageBackground>(static_cast<const ImageBrush&>(brush));
      case BrushKind::background:
        break;
    }
  } catch (const std::bad_alloc&) {
    background_.reset();
  }
  return false;
}

bool BlockedPainter::installSunSky(const SunSkyBrush& brush) {
  if (orvSky* sky = orv_get_sky(scene_)) {
    ApplySunAndSky(brush, *sky);
    background_.reset(new (std::nothrow) SunSkyBackground(brush, *sky));
    return background_ != nullptr;
  }
  // A missing sky shows as a red map rather than as a silent failure.
  orv_critical("No skylight api found\n");
  install<ColorBackground>(ColorBrush(1.0f, 0.0f, 0.0f));
  return false;
}

bool BlockedPainter::prepareBackground() {
  if (!background_->prepare(*this)) {
    orv_critical("Background painting failed, using white instead\n");
    if (!install<ColorBackground>(ColorBrush(1.0f, 1.0f, 1.0f))) return false;
    background_->prepare(*this);
  }
  return true;
}

bool BlockedPainter::setSizeFromImage(const std::string& path) {
  // Not released here: the host's cache keeps it for the background that shows it.
  orvImage* image = loadImage(path).release();
  if (!image) return false;
  setSize(static_cast<std::int32_t>(image->width()), static_cast<std::int32_t>(image->height()));
  return true;
}

}  // namespace orv::hdri::blockedAVX2
