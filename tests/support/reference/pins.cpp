#include "support/reference/pins.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "support/reference/falloffs.h"

namespace reference {
namespace {

using orv::hdri::CirclePinParams;
using orv::hdri::RectPinParams;

// The 32-bit constants of the decisions.
constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;
constexpr float kHalfPi = 1.5707964f;

struct Span {
  float begin;
  float end;
};
using Spans = std::vector<Span>;

/// The half-space or cap that a row of the map may cross.
struct Cap {
  float cosRadius;
  float azimuth;
  float sinElevation;
  float cosElevation;
};

enum class Crossing { none, some };

/// The interval of azimuths in which a row crosses a cap; not limited to one turn.
Crossing crossRow(const Cap& cap, float rowElevation, Span& interval) {
  const float k = std::cos(rowElevation) * cap.cosElevation;
  const float x = (cap.cosRadius - std::sin(rowElevation) * cap.sinElevation) / k;
  if (std::abs(k) < 1e-6f || x < -1.0f) {
    interval = {-kPi, kPi};
    return Crossing::some;
  }
  if (!(x <= 1.0f)) return Crossing::none;
  const float h = std::acos(x);
  interval = {cap.azimuth - h, cap.azimuth + h};
  return Crossing::some;
}

/// An interval cut at +-pi: one or two spans.
Spans split(Span interval) {
  auto [a, b] = interval;
  if (a >= -kPi && b <= kPi) return {{a, b}};
  if (a < -kPi)
    a += kTwoPi;
  else
    b -= kTwoPi;
  return {{-kPi, b}, {a, kPi}};
}

Spans intersect(const Spans& spans, Span interval) {
  if (interval.end - interval.begin >= kTwoPi) return spans;
  Spans out;
  for (const Span& part : split(interval))
    for (const Span& span : spans) {
      const Span common{std::max(part.begin, span.begin), std::min(part.end, span.end)};
      if (common.end - common.begin > 0.0f) out.push_back(common);
    }
  return out;
}

Spans rowSpans(const CirclePinParams& pin, float rowElevation) {
  const Cap cap{std::cos(pin.radius), pin.azimuth, std::sin(pin.elevation), std::cos(pin.elevation)};
  Span interval;
  if (crossRow(cap, rowElevation, interval) == Crossing::none) return {};
  return split(interval);
}

/// The half-space of directions on the positive side of a plane through the sphere's centre.
Cap halfSpace(const Vec3& normal) {
  const double elevation = std::asin(std::clamp(normal[2], -1.0, 1.0));
  return {0.0f, static_cast<float>(std::atan2(normal[1], normal[0])), static_cast<float>(std::sin(elevation)),
          static_cast<float>(std::cos(elevation))};
}

Spans rowSpans(const RectPinParams& pin, float rowElevation, float angle) {
  const Frame frame = tangentFrame(static_cast<double>(pin.azimuth), static_cast<double>(pin.elevation),
                                   static_cast<double>(pin.rotation));
  Spans spans{{-kPi, kPi}};
  // Four planes, each one pixel angle outside its edge.
  const auto clip = [&](float halfAngle, const Vec3& axis, double side) {
    const double reach = static_cast<double>(halfAngle + angle);
    Vec3 normal;
    for (std::size_t i = 0; i < 3; ++i)
      normal[i] = std::sin(reach) * frame.centre[i] - side * std::cos(reach) * axis[i];
    Span interval;
    spans = crossRow(halfSpace(normal), rowElevation, interval) == Crossing::none
                ? Spans{}
                : intersect(spans, interval);
  };
  for (const double side : {1.0, -1.0}) clip(pin.halfWidth, frame.tangent1, side);
  for (const double side : {1.0, -1.0}) clip(pin.halfHeight, frame.tangent2, side);
  return spans;
}

/// How far a shape reaches from its centre, for the range of rows.
float reach(const CirclePinParams& pin) { return pin.radius; }
float reach(const RectPinParams& pin) {
  return static_cast<float>(std::acos(std::cos(static_cast<double>(pin.halfWidth)) *
                                      std::cos(static_cast<double>(pin.halfHeight))));
}

bool touchesRow(float elevation, float radius, int y, int height) {
  const float lowest = std::max(elevation - radius, -kHalfPi);
  const float highest = std::min(elevation + radius, kHalfPi);
  const float last = static_cast<float>(height - 1);
  return static_cast<float>(y) >= std::floor((kHalfPi - highest) * 0.31830987f * last) &&
         static_cast<float>(y) <= std::ceil((kHalfPi - lowest) * 0.31830987f * last);
}

Coverage cover(const CirclePinParams& pin, const Vec3& p, double angle, bool smoothing) {
  const Frame frame = tangentFrame(static_cast<double>(pin.azimuth), static_cast<double>(pin.elevation),
                                   static_cast<double>(pin.rotation));
  const double radius = static_cast<double>(pin.radius);
  const double d1 = dot(p, frame.tangent1);
  const double d2 = dot(p, frame.tangent2);
  // The angle from its sine and cosine: exact near the centre, where an arc cosine is not.
  const double distance = std::atan2(std::hypot(d1, d2), dot(p, frame.centre));

  Coverage out;
  out.u = distance / radius;
  out.v = (std::atan2(d2, d1) / std::numbers::pi + 1.0) * 0.5;
  if (!(out.u < 1.0) || (pin.half && !(d2 > 0.0))) return out;
  double edge = 1.0;
  if (smoothing) {
    edge = smoothStep((radius - distance) / angle);
    if (pin.half) edge *= smoothStep(std::asin(d2) / angle);
  }
  out.weight = edge * falloff(pin, out.u, std::cos(distance));
  return out;
}

Coverage cover(const RectPinParams& pin, const Vec3& p, double angle, bool smoothing) {
  const Frame frame = tangentFrame(static_cast<double>(pin.azimuth), static_cast<double>(pin.elevation),
                                   static_cast<double>(pin.rotation));
  const double W = static_cast<double>(pin.halfWidth);
  const double H = static_cast<double>(pin.halfHeight);
  const double rounding = static_cast<double>(pin.cornerRadius);
  const double dc = dot(p, frame.centre);
  const double angleU = std::atan2(dot(p, frame.tangent1), dc);
  const double angleV = std::atan2(dot(p, frame.tangent2), dc);

  Coverage out;
  out.u = angleU / W;
  out.v = angleV / H;
  if (!(std::abs(out.u) <= 1.0) || !(std::abs(out.v) <= 1.0)) return out;
  double edge = !pin.half || angleV > 0.0 ? 1.0 : 0.0;
  const bool rounded = rounding > 1e-5;
  if (smoothing || rounded) {
    const double insideU = W - std::abs(angleU);
    const double insideV = H - std::abs(angleV);
    double inside = std::min(insideU, insideV);
    if (pin.half) inside = std::min(inside, angleV);
    if (rounded && insideU < rounding && insideV < rounding)
      inside = std::min(inside, rounding - std::hypot(insideU - rounding, insideV - rounding));
    edge = smoothStep(inside / angle);
  }
  out.weight = edge * falloff(pin, out.u, out.v, dc);
  return out;
}

}  // namespace

float pixelAngle(int width, int height) {
  const float a = 1.5f * kTwoPi / static_cast<float>(width);
  const float b = 1.5f * kPi / static_cast<float>(height);
  return a > b ? a : b;
}

BlockRanges blocksOfRow(const Pin& pin, int y, int width, int height) {
  const float rowElevation = (0.5f - (static_cast<float>(y) + 0.5f) / static_cast<float>(height)) * kPi;
  const bool touched = std::visit(
      [&](const auto& shape) { return touchesRow(shape.elevation, reach(shape), y, height); }, pin.shape);
  if (!touched) return {};

  const Spans spans =
      std::holds_alternative<CirclePinParams>(pin.shape)
          ? rowSpans(std::get<CirclePinParams>(pin.shape), rowElevation)
          : rowSpans(std::get<RectPinParams>(pin.shape), rowElevation, pixelAngle(width, height));

  const int blocks = (width + 7) / 8;
  const auto columns = static_cast<float>(width);
  BlockRanges out;
  int next = 0;
  for (const Span& span : spans) {
    if (std::isnan(span.begin) || std::isnan(span.end)) continue;
    const auto first = static_cast<int>(std::floor((kPi + span.begin) * 0.15915494f * columns));
    const auto past = static_cast<int>(std::ceil((kPi + span.end) * 0.15915494f * columns));
    // A block that an earlier span has painted is not painted again.
    const int begin = std::max(first < 0 ? 0 : first / 8, next);
    const int end = std::min((past + 7) / 8, blocks);
    if (begin < end) {
      out.emplace_back(begin, end);
      next = end;
    }
  }
  return out;
}

Coverage coverage(const Pin& pin, double azimuth, double elevation, double angle, bool smoothing) {
  const Vec3 p = direction(azimuth, elevation);
  return std::visit([&](const auto& shape) { return cover(shape, p, angle, smoothing); }, pin.shape);
}

}  // namespace reference
