#include "support/reference/color.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace reference {
namespace {

using orv::hdri::CurveStop;
using orv::hdri::GradientStop;

bool differs(double value, double neutral) { return std::abs(value - neutral) > 1e-5; }

void saturate(Color& color, double s) {
  const double m = std::max({color[0], color[1], color[2]});
  for (double& c : color) c = std::max(c - (m - c) * s, 0.0);
}

/// By sextants of the hue circle, as textbooks do it.
void shiftHue(Color& color, double shift) {
  const double value = std::max({color[0], color[1], color[2]});
  const double chroma = value - std::min({color[0], color[1], color[2]});
  if (value <= 0.0 || chroma <= 0.0) return;
  const auto [r, g, b] = color;
  double sextant;
  if (r == value)
    sextant = (g - b) / chroma;
  else if (g == value)
    sextant = 2.0 + (b - r) / chroma;
  else
    sextant = 4.0 + (r - g) / chroma;
  const double hue = sextant / 6.0 + shift;
  const double turn = 6.0 * (hue - std::floor(hue));
  const auto channel = [&](double distance) {
    const double d = std::fmod(turn - distance + 9.0, 6.0) - 3.0;  // (-3, 3] about the channel's own hue
    return value - chroma * (1.0 - std::clamp(2.0 - std::abs(d), 0.0, 1.0));
  };
  color = {channel(0.0), channel(2.0), channel(4.0)};
}

/// Where t lies among ascending stops, by a linear search from the end: the last stop not after t, or the
/// first.
template <typename Stop>
std::size_t stopBefore(const std::vector<Stop>& stops, double t) {
  if (t <= static_cast<double>(stops.front().position)) return 0;
  std::size_t i = stops.size() - 1;
  while (i > 0 && static_cast<double>(stops[i].position) > t) --i;
  return i;
}

/// The cubic with values 0 and 1 and slopes `a.slopeOut` and `b.slopeIn`, in the Hermite basis.
template <typename Stop>
double hermite(const Stop& a, const Stop& b, double t) {
  const double start = static_cast<double>(a.position);
  const double end = static_cast<double>(b.position);
  const double x = (t - start) / (end - start);
  const double rise = x * x * (3.0 - 2.0 * x);
  const double out = x * (1.0 - x) * (1.0 - x) * static_cast<double>(a.slopeOut);
  const double in = x * x * (x - 1.0) * static_cast<double>(b.slopeIn);
  return std::clamp(rise + out + in, 0.0, 1.0);
}

Color colorOf(const GradientStop& stop) {
  const double k = static_cast<double>(stop.intensity);
  return {static_cast<double>(stop.r) * k, static_cast<double>(stop.g) * k, static_cast<double>(stop.b) * k};
}

}  // namespace

Color adjusted(Color color, const orv::hdri::Adjustments& a) {
  const double gamma = a.gamma > 0.0f ? static_cast<double>(a.gamma) : 1.0;
  const double hue = std::clamp(static_cast<double>(a.hueShift), 0.0, 1.0);
  const double saturation = std::clamp(static_cast<double>(a.saturation), -1.0, 1.0);
  const double brightness = static_cast<double>(a.brightness);
  const Color tint{static_cast<double>(a.tintRed), static_cast<double>(a.tintGreen),
                   static_cast<double>(a.tintBlue)};
  if (differs(saturation, 0.0)) saturate(color, saturation);
  if (differs(hue, 0.0)) shiftHue(color, hue);
  if (differs(brightness, 1.0) || differs(tint[0], 1.0) || differs(tint[1], 1.0) || differs(tint[2], 1.0))
    for (std::size_t c = 0; c < 3; ++c) color[c] *= brightness * tint[c];
  if (differs(gamma, 1.0))
    for (double& c : color) c = c > 0.0 ? std::pow(c, 1.0 / gamma) : 0.0;
  return color;
}

Color gradientColor(const orv::hdri::GradientBrush& brush, double t) {
  const std::vector<GradientStop>& stops = brush.stops();
  if (stops.empty()) return {1.0, 1.0, 1.0};
  const std::size_t i = stopBefore(stops, t);
  const Color from = colorOf(stops[i]);
  if (i + 1 == stops.size() || t <= static_cast<double>(stops[i].position)) return from;
  const Color to = colorOf(stops[i + 1]);
  const double s = hermite(stops[i], stops[i + 1], t);
  return {from[0] + (to[0] - from[0]) * s, from[1] + (to[1] - from[1]) * s, from[2] + (to[2] - from[2]) * s};
}

double gradientOpacity(const orv::hdri::GradientBrush& brush, double t) {
  const std::vector<CurveStop>& curve = brush.curve();
  if (curve.empty()) return 1.0;
  const std::size_t i = stopBefore(curve, t);
  const double from = static_cast<double>(curve[i].value);
  if (i + 1 == curve.size() || t <= static_cast<double>(curve[i].position)) return from;
  return from + (static_cast<double>(curve[i + 1].value) - from) * hermite(curve[i], curve[i + 1], t);
}

}  // namespace reference
