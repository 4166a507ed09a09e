#include "support/reference/backgrounds.h"

#include <algorithm>
#include <cmath>

#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"

namespace reference {
namespace {

using orv::hdri::BrushKind;

Color plainColor(const orv::hdri::Brush& brush) {
  const orv::hdri::Rgb& c = static_cast<const orv::hdri::ColorBrush&>(brush).color();
  const double k = static_cast<double>(brush.brightness());
  return {static_cast<double>(c.r) * k, static_cast<double>(c.g) * k, static_cast<double>(c.b) * k};
}

Color gradientAt(const orv::hdri::Brush& brush, double t) {
  return adjusted(gradientColor(static_cast<const orv::hdri::GradientBrush&>(brush), t), brush.adjustments());
}

Color imagePixel(const Scene& scene, int x, int y) {
  const auto found = scene.images.find(static_cast<const orv::hdri::ImageBrush&>(*scene.background).path());
  if (found == scene.images.end()) return {1.0, 1.0, 1.0};
  const Image& image = found->second;
  // Pixels are decided in 32-bit floats.
  const float scaleX = static_cast<float>(image.width) / static_cast<float>(scene.width);
  const float scaleY = static_cast<float>(image.height) / static_cast<float>(scene.height);
  const auto column = static_cast<int>(static_cast<float>(x) * scaleX);
  const auto row = static_cast<int>(static_cast<float>(y) * scaleY);
  const float* pixel = &image.rgb[3 * (static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width) +
                                       static_cast<std::size_t>(column))];
  const Color color{std::max(0.0, static_cast<double>(pixel[0])),
                    std::max(0.0, static_cast<double>(pixel[1])),
                    std::max(0.0, static_cast<double>(pixel[2]))};
  return adjusted(color, scene.background->adjustments());
}

}  // namespace

Color backgroundPixel(const Scene& scene, int x, int y) {
  switch (scene.background->kind()) {
    case BrushKind::color:
      return plainColor(*scene.background);
    case BrushKind::gradient:
      return gradientAt(*scene.background, 1.0 - (y + 0.5) / scene.height);
    default:
      return imagePixel(scene, x, y);
  }
}

Color backgroundSample(const Scene& scene, double u, double v) {
  if (scene.background->kind() == BrushKind::color) return plainColor(*scene.background);
  if (scene.background->kind() == BrushKind::gradient) return gradientAt(*scene.background, v);
  const double x = std::clamp(u, 0.0, 1.0) * (scene.width - 1);
  const double y = std::clamp(v, 0.0, 1.0) * (scene.height - 1);
  const int x0 = static_cast<int>(x);
  const int y0 = static_cast<int>(y);
  const int x1 = (x0 + 1) % scene.width;
  const int y1 = (y0 + 1) % scene.height;
  const Color a = imagePixel(scene, x0, y0), b = imagePixel(scene, x1, y0);
  const Color c = imagePixel(scene, x0, y1), d = imagePixel(scene, x1, y1);
  Color out;
  for (std::size_t i = 0; i < 3; ++i)
    out[i] = std::lerp(std::lerp(a[i], b[i], x - x0), std::lerp(c[i], d[i], x - x0), y - y0);
  return out;
}

}  // namespace reference
