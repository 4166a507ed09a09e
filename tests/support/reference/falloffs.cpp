#include "support/reference/falloffs.h"

#include <algorithm>
#include <cmath>

namespace reference {
namespace {

using orv::hdri::Falloff;

constexpr double kOutlineWidth = 3.14159265358979323846 / 90.0;  // two degrees

double limit(double x) { return std::clamp(x, 0.0, 1.0); }

/// 1 inside, fading to 0 over the last 1/k before the rim at 1.
double rimFade(double x, double k) { return 1.0 - smoothStep((x - 1.0) * k + 1.0); }

/// 0 until 1/k before the rim, then steeply to 1.
double rimLine(double x, double k) { return limit(5.0 * smoothStep(1.0 - (1.0 - x) * k)); }

/// (1 - x)(1 - a x), where a goes from -3 at amount 0 to 1 at amount 1.
double quadratic(double x, double amount) {
  const double a = (limit(amount) - 1.0) * 4.0 + 1.0;
  return limit((1.0 - x) * (1.0 - a * x));
}

double cosine(double cosAngle, double cosRim, double amount) {
  const double m = (1.0 - cosRim) * amount;
  return smoothStep((cosAngle - cosRim) * (m > 1e-5 ? 1.0 / m : 100000.0));
}

double edgeSharpness(double amount) { return amount > 1e-5 ? 1.0 / amount : 100000.0; }

}  // namespace

double smoothStep(double t) {
  t = limit(t);
  return t * t * (3.0 - 2.0 * t);
}

double falloff(const orv::hdri::CirclePinParams& pin, double u, double cosAngle) {
  const double p = std::max(static_cast<double>(pin.falloffAmount), 0.0);
  const double radius = static_cast<double>(pin.radius);
  switch (pin.falloffKind) {
    case Falloff::circleCosine:
      return cosine(cosAngle, std::cos(radius), p);
    case Falloff::circleLinear:
      return limit(1.0 - u * (p < 1.0 ? 0.5 / (1.0 - p) : 1e20));
    case Falloff::circleQuadratic:
      return quadratic(u, p);
    case Falloff::circleSmoothEdge:
      return rimFade(u, edgeSharpness(p));
    case Falloff::circleGaussianEdge:
      return std::exp(-16.0 * p * u * u) * rimFade(u, edgeSharpness(p));
    case Falloff::outline:
      return rimLine(u, radius / kOutlineWidth);
    default:
      return 1.0;
  }
}

double falloff(const orv::hdri::RectPinParams& pin, double u, double v, double cosAngle) {
  const double p = std::max(static_cast<double>(pin.falloffAmount), 0.0);
  const double W = static_cast<double>(pin.halfWidth);
  const double H = static_cast<double>(pin.halfHeight);
  const double x = std::abs(u);
  const double y = std::abs(v);
  const double band = p > 0.0 ? p : 1e-5;
  const double ku = 1.0 / band;
  const double kv = H / (band * W);
  switch (pin.falloffKind) {
    case Falloff::rectCosine:
      return cosine(cosAngle, std::cos(W) * std::cos(H), p);
    case Falloff::rectLinear:
      return limit(1.0 - std::hypot(u, v) * (p < 1.0 ? 1.0 / (1.0 - p) : 1e20));
    case Falloff::rectQuadratic:
      return std::hypot(u, v) > 1.0 ? 0.0 : quadratic(std::hypot(u, v), p);
    case Falloff::rectBoxEdge:
      return rimFade(x, ku) * rimFade(y, kv);
    case Falloff::rectBoxProduct:
      return smoothStep((1.0 - y) * (1.0 - x) * (p > 0.0 ? 1.0 / p : 10000.0));
    case Falloff::rectBoxGaussian:
      return std::exp(-16.0 * band * (1.0 - (1.0 - y) * (1.0 - x))) * rimFade(x, ku) * rimFade(y, kv);
    case Falloff::outline:
      return std::max(rimLine(x, W / kOutlineWidth), rimLine(y, H / kOutlineWidth));
    default:
      return 1.0;
  }
}

}  // namespace reference
