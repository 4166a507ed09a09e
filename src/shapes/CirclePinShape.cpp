#include "shapes/CirclePinShape.h"

#include <algorithm>
#include <cmath>

namespace orv::hdri::blockedAVX2 {
namespace {

bool allFinite(const CirclePinParams& p) {
  return std::isfinite(p.azimuth) && std::isfinite(p.elevation) && std::isfinite(p.radius) &&
         std::isfinite(p.rotation) && std::isfinite(p.falloffAmount);
}

/// Cosines of clamped angles; a rounded one may lie a little outside.
Float8 clampCosine(Float8 x) { return max(min(x, splat(1.0f)), splat(-1.0f)); }

}  // namespace

CirclePinShape::CirclePinShape(const CirclePinParams& params, float pixelAngle)
    : PinShape(makeCircleFalloff(params)),
      cap_(capAround(params.azimuth, params.elevation, params.radius)),
      half_(params.half != 0),
      finite_(allFinite(params)),
      radius_(splat(params.radius)),
      invRadius_(splat(1.0f / params.radius)),
      azimuth_(splat(params.azimuth)),
      cosElevation_(splat(cap_.cosElevation)),
      sinElevation_(splat(cap_.sinElevation)),
      invPixelAngle_(splat(1.0f / pixelAngle)),
      frame_(tangentFrame(params.azimuth, params.elevation, params.rotation)) {}

void CirclePinShape::latitudeRange(float& lowest, float& highest) const {
  if (!finite_) {
    lowest = kHalfPi;
    highest = -kHalfPi;
    return;
  }
  lowest = std::max(cap_.elevation - cap_.radius, -kHalfPi);
  highest = std::min(cap_.elevation + cap_.radius, kHalfPi);
}

void CirclePinShape::azimuthSpans(float elevation, AzimuthSpans& spans) const {
  spans.clear();
  AzimuthSpan crossing;
  if (finite_ && rowCrossing(cap_, std::cos(elevation), std::sin(elevation), crossing)) {
    spans.addInterval(crossing.begin, crossing.end);
  }
}

bool CirclePinShape::takesFullPath(std::uint32_t needs) const {
  return half_ || (needs & (kNeedsCoordinates | kNeedsDirection)) != 0;
}

void CirclePinShape::evaluate(const PixelBatch& batch) const {
  if (takesFullPath(batch.needs)) {
    cosineFromFrame(batch);
  } else {
    cosineFromAzimuths(batch);
  }

  // The angle to the centre waits in u until the edge has seen it.
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) store(batch.u + i, arccos(load(batch.cosAngle + i)));

  if (batch.needs & kNeedsSoftEdge) {
    softEdge(batch);
  } else {
    hardEdge(batch);
  }
  if (half_) cut(batch);
  if (batch.needs & kNeedsCoordinates) angleAboutCentre(batch);
}

/// The fast path, by the spherical law of cosines:
/// cos angle = cos(azimuth difference) cos e cos e0 + sin e sin e0
void CirclePinShape::cosineFromAzimuths(const PixelBatch& batch) const {
  const Float8 cosines = load(batch.cosElevation) * cosElevation_;
  const Float8 sines = load(batch.sinElevation) * sinElevation_;
  float* const cosAngle = batch.cosAngle;
  const std::size_t pixels = 8 * batch.blocks;
  if (const float* cosDifference = batch.cosFromCentre) {
    for (std::size_t i = 0; i < pixels; i += 8) {
      store(cosAngle + i, clampCosine(fma(load(cosDifference + i), cosines, sines)));
    }
    return;
  }
  const float* const azimuth = batch.azimuth;
  const Float8 centre = azimuth_;
  for (std::size_t i = 0; i < pixels; i += 8) {
    store(cosAngle + i, clampCosine(fma(cos(load(azimuth + i) - centre), cosines, sines)));
  }
}

/// The full path, by dot products with the frame.
void CirclePinShape::cosineFromFrame(const PixelBatch& batch) const {
  project(batch, frame_);
  float* const cosAngle = batch.cosAngle;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    store(cosAngle + i, clampCosine(load(cosAngle + i)));
  }
}

void CirclePinShape::hardEdge(const PixelBatch& batch) const {
  const Float8 radius = radius_;
  const Float8 invRadius = invRadius_;
  const Float8 one = splat(1.0f);
  float* const coordinate = batch.u;
  float* const weight = batch.weight;
  std::uint32_t* const mask = batch.mask;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 angle = load(coordinate + i);
    const Float8 u = angle * invRadius;
    store(weight + i, keep(angle < radius, one));
    store(coordinate + i, u);
    store(mask + i, u < one);
  }
}

/// The edge fades over one pixel angle on its inner side.
void CirclePinShape::softEdge(const PixelBatch& batch) const {
  const Float8 radius = radius_;
  const Float8 invRadius = invRadius_;
  const Float8 invPixelAngle = invPixelAngle_;
  float* const coordinate = batch.u;
  float* const weight = batch.weight;
  std::uint32_t* const mask = batch.mask;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 angle = load(coordinate + i);
    const Float8 u = angle * invRadius;
    store(weight + i, smoothstep(clamp01((radius - angle) * invPixelAngle)));
    store(coordinate + i, u);
    store(mask + i, u < splat(1.0f));
  }
}

/// Keeps the positive side of the second axis.
void CirclePinShape::cut(const PixelBatch& batch) const {
  const Float8 invPixelAngle = invPixelAngle_;
  const float* const dotT2 = batch.dotT2;
  float* const weight = batch.weight;
  std::uint32_t* const mask = batch.mask;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    store(mask + i, loadMask(mask + i) & (load(dotT2 + i) > zero8()));
  }
  if (!(batch.needs & kNeedsSoftEdge)) return;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 height = arcsin(clampCosine(load(dotT2 + i)));
    store(weight + i, load(weight + i) * smoothstep(clamp01(height * invPixelAngle)));
  }
}

/// v = (atan2(dotT2, dotT1) / pi + 1) / 2
void CirclePinShape::angleAboutCentre(const PixelBatch& batch) const {
  const float* const dotT1 = batch.dotT1;
  const float* const dotT2 = batch.dotT2;
  float* const v = batch.v;
  for (std::size_t i = 0; i < 8 * batch.blocks; i += 8) {
    const Float8 angle = atan2(load(dotT2 + i), load(dotT1 + i));
    store(v + i, fma(angle, splat(kInvPi), splat(1.0f)) * splat(0.5f));
  }
}

std::optional<AzimuthExtent> CirclePinShape::cosFromCentreExtent(std::uint32_t needs) const {
  if (!finite_ || takesFullPath(needs)) return std::nullopt;
  // The meridians that touch a cap clear of the poles lie at sin(half) = sin r / cos e.
  const double radius = cap_.radius;
  const double elevation = std::abs(static_cast<double>(cap_.elevation));
  AzimuthExtent extent{cap_.azimuth, kPi};
  if (radius > 0 && elevation + radius < 1.57) {
    extent.half = static_cast<float>(std::asin(std::sin(radius) / std::cos(elevation)));
  }
  return extent;
}

}  // namespace orv::hdri::blockedAVX2
