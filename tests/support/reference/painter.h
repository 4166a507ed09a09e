#pragma once

#include <vector>

#include "support/reference/color.h"
#include "support/reference/pins.h"
#include "support/reference/scene.h"

namespace reference {

/// Paints whole scenes one pixel at a time in double precision. Only what the painter promises to decide in
/// 32-bit floats (rows, spans, columns) is decided so here.
class Painter {
 public:
  explicit Painter(Scene scene);

  /// The colour of pixel (x, y).
  Color pixel(int x, int y) const { return shifted(x, y, 0.0, 0.0); }

  /// How much the colour of pixel (x, y) changes, in its largest channel, when its direction moves by `angle`
  /// radians in longitude and latitude: large on a hard edge.
  double sensitivity(int x, int y, double angle) const;

  const Scene& scene() const { return scene_; }

 private:
  Color shifted(int x, int y, double azimuthShift, double elevationShift) const;

  Scene scene_;
  double pixelAngle_;
  std::vector<std::vector<BlockRanges>> blocks_;  ///< of each pin and row
};

}  // namespace reference
