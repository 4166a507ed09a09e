#include "scene/pin_light.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <numbers>
#include <vector>

#include "scene/painter_trigonometry.h"

namespace orv::scene {
namespace {

using hdri::CirclePinParams;
using hdri::Falloff;
using hdri::RectPinParams;

constexpr double kPi = std::numbers::pi;
constexpr double kOutlineWidth = kPi / 90;

/// Gauss-Legendre nodes on [-1, 1], by Newton's method on the Legendre polynomial.
struct Gauss {
  static constexpr int kNodes = 16;
  std::array<double, kNodes> x;
  std::array<double, kNodes> weight;

  Gauss() {
    for (int i = 0; i < kNodes; ++i) {
      double z = std::cos(kPi * (i + 0.75) / (kNodes + 0.5));
      double slope = 0;
      for (int step = 0; step < 20; ++step) {
        double p = 1, before = 0;
        for (int k = 0; k < kNodes; ++k) {
          const double next = ((2 * k + 1) * z * p - k * before) / (k + 1);
          before = p;
          p = next;
        }
        slope = kNodes * (z * p - before) / (z * z - 1);
        z -= p / slope;
      }
      const auto at = static_cast<std::size_t>(i);
      x[at] = z;
      weight[at] = 2 / ((1 - z * z) * slope * slope);
    }
  }
};

/// The integral of `f` from 0 to `end`, in pieces between the break points that lie inside.
template <typename F>
double integrate(std::initializer_list<double> breaks, double end, const F& f) {
  static const Gauss gauss;
  std::vector<double> ends(breaks);
  std::erase_if(ends, [&](double x) { return !(x > 0 && x < end); });
  std::sort(ends.begin(), ends.end());
  ends.push_back(end);
  double sum = 0, from = 0;
  for (const double to : ends) {
    const double half = (to - from) / 2;
    for (std::size_t i = 0; i < gauss.x.size(); ++i)
      sum += half * gauss.weight[i] * f(from + half * (gauss.x[i] + 1));
    from = to;
  }
  return sum;
}

double unit(double x) { return std::clamp(x, 0.0, 1.0); }

double smoothstep(double x) {
  const double t = unit(x);
  return t * t * (3 - 2 * t);
}

/// 1 inside, fading to 0 over the last 1/k before x = 1.
double edgeFade(double x, double k) { return 1 - smoothstep((x - 1) * k + 1); }
double rim(double x, double k) { return 5 * smoothstep(1 - (1 - x) * k); }
double quadratic(double x, double amount) {
  const double a = (std::min(amount, 1.0) - 1) * 4 + 1;
  return unit((x * a - (a + 1)) * x + 1);
}
double sharpness(double band) { return band > 1e-5 ? 1 / band : 1e5; }

/// A direction by its products with a pin's centre and axes, as the painter rounds them.
struct Products {
  float centre;
  float tangent1;
  float tangent2;
};

/// A pin as its light is counted: its size, and the width of its edge, 0 for a hard one.
struct Circle {
  double radius;
  double edge;
  Falloff falloff;
  double amount;
  bool half;

  double weight(double angle) const {
    const double u = angle / radius;
    switch (falloff) {
      case Falloff::circleCosine:
        return smoothstep((std::cos(angle) - std::cos(radius)) * sharpness((1 - std::cos(radius)) * amount));
      case Falloff::circleLinear:
        return unit(1 - u * (amount < 1 ? 0.5 / (1 - amount) : 1e20));
      case Falloff::circleQuadratic:
        return quadratic(u, amount);
      case Falloff::circleSmoothEdge:
        return edgeFade(u, sharpness(amount));
      case Falloff::circleGaussianEdge:
        return std::exp(-16 * amount * u * u) * edgeFade(u, sharpness(amount));
      case Falloff::outline:
        return unit(rim(u, radius / kOutlineWidth));
      default:
        return 1;
    }
  }

  /// How far from the centre it reaches.
  double reach() const { return radius; }

  double weightAt(const Products& p) const {
    const auto angle = static_cast<double>(painter::arccos(std::clamp(p.centre, -1.0f, 1.0f)));
    if (angle >= radius) return 0;
    const double cut =
        half ? smoothstep(std::asin(std::clamp(static_cast<double>(p.tangent2), -1.0, 1.0)) / edge) : 1;
    return weight(angle) * smoothstep((radius - angle) / edge) * cut;
  }

  /// The angle about the centre that is painted at `angle` from it.
  double turn(double angle) const {
    if (!half) return 2 * kPi;
    if (edge == 0) return kPi;
    const double sine = std::sin(angle);
    const double faded = std::sin(edge) < sine && edge < kPi / 2 ? std::asin(std::sin(edge) / sine) : kPi / 2;
    return 2 * integrate({faded}, kPi / 2, [&](double about) {
             return smoothstep(std::asin(std::clamp(sine * std::sin(about), -1.0, 1.0)) / edge);
           });
  }

  /// The integral of the weight over the sphere, steradians.
  double light() const {
    const double bend = radius - 0.7 * kOutlineWidth;
    return integrate({radius - edge, radius * (1 - amount), radius - kOutlineWidth, bend, edge}, radius,
                     [&](double angle) {
                       const double fade = edge == 0 ? 1 : smoothstep((radius - angle) / edge);
                       return weight(angle) * fade * std::sin(angle) * turn(angle);
                     });
  }
};

struct Rect {
  double width;  // half-angles
  double height;
  double corner;  // 0 for square corners
  double edge;
  Falloff falloff;
  double amount;
  bool half;

  double weight(double alongU, double alongV, double cosAngle) const {
    const double u = alongU / width, v = alongV / height;
    const double band = amount > 0 ? amount : 1e-5;
    const double ku = 1 / band, kv = height / (band * width);
    switch (falloff) {
      case Falloff::rectCosine: {
        const double cosRim = 1 / std::sqrt(1 + std::pow(std::tan(width), 2) + std::pow(std::tan(height), 2));
        return smoothstep((cosAngle - cosRim) * sharpness((1 - cosRim) * amount));
      }
      case Falloff::rectLinear:
        return unit(1 - std::hypot(u, v) * (amount < 1 ? 1 / (1 - amount) : 1e20));
      case Falloff::rectQuadratic:
        return std::hypot(u, v) > 1 ? 0 : quadratic(std::hypot(u, v), amount);
      case Falloff::rectBoxEdge:
        return edgeFade(u, ku) * edgeFade(v, kv);
      case Falloff::rectBoxProduct:
        return smoothstep((1 - u) * (1 - v) * (amount > 0 ? 1 / amount : 1e4));
      case Falloff::rectBoxGaussian:
        return std::exp(-16 * band * (1 - (1 - u) * (1 - v))) * edgeFade(u, ku) * edgeFade(v, kv);
      case Falloff::outline:
        return unit(std::max(rim(u, width / kOutlineWidth), rim(v, height / kOutlineWidth)));
      default:
        return 1;
    }
  }

  /// How far from the centre it reaches.
  double reach() const { return std::atan(std::hypot(std::tan(width), std::tan(height))); }

  double weightAt(const Products& p) const {
    const auto cosAngle = static_cast<double>(p.centre);
    const double alongU = std::abs(std::atan2(static_cast<double>(p.tangent1), cosAngle));
    const double alongV = std::atan2(static_cast<double>(p.tangent2), cosAngle);
    if (alongU > width || std::abs(alongV) > height || (half && alongV <= 0)) return 0;
    return smoothstep(depth(alongU, std::abs(alongV)) / edge) * weight(alongU, std::abs(alongV), cosAngle);
  }

  /// How far inside the outline a point of the positive quadrant lies.
  double depth(double alongU, double alongV) const {
    const double toEdgeU = width - alongU, toEdgeV = height - alongV;
    double d = std::min(toEdgeU, toEdgeV);
    if (half) d = std::min(d, alongV);
    const double a = toEdgeV - corner, b = toEdgeU - corner;
    return a < 0 && b < 0 ? std::min(corner - std::hypot(a, b), d) : d;
  }

  /// The upper end of a hard rounded outline at `alongU`.
  double top(double alongU) const {
    const double b = width - alongU - corner;
    if (edge > 0 || b >= 0) return height;
    return std::max(height - corner + std::sqrt(std::max(corner * corner - b * b, 0.0)), 0.0);
  }

  /// The integral of the weight over the sphere, steradians. With x and y the tangents of the angles along
  /// both axes, a solid angle is dx dy / (1 + x^2 + y^2)^(3/2).
  double light() const {
    const double bandU = width * (1 - amount), bandV = height - width * amount;
    const auto across = [&](double alongU) {
      const double x = std::tan(alongU);
      const auto up = [&](double alongV) {
        const double y = std::tan(alongV);
        const double r2 = 1 + x * x + y * y;
        const double fade = edge == 0 ? 1 : smoothstep(depth(alongU, alongV) / edge);
        return fade * weight(alongU, alongV, 1 / std::sqrt(r2)) * (1 + y * y) / (r2 * std::sqrt(r2));
      };
      return (1 + x * x) * integrate({edge, height - edge, height - corner, height - (width - alongU), bandV,
                                      height - kOutlineWidth, height - 0.7 * kOutlineWidth},
                                     top(alongU), up);
    };
    const double quarter = integrate(
        {width - edge, width - corner, bandU, width - kOutlineWidth, width - 0.7 * kOutlineWidth, height},
        width, across);
    return (half ? 2 : 4) * quarter;
  }
};

/// The growth between `least` and `most` at which `light(growth)`, which rises with it, is `wanted`, within a
/// ten-thousandth of it; the nearer end where there is none.
template <typename Light>
double solve(double wanted, double guess, double least, double most, const Light& light) {
  double lastX = 0, lastY = light(0) - wanted;
  double low = lastY < 0 ? 0 : least, high = lastY < 0 ? most : 0;
  double x = guess > low && guess < high ? guess : (low + high) / 2;
  for (int step = 0; step < 60; ++step) {
    const double y = light(x) - wanted;
    if (std::abs(y) <= 1e-4 * wanted) break;
    (y < 0 ? low : high) = x;
    // The secant, while it stays between what is known; else the middle.
    const double secant = x - y * (x - lastX) / (y - lastY);
    lastX = x;
    lastY = y;
    x = secant > low && secant < high ? secant : (low + high) / 2;
  }
  return x;
}

/// A vector, and the product that the kernels form of two.
struct Vector {
  float x, y, z;
};
float dot(const Vector& a, const Vector& b) { return std::fma(a.x, b.x, std::fma(a.y, b.y, a.z * b.z)); }

/// The pixels of a map, and a pin's axes on its sphere.
class Grid {
 public:
  /// @param direct whether the painter takes a pixel's angle to the centre from longitudes and latitudes, as
  ///        for circles whose fill needs no coordinates; else from products with the axes.
  template <typename Pin>
  Grid(const Pin& pin, std::int32_t width, std::int32_t height, bool direct)
      : width_(width),
        height_(height),
        direct_(direct),
        azimuth_(pin.azimuth),
        elevation_(pin.elevation),
        cosElevation_(std::cos(pin.elevation)),
        sinElevation_(std::sin(pin.elevation)) {
    const float cosA = std::cos(pin.azimuth), sinA = std::sin(pin.azimuth);
    const float cosR = std::cos(pin.rotation), sinR = std::sin(pin.rotation);
    const Vector north{-cosA * sinElevation_, -sinA * sinElevation_, cosElevation_};
    centre_ = {cosA * cosElevation_, sinA * cosElevation_, sinElevation_};
    tangent1_ = {cosR * -sinA + sinR * north.x, cosR * cosA + sinR * north.y, sinR * north.z};
    tangent2_ = {cosR * north.x + sinR * sinA, cosR * north.y - sinR * cosA, cosR * north.z};
  }

  /// Whether a pin of this extent is summed pixel by pixel: over a pole, where a few rows hold much of a pin,
  /// a larger one too.
  bool countsPixels(double reach) const {
    const bool polar = std::abs(static_cast<double>(elevation_)) + reach > kPi / 2;
    return reach <= (polar ? 24 : 12) * std::max(2 * kPi / width_, kPi / height_);
  }

  /// The light that the pixels get, each by its solid angle.
  template <typename Shape>
  double light(const Shape& shape) const {
    const double elevation = static_cast<double>(elevation_), reach = shape.reach();
    const double first = std::floor((0.5 - (elevation + reach) / kPi) * height_ - 0.5);
    const double last = std::ceil((0.5 - (elevation - reach) / kPi) * height_ - 0.5);
    double sum = 0;
    const int firstRow = static_cast<int>(std::max(first, 0.0));
    const int lastRow = static_cast<int>(std::min(last, height_ - 1));
    for (int row = firstRow; row <= lastRow; ++row) {
      const double y = row;
      const double band = std::cos(kPi * y / height_) - std::cos(kPi * (y + 1) / height_);
      sum += band * rowMean(shape, reach, y, std::max(4096 / (last - first + 1), 64.0));
    }
    return 2 * kPi * sum;
  }

 private:
  /// The mean weight of a row. Where columns crowd about a pole, some of them stand for all.
  template <typename Shape>
  double rowMean(const Shape& shape, double reach, double y, double mostColumns) const {
    const double latitude = (0.5 - (y + 0.5) / height_) * kPi, elevation = static_cast<double>(elevation_);
    const double cosines = std::max(std::cos(latitude) * std::cos(elevation), 1e-12);
    const double crossing = (std::cos(reach) - std::sin(latitude) * std::sin(elevation)) / cosines;
    const double extent = crossing <= -1 ? kPi : std::acos(std::min(crossing, 1.0));
    const double middle = (static_cast<double>(azimuth_) / (2 * kPi) + 0.5) * width_ - 0.5;
    const double half = extent / (2 * kPi) * width_ + 2;
    const double first = 2 * half < width_ ? std::floor(middle - half) : 0;
    const double count = std::min(std::ceil(2 * half) + 1, width_);
    const double step = std::max(std::floor(count / mostColumns), 1.0);
    const painter::SinCos row =
        painter::sinCos((0.5f - (static_cast<float>(y) + 0.5f) / static_cast<float>(height_)) * painter::kPi);
    const int columns = static_cast<int>(std::ceil(count / step));
    double sum = 0;
    for (int column = 0; column < columns; ++column) {
      const double x = first + column * step;
      sum += shape.weightAt(products(x - width_ * std::floor(x / width_), row));
    }
    return sum / columns * count / width_;
  }

  Products products(double x, const painter::SinCos& row) const {
    const float invWidth = 1.0f / static_cast<float>(width_);
    const float azimuth = ((static_cast<float>(x) + 0.5f) * invWidth - 0.5f) * painter::kTwoPi;
    if (direct_) {
      const float cosine = painter::sinCos(azimuth - azimuth_).cos;
      return {std::fma(cosine, row.cos * cosElevation_, row.sin * sinElevation_), 0, 0};
    }
    const painter::SinCos column = painter::sinCos(azimuth);
    const Vector p{column.cos * row.cos, column.sin * row.cos, row.sin};
    return {dot(p, centre_), dot(p, tangent1_), dot(p, tangent2_)};
  }

  double width_;
  double height_;
  bool direct_;
  float azimuth_;
  float elevation_;
  float cosElevation_;
  float sinElevation_;
  Vector centre_;
  Vector tangent1_;
  Vector tangent2_;
};

/// How much a pin of this `size` grows by to hold the light `wanted`. `grown(by)` is the softened shape.
template <typename Grown>
double growth(const Grid& grid, double wanted, double size, double edge, double most, const Grown& grown) {
  const double least = -0.9 * size;
  const double whole = solve(wanted, edge / 2, least, most, [&](double by) { return grown(by).light(); });
  if (!grid.countsPixels(grown(0).reach())) return whole;
  return solve(wanted, whole, least, most, [&](double by) { return grid.light(grown(by)); });
}

template <typename... Angles>
bool allFinite(Angles... angles) {
  return (std::isfinite(angles) && ...);
}

}  // namespace

CirclePinParams keepLight(const CirclePinParams& pin, std::int32_t width, std::int32_t height,
                          bool coordinates) {
  const double edge = static_cast<double>(hdri::softEdgeWidth(width, height));
  const double radius = static_cast<double>(pin.radius);
  if (!allFinite(pin.azimuth, pin.elevation, pin.rotation, pin.falloffAmount, edge)) return pin;
  if (!(radius > 0 && radius < kPi)) return pin;
  const Circle hard{radius, 0, pin.falloffKind, std::max(static_cast<double>(pin.falloffAmount), 0.0),
                    pin.half != 0};
  const double more = growth(Grid(pin, width, height, !coordinates && pin.half == 0), hard.light(), radius,
                             edge, kPi - radius, [&](double by) {
                               Circle circle = hard;
                               circle.edge = edge;
                               circle.radius += by;
                               return circle;
                             });
  CirclePinParams kept = pin;
  kept.radius = static_cast<float>(radius + more);
  return kept;
}

RectPinParams keepLight(const RectPinParams& pin, std::int32_t width, std::int32_t height) {
  constexpr double kMostAngle = 1.5707;
  const double edge = static_cast<double>(hdri::softEdgeWidth(width, height));
  const double halfWidth = static_cast<double>(pin.halfWidth),
               halfHeight = static_cast<double>(pin.halfHeight);
  const double larger = std::max(halfWidth, halfHeight);
  if (!allFinite(pin.azimuth, pin.elevation, pin.rotation, pin.cornerRadius, pin.falloffAmount, edge))
    return pin;
  if (!(halfWidth > 0 && halfHeight > 0 && larger < kMostAngle)) return pin;
  const double corner = pin.cornerRadius > 1e-5f ? std::min(static_cast<double>(pin.cornerRadius), kPi) : 0;
  const Rect hard{halfWidth,       halfHeight,
                  corner,          0,
                  pin.falloffKind, std::max(static_cast<double>(pin.falloffAmount), 0.0),
                  pin.half != 0};
  const double more = growth(Grid(pin, width, height, false), hard.light(), std::min(halfWidth, halfHeight),
                             edge, kMostAngle - larger, [&](double by) {
                               Rect rect = hard;
                               rect.edge = edge;
                               rect.width += by;
                               rect.height += by;
                               if (corner > 0) rect.corner += by;
                               return rect;
                             });
  RectPinParams kept = pin;
  kept.halfWidth = static_cast<float>(halfWidth + more);
  kept.halfHeight = static_cast<float>(halfHeight + more);
  if (corner > 0) kept.cornerRadius = static_cast<float>(corner + more);
  return kept;
}

double solidAngle(const CirclePinParams& pin) {
  const double radius = static_cast<double>(pin.radius);
  if (!(radius > 0)) return 0;
  return Circle{std::min(radius, kPi), 0, Falloff::solid, 0, pin.half != 0}.light();
}

double solidAngle(const RectPinParams& pin) {
  const double width = static_cast<double>(pin.halfWidth), height = static_cast<double>(pin.halfHeight);
  if (!(width > 0 && height > 0 && std::max(width, height) < kPi / 2)) return 0;
  const double half = pin.half != 0 ? 0.5 : 1;
  // Of straight sides: Van Oosterom and Strackee's formula for a rectangle seen from above its middle.
  if (!(pin.cornerRadius > 1e-5f)) return half * 4 * std::asin(std::sin(width) * std::sin(height));
  return Rect{width, height,       std::min(static_cast<double>(pin.cornerRadius), kPi), 0, Falloff::solid,
              0,     pin.half != 0}
      .light();
}

}  // namespace orv::scene
