#pragma once

#include "hdri/EnvImage.h"

namespace orv::scene {

/// A direction in the axes of a map: +x to its middle, +y to the right of it, +z to its top row.
struct Direction {
  double x = 0;
  double y = 0;
  double z = 0;
};

/// The map in a direction, which need not have length 1: bilinear between pixels' centres, across the seam
/// and over the poles.
hdri::Rgb lookUp(const hdri::EnvImage& map, const Direction& direction);

/// A map in `width` x `height` pixels: reduced by solid angle where it has more, enlarged bilinearly where it
/// has fewer. Values that are not finite or negative become 0.
hdri::EnvImage resizeMap(const hdri::EnvImage& map, int width, int height);

/// The map seen through the lobe max(cos angle, 0)^`exponent` about every pixel, normalised to keep a
/// constant map: a direct sum over all pixels by solid angle. With the exponent 1 it is irradiance over pi,
/// what a white diffuse surface facing there shows (Lambert); with a larger one, what a glossy surface shows
/// that reflects there (Phong, "Illumination for Computer Generated Pictures", 1975). The work grows with the
/// square of the pixels: meant for 256 x 128.
hdri::EnvImage blurByCosine(const hdri::EnvImage& map, int exponent);

/// A camera without perspective that looks at a ball, level, along a longitude of the map.
class BallCamera {
 public:
  explicit BallCamera(double azimuthDegrees);

  /// The normal of the ball's surface at (x, y): x to the right and y up, in radii from its middle,
  /// x^2 + y^2 at most 1.
  Direction normal(double x, double y) const;
  /// The direction that the camera's ray is mirrored into by a surface with this normal. In the middle of the
  /// ball that is back to the camera.
  Direction mirrored(const Direction& normal) const;

 private:
  Direction along_;
  Direction right_;
};

}  // namespace orv::scene
