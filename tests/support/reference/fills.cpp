#include "support/reference/fills.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "support/reference/backgrounds.h"

namespace reference {
namespace {

using orv::hdri::BlendMode;
using orv::hdri::BrushKind;

constexpr double kDegree = std::numbers::pi / 180.0;

/// The image a fill shows; null when its file is missing, which shows as red.
const Image* imageOf(const Scene& scene, const orv::hdri::Brush& brush) {
  const auto found = scene.images.find(static_cast<const orv::hdri::ImageBrush&>(brush).path());
  return found == scene.images.end() ? nullptr : &found->second;
}

/// Bilinear between pixel centres, held at the edges; v = 1 is the top edge. Filtered look-ups are not
/// modelled: scenes with smoothing use images of one colour.
Color lookUp(const Image& image, double u, double v) {
  const double x = std::clamp(u * image.width - 0.5, 0.0, image.width - 1.0);
  const double y = std::clamp((1.0 - v) * image.height - 0.5, 0.0, image.height - 1.0);
  const auto x0 = static_cast<std::size_t>(x);
  const auto y0 = static_cast<std::size_t>(y);
  const auto width = static_cast<std::size_t>(image.width);
  const std::size_t x1 = std::min(x0 + 1, width - 1);
  const std::size_t y1 = std::min(y0 + 1, static_cast<std::size_t>(image.height) - 1);
  const auto at = [&](std::size_t column, std::size_t row, std::size_t c) {
    return static_cast<double>(image.rgb[3 * (row * width + column) + c]);
  };
  Color out;
  for (std::size_t c = 0; c < 3; ++c)
    out[c] = std::lerp(std::lerp(at(x0, y0, c), at(x1, y0, c), x - static_cast<double>(x0)),
                       std::lerp(at(x0, y1, c), at(x1, y1, c), x - static_cast<double>(x0)),
                       y - static_cast<double>(y0));
  return out;
}

/// The map position that a background fill shows at a direction: tilted up, then turned.
void rotatedPosition(const orv::hdri::BackgroundBrush& brush, double azimuth, double elevation, double& u,
                     double& v) {
  const double turn = static_cast<double>(brush.turn()) * kDegree;
  const double tilt = static_cast<double>(brush.tilt()) * kDegree;
  const Vec3 d = direction(azimuth, elevation);
  const Vec3 tilted{std::cos(tilt) * d[0] - std::sin(tilt) * d[2], d[1],
                    std::sin(tilt) * d[0] + std::cos(tilt) * d[2]};
  const double x = std::cos(turn) * tilted[0] - std::sin(turn) * tilted[1];
  const double y = std::sin(turn) * tilted[0] + std::cos(turn) * tilted[1];
  u = (std::atan2(y, x) + std::numbers::pi) / (2.0 * std::numbers::pi);
  v = std::acos(std::clamp(tilted[2], -1.0, 1.0)) / std::numbers::pi;
}

}  // namespace

Shade shade(const Scene& scene, const Pin& pin, const Coverage& coverage, double azimuth, double elevation) {
  const orv::hdri::Brush& brush = *pin.fill;
  switch (brush.kind()) {
    case BrushKind::color: {
      const orv::hdri::Rgb& c = static_cast<const orv::hdri::ColorBrush&>(brush).color();
      const double k = static_cast<double>(brush.brightness());
      return {{static_cast<double>(c.r) * k, static_cast<double>(c.g) * k, static_cast<double>(c.b) * k},
              coverage.weight};
    }
    case BrushKind::gradient: {
      const auto& gradient = static_cast<const orv::hdri::GradientBrush&>(brush);
      const double angle = static_cast<double>(gradient.angle()) * kDegree;
      double t = coverage.u * std::cos(angle) + coverage.v * std::sin(angle);
      if (std::holds_alternative<orv::hdri::RectPinParams>(pin.shape)) t = (t + 1.0) * 0.5;
      return {adjusted(gradientColor(gradient, t), brush.adjustments()),
              coverage.weight * gradientOpacity(gradient, t)};
    }
    case BrushKind::image: {
      const Image* image = imageOf(scene, brush);
      if (!image) return {{1.0, 0.0, 0.0}, coverage.weight};
      return {
          adjusted(lookUp(*image, (coverage.u + 1.0) * 0.5, (coverage.v + 1.0) * 0.5), brush.adjustments()),
          coverage.weight};
    }
    default: {
      double u = 0;
      double v = 0;
      rotatedPosition(static_cast<const orv::hdri::BackgroundBrush&>(brush), azimuth, elevation, u, v);
      return {adjusted(backgroundSample(scene, u, v), brush.adjustments()), coverage.weight};
    }
  }
}

Color composited(const Scene& scene, const Pin& pin, const Color& below, const Shade& fill) {
  const bool replacedByRed = pin.fill->kind() == BrushKind::image && !imageOf(scene, *pin.fill);
  const BlendMode mode = replacedByRed ? BlendMode::add : pin.fill->mode();
  Color out;
  for (std::size_t c = 0; c < 3; ++c) {
    const double d = below[c];
    const double s = fill.color[c];
    const double w = fill.weight;
    double merged = d;
    if (w != 0.0) {
      if (mode == BlendMode::add) merged = d + w * s;
      if (mode == BlendMode::multiply) merged = d * (w * s + 1.0);
      if (mode == BlendMode::mix) merged = d + (s - d) * w;
      if (mode == BlendMode::screen) merged = 1.0 - (1.0 - w * s) * (1.0 - d);
    }
    out[c] = std::max(merged, 0.0);
  }
  return out;
}

}  // namespace reference
