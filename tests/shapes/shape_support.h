#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "shapes/PinShape.h"
#include "shapes/trigonometry.h"
#include "support/one_block.h"
#include "support/reference/sphere.h"

/// Evaluating shapes at directions, and comparing their two forms of evaluation.
namespace shape_support {

using orv::hdri::blockedAVX2::OneBlock;
using orv::hdri::blockedAVX2::PinShape;

/// A batch of eight pixels from `azimuth` on, `step` apart, at an elevation.
inline OneBlock batchAt(std::uint32_t needs, float azimuth, float elevation, float step = 0) {
  OneBlock batch{};
  batch.needs = needs;
  for (int i = 0; i < 8; ++i) {
    batch.azimuth[i] = azimuth + step * static_cast<float>(i);
    batch.elevation[i] = elevation;
    batch.sinElevation[i] = static_cast<float>(std::sin(static_cast<double>(elevation)));
    batch.cosElevation[i] = static_cast<float>(std::cos(static_cast<double>(elevation)));
  }
  return batch;
}

/// `shape` evaluated in one direction, in all lanes.
inline OneBlock evaluateAt(const PinShape& shape, std::uint32_t needs, float azimuth, float elevation) {
  OneBlock batch = batchAt(needs, azimuth, elevation);
  evaluate(shape, batch);
  return batch;
}

/// The direction at angles (alongU, alongV) from a frame's centre, as azimuth and elevation.
struct Angles {
  float azimuth;
  float elevation;
};
inline Angles anglesOf(const reference::Vec3& p) {
  return {static_cast<float>(std::atan2(p[1], p[0])), static_cast<float>(std::asin(p[2]))};
}

/// The point of a frame at `distance` from its centre, in the direction `about` from the first axis to the
/// second.
inline Angles polar(const reference::Frame& frame, double distance, double about) {
  reference::Vec3 p;
  for (std::size_t i = 0; i < 3; ++i) {
    p[i] = std::cos(distance) * frame.centre[i] +
           std::sin(distance) * (std::cos(about) * frame.tangent1[i] + std::sin(about) * frame.tangent2[i]);
  }
  return anglesOf(p);
}

}  // namespace shape_support
