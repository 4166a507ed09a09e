#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

/// The mean of each channel over the sphere: rows weighted by the solid angle of their pixels, which is as
/// the cosine of their middle latitude since all rows are equally high.
inline std::array<double, 3> meanLight(const float* rgb, std::uint32_t width, std::uint32_t height) {
  std::array<double, 3> sums{};
  double weights = 0;
  for (std::uint32_t y = 0; y < height; ++y) {
    const double weight = std::sin(std::numbers::pi * (y + 0.5) / height);
    std::array<double, 3> row{};
    for (std::uint32_t x = 0; x < width; ++x)
      for (std::size_t c = 0; c < 3; ++c) row[c] += static_cast<double>(*rgb++);
    for (std::size_t c = 0; c < 3; ++c) sums[c] += weight * row[c];
    weights += weight;
  }
  for (double& sum : sums) sum /= weights * width;
  return sums;
}
