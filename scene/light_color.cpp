#include "scene/light_color.h"

#include <algorithm>

namespace orv::scene {
namespace {

/// CIE 1931 chromaticity.
struct Chromaticity {
  double x;
  double y;
};

Chromaticity blackBody(double kelvin) {
  const double t = kelvin;
  const double u = (0.860117757 + 1.54118254e-4 * t + 1.28641212e-7 * t * t) /
                   (1 + 8.42420235e-4 * t + 7.08145163e-7 * t * t);
  const double v = (0.317398726 + 4.22806245e-5 * t + 4.20481691e-8 * t * t) /
                   (1 - 2.89741816e-5 * t + 1.61456053e-7 * t * t);
  const double scale = 1 / (2 * u - 8 * v + 4);
  return {3 * u * scale, 2 * v * scale};
}

Chromaticity daylight(double kelvin) {
  const double t = 1000 / kelvin;
  const double x = kelvin <= 7000 ? ((-4.6070 * t + 2.9678) * t + 0.09911) * t + 0.244063
                                  : ((-2.0064 * t + 1.9018) * t + 0.24748) * t + 0.237040;
  return {x, (-3.000 * x + 2.870) * x - 0.275};
}

Chromaticity chromaticity(double kelvin) {
  constexpr double kBlackBodyTo = 4000;
  constexpr double kDaylightFrom = 5000;
  const double part = std::clamp((kelvin - kBlackBodyTo) / (kDaylightFrom - kBlackBodyTo), 0.0, 1.0);
  if (part == 0) return blackBody(kelvin);
  const Chromaticity b = daylight(kelvin);
  if (part == 1) return b;
  const Chromaticity a = blackBody(kelvin);
  return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
}

}  // namespace

hdri::Rgb lightColor(double kelvin) {
  const auto [x, y] = chromaticity(kelvin);
  const double X = x / y;
  const double Z = (1 - x - y) / y;
  // From XYZ with Y = 1, after the primaries and the white of Rec. ITU-R BT.709.
  const double r = std::max(3.2409699419 * X - 1.5373831776 - 0.4986107603 * Z, 0.0);
  const double g = std::max(-0.9692436363 * X + 1.8759675015 + 0.0415550574 * Z, 0.0);
  const double b = std::max(0.0556300797 * X - 0.2039769589 + 1.0569715142 * Z, 0.0);
  const double luminance = 0.2126 * r + 0.7152 * g + 0.0722 * b;
  return {static_cast<float>(r / luminance), static_cast<float>(g / luminance),
          static_cast<float>(b / luminance)};
}

}  // namespace orv::scene
