#pragma once

#include <vector>

#include "support/reference/color.h"

/// Blur and rotation of latitude-longitude maps in double precision, one pixel at a time from the formulas.
namespace reference {

/// Pixels in double precision, row after row from the top.
struct Map {
  int width = 0;
  int height = 0;
  std::vector<Color> pixels;

  const Color& at(int x, int y) const { return pixels[index(x, y)]; }
  Color& at(int x, int y) { return pixels[index(x, y)]; }

 private:
  std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
  }
};

/// The half Gaussian kernel, centre first, its whole sum 1; empty where the blur is skipped.
std::vector<double> blurKernel(int width, int height, double amount, double maximum);

/// Blurred along the columns (rows past a pole left out, the remaining weights brought to a sum of 1), then
/// along the rows with a period of the width rounded up to a multiple of 8, the row going on from its start.
Map blurred(const Map& map, const std::vector<double>& kernel);

/// Each row moved left by `columns`, around the seam.
Map shifted(const Map& map, int columns);

/// Where a rotated map looks pixel (x, y) up: u rightward in [0, 1), v downward in [0, 1].
struct Position {
  double u;
  double v;
};
Position rotatedPosition(int width, int height, int x, int y, double azimuth, double tilt);

/// Bilinear, 0 and 1 at the centres of the outermost pixels.
Color bilinear(const Map& map, const Position& at);

}  // namespace reference
