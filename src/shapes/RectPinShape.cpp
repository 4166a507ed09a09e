#include "shapes/RectPinShape.h"

#include <algorithm>
#include <cmath>

namespace orv::hdri::blockedAVX2 {
namespace {

/// Corners of this radius and less are square.
constexpr float kLeastCornerRadius = 1e-5f;

bool allFinite(const RectPinParams& p) {
  return std::isfinite(p.azimuth) && std::isfinite(p.elevation) && std::isfinite(p.halfWidth) &&
         std::isfinite(p.halfHeight) && std::isfinite(p.rotation) && std::isfinite(p.cornerRadius) &&
         std::isfinite(p.falloffAmount);
}

/// sin(angle) centre + cos(angle) tangent
Float3 tilted(const Float3& centre, const Float3& tangent, float sine, float cosine) {
  return {sine * centre.x + cosine * tangent.x, sine * centre.y + cosine * tangent.y,
          sine * centre.z + cosine * tangent.z};
}

/// The row range takes the bare bounding radius; only the edges have a margin of one pixel angle.
std::array<SphereCap, 4> makeEdgeCaps(const RectPinParams& params, float pixelAngle) {
  const TangentFrame frame = tangentFrame(params.azimuth, params.elevation, params.rotation);
  const float sinWidth = std::sin(params.halfWidth + pixelAngle);
  const float cosWidth = std::cos(params.halfWidth + pixelAngle);
  const float sinHeight = std::sin(params.halfHeight + pixelAngle);
  const float cosHeight = std::cos(params.halfHeight + pixelAngle);
  return {halfSpace(tilted(frame.centre, frame.tangent1, sinWidth, -cosWidth)),
          halfSpace(tilted(frame.centre, frame.tangent1, sinWidth, cosWidth)),
          halfSpace(tilted(frame.centre, frame.tangent2, sinHeight, -cosHeight)),
          halfSpace(tilted(frame.centre, frame.tangent2, sinHeight, cosHeight))};
}

/// 1 / x: the hardware's estimate and one step of Newton's.
Float8 reciprocal(Float8 x) {
  const Float8 r = reciprocalEstimate(x);
  return fnma(r * r, x, r + r);
}

}  // namespace

RectPinShape::RectPinShape(const RectPinParams& params, float pixelAngle)
    : PinShape(makeRectFalloff(params)),
      elevation_(params.elevation),
      boundRadius_(boundingRadius(params.halfWidth, params.halfHeight)),
      half_(params.half != 0),
      rounded_(params.cornerRadius > kLeastCornerRadius),
      finite_(allFinite(params)),
      edgeCaps_(makeEdgeCaps(params, pixelAngle)),
      frame_(tangentFrame(params.azimuth, params.elevation, params.rotation)),
      halfWidth_(splat(params.halfWidth)),
      halfHeight_(splat(params.halfHeight)),
      invHalfWidth_(splat(1.0f / params.halfWidth)),
      invHalfHeight_(splat(1.0f / params.halfHeight)),
      pixelAngle_(splat(pixelAngle)),
      invPixelAngle_(splat(1.0f / pixelAngle)),
      cornerRadius_(splat(params.cornerRadius)) {}

void RectPinShape::latitudeRange(float& lowest, float& highest) const {
  if (!finite_) {
    lowest = kHalfPi;
    highest = -kHalfPi;
    return;
  }
  lowest = std::max(elevation_ - boundRadius_, -kHalfPi);
  highest = std::min(elevation_ + boundRadius_, kHalfPi);
}

void RectPinShape::azimuthSpans(float elevation, AzimuthSpans& spans) const {
  spans.reset();
  const float cosRow = std::cos(elevation);
  const float sinRow = std::sin(elevation);
  for (const SphereCap& cap : edgeCaps_) {
    AzimuthSpan crossing;
    if (!finite_ || !rowCrossing(cap, cosRow, sinRow, crossing)) {
      spans.clear();
      return;
    }
    spans.intersect(crossing.begin, crossing.end);
  }
}

void RectPinShape::evaluate(const PixelBatch& batch) const {
  project(batch, frame_);

  // The angles along both axes, normalised below.
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    store(batch.u + i, atan2(load(batch.dotT1 + i), load(batch.cosAngle + i)));
  }
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    store(batch.v + i, atan2(load(batch.dotT2 + i), load(batch.cosAngle + i)));
  }

  const bool soft = (batch.needs & kNeedsSoftEdge) != 0;
  if (rounded_) {
    half_ ? softEdge<true, true>(batch) : softEdge<false, true>(batch);
  } else if (soft) {
    half_ ? softEdge<true, false>(batch) : softEdge<false, false>(batch);
  } else {
    hardEdge(batch);
  }
  if (soft && (batch.needs & kNeedsCoordinates)) changesPerPixel(batch);
  normalise(batch);
}

/// Fades over one pixel angle inside the nearest edge, cut or corner.
template <bool half, bool rounded>
void RectPinShape::softEdge(const PixelBatch& batch) const {
  const Float8 halfWidth = halfWidth_;
  const Float8 halfHeight = halfHeight_;
  const Float8 cornerRadius = cornerRadius_;
  const Float8 invPixelAngle = invPixelAngle_;
  const float* const alongU = batch.u;
  const float* const alongV = batch.v;
  float* const weight = batch.weight;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 angleV = load(alongV + i);
    const Float8 toEdgeU = halfWidth - abs(load(alongU + i));
    const Float8 toEdgeV = halfHeight - abs(angleV);
    Float8 d = min(toEdgeU, toEdgeV);
    if constexpr (half) d = min(d, angleV);
    if constexpr (rounded) {
      // In the squares at the corners, the distance to the arc counts.
      const Float8 a = toEdgeV - cornerRadius;
      const Float8 b = toEdgeU - cornerRadius;
      const Mask8 corner = (a < zero8()) & (b < zero8());
      d = select(corner, min(cornerRadius - sqrt(fma(a, a, b * b)), d), d);
    }
    store(weight + i, smoothstep(clamp01(d * invPixelAngle)));
  }
}

void RectPinShape::hardEdge(const PixelBatch& batch) const {
  const float* const alongV = batch.v;
  float* const weight = batch.weight;
  const Float8 one = splat(1.0f);
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    store(weight + i, half_ ? keep(load(alongV + i) > zero8(), one) : one);
  }
  if (!(batch.needs & kNeedsCoordinates)) return;
  for (float* const change : batch.changes) std::fill_n(change, 8 * batch.blocks, 0.0f);
}

/// How the two angles change from pixel to pixel along azimuth and elevation. With the derivative p' of the
/// direction, angle' = (dc (p' . t) - d (p' . centre)) / (d^2 + dc^2).
void RectPinShape::changesPerPixel(const PixelBatch& shared) const {
  const PixelBatch batch = shared;
  const Float8 cosElevation = load(batch.cosElevation);
  const Float8 sinElevation = load(batch.sinElevation);
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const SinCos8 azimuth = sinCosAzimuth(batch, i);
    const Direction8 alongAzimuth{-azimuth.sin * cosElevation, azimuth.cos * cosElevation, zero8()};
    const Direction8 alongElevation{-azimuth.cos * sinElevation, -azimuth.sin * sinElevation, cosElevation};
    const Float8 dotCentre = load(batch.cosAngle + i);
    const Float8 azimuthCentre = dot(alongAzimuth, frame_.centre);
    const Float8 elevationCentre = dot(alongElevation, frame_.centre);

    const auto write = [&](const float* dots, const Direction8& tangent, float* byAzimuth,
                           float* byElevation) {
      const Float8 d = load(dots + i);
      const Float8 scale = reciprocal(fma(d, d, dotCentre * dotCentre));
      const Float8 a = fms(dotCentre, dot(alongAzimuth, tangent), d * azimuthCentre);
      const Float8 e = fms(dotCentre, dot(alongElevation, tangent), d * elevationCentre);
      store(byAzimuth + i, a * scale * pixelAngle_);
      store(byElevation + i, e * scale * pixelAngle_);
    };
    write(batch.dotT1, frame_.tangent1, batch.changes[0], batch.changes[1]);
    write(batch.dotT2, frame_.tangent2, batch.changes[2], batch.changes[3]);
  }
}

/// Angles become coordinates, and the border itself is inside.
void RectPinShape::normalise(const PixelBatch& batch) const {
  const Float8 invHalfWidth = invHalfWidth_;
  const Float8 invHalfHeight = invHalfHeight_;
  const Float8 one = splat(1.0f);
  float* const alongU = batch.u;
  float* const alongV = batch.v;
  std::uint32_t* const mask = batch.mask;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 u = load(alongU + i) * invHalfWidth;
    const Float8 v = load(alongV + i) * invHalfHeight;
    store(alongU + i, u);
    store(alongV + i, v);
    store(mask + i, !((one < u) | (u < -one) | (v < -one) | (one < v)));
  }
}

}  // namespace orv::hdri::blockedAVX2
