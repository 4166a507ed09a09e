#include <cmath>
#include <new>

#include "shapes/BoxEdgeFalloff.h"
#include "shapes/BoxGaussianFalloff.h"
#include "shapes/BoxProductFalloff.h"
#include "shapes/CosineFalloff.h"
#include "shapes/FalloffCurve.h"
#include "shapes/FrameFalloff.h"
#include "shapes/GaussianEdgeFalloff.h"
#include "shapes/LinearFalloff.h"
#include "shapes/OutlineFalloff.h"
#include "shapes/QuadraticFalloff.h"
#include "shapes/RadialLinearFalloff.h"
#include "shapes/RadialQuadraticFalloff.h"
#include "shapes/SmoothEdgeFalloff.h"
#include "shapes/SolidFalloff.h"
#include "shapes/sphere_geometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Width of an outline, radians: two degrees.
constexpr float kOutlineWidth = 0.034906585f;
/// Sharpness of the Gaussians at amount 1.
constexpr float kGaussianScale = -16.0f;

template <typename Curve, typename... Factors>
std::unique_ptr<FalloffCurve> make(Factors... factors) {
  return std::unique_ptr<FalloffCurve>(new (std::nothrow) Curve(factors...));
}

/// 1 / amount, and `otherwise` where the amount is not above `least`. What stands in for the reciprocal of a
/// tiny amount differs from curve to curve, and pictures depend on it.
float reciprocalAbove(float least, float amount, float otherwise) {
  return amount > least ? 1.0f / amount : otherwise;
}

/// From 0 at the rim to 1 where the cosine has risen by the share `amount` of what it rises to the centre.
std::unique_ptr<FalloffCurve> makeCosine(float rimRadius, float amount) {
  const float cosRim = std::cos(rimRadius);
  return make<CosineFalloff>(cosRim, reciprocalAbove(1e-5f, (1.0f - cosRim) * amount, 100000.0f));
}

/// (1 - x)(1 - a x): amount 1 is the parabola (1 - x)^2, amount 0 bulges outwards.
template <typename Curve>
std::unique_ptr<FalloffCurve> makeQuadratic(float amount) {
  const float q = std::fmin(amount, 1.0f);
  const float a = (q - 1.0f) * 4.0f + 1.0f;
  return make<Curve>(a, a + 1.0f);
}

}  // namespace

std::unique_ptr<FalloffCurve> makeCircleFalloff(const CirclePinParams& params) {
  const float amount = std::fmax(params.falloffAmount, 0.0f);
  const float edge = reciprocalAbove(1e-5f, amount, 100000.0f);
  switch (params.falloffKind) {
    case Falloff::circleCosine:
      return makeCosine(params.radius, amount);
    case Falloff::circleLinear:
      // Half the slope of the rectangle's: with amount 0 a circle falls only to one half at its rim.
      return make<LinearFalloff>(amount < 1.0f ? 0.5f / (1.0f - amount) : 1e20f);
    case Falloff::circleQuadratic:
      return makeQuadratic<QuadraticFalloff>(amount);
    case Falloff::circleSmoothEdge:
      return make<SmoothEdgeFalloff>(edge);
    case Falloff::circleGaussianEdge:
      return make<GaussianEdgeFalloff>(edge, amount * kGaussianScale);
    case Falloff::outline:
      return make<OutlineFalloff>(params.radius / kOutlineWidth);
    case Falloff::solid:
      return make<SolidFalloff>();
    default:
      return nullptr;
  }
}

std::unique_ptr<FalloffCurve> makeRectFalloff(const RectPinParams& params) {
  const float amount = std::fmax(params.falloffAmount, 0.0f);
  // A band of the same angle along both axes.
  const float band = amount > 0.0f ? amount : 1e-5f;
  const float bandU = 1.0f / band;
  const float bandV = params.halfHeight / (band * params.halfWidth);
  switch (params.falloffKind) {
    case Falloff::rectCosine:
      return makeCosine(boundingRadius(params.halfWidth, params.halfHeight), amount);
    case Falloff::rectLinear:
      return make<RadialLinearFalloff>(amount < 1.0f ? 1.0f / (1.0f - amount) : 1e20f);
    case Falloff::rectQuadratic:
      return makeQuadratic<RadialQuadraticFalloff>(amount);
    case Falloff::rectBoxEdge:
      return make<BoxEdgeFalloff>(bandU, bandV);
    case Falloff::rectBoxProduct:
      return make<BoxProductFalloff>(reciprocalAbove(0.0f, amount, 10000.0f));
    case Falloff::rectBoxGaussian:
      return make<BoxGaussianFalloff>(bandU, bandV, band * kGaussianScale);
    case Falloff::outline:
      return make<FrameFalloff>(params.halfWidth / kOutlineWidth, params.halfHeight / kOutlineWidth);
    case Falloff::solid:
      return make<SolidFalloff>();
    default:
      return nullptr;
  }
}

}  // namespace orv::hdri::blockedAVX2
