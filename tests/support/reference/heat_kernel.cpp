#include "support/reference/heat_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace reference {
namespace {

const double kPi = std::acos(-1.0);

double polarAngle(int height, int y) { return (y + 0.5) / height * kPi; }

}  // namespace

double heatKernel(double sigma, double cosDistance) {
  double sum = 0, before = 0, now = 1;
  for (int l = 0;; ++l) {
    const double factor = std::exp(-0.5 * sigma * sigma * l * (l + 1.0));
    if (factor < 1e-20) break;
    sum += (2 * l + 1) * factor * now;
    // (l + 1) P(l + 1) = (2 l + 1) x P(l) - l P(l - 1)
    const double next = ((2 * l + 1) * cosDistance * now - l * before) / (l + 1);
    before = now;
    now = next;
  }
  return sum / (4 * kPi);
}

double pixelArea(int width, int height, int y) {
  return 2 * kPi / width * (std::cos(kPi * y / height) - std::cos(kPi * (y + 1) / height));
}

double cosDistance(int width, int height, int x0, int y0, int x1, int y1) {
  const double a = polarAngle(height, y0), b = polarAngle(height, y1);
  return std::cos(a) * std::cos(b) + std::sin(a) * std::sin(b) * std::cos(2 * kPi * (x1 - x0) / width);
}

double light(const Map& map, std::size_t channel) {
  double sum = 0;
  for (int y = 0; y < map.height; ++y)
    for (int x = 0; x < map.width; ++x) sum += pixelArea(map.width, map.height, y) * map.at(x, y)[channel];
  return sum;
}

Map blurredOnSphere(const Map& map, double sigma) {
  const int width = map.width, height = map.height;
  const auto row = [](int y) { return static_cast<std::size_t>(y); };
  // kernel[i][j][dx]; empty for rows too far apart to matter.
  std::vector<std::vector<std::vector<double>>> kernel(row(height),
                                                       std::vector<std::vector<double>>(row(height)));
  std::vector<std::vector<double>> ringSum(row(height), std::vector<double>(row(height), 0.0));
  const double nearest = sigma < 0.3 ? std::cos(9 * sigma) : -2;
  for (int i = 0; i < height; ++i)
    for (int j = 0; j < height; ++j) {
      if (cosDistance(width, height, 0, i, 0, j) < nearest) continue;
      for (int dx = 0; dx < width; ++dx) {
        const double cosine = cosDistance(width, height, 0, i, dx, j);
        kernel[row(i)][row(j)].push_back(cosine < nearest ? 0.0 : heatKernel(sigma, cosine));
        ringSum[row(i)][row(j)] += kernel[row(i)][row(j)].back() * pixelArea(width, height, j);
      }
    }

  std::vector<double> scale(row(height), 1.0);
  for (int round = 0; round < 100; ++round) {
    const std::vector<double> before = scale;
    for (int i = 0; i < height; ++i) {
      double sum = 0;
      for (int j = 0; j < height; ++j) sum += ringSum[row(i)][row(j)] * before[row(j)];
      scale[row(i)] = std::sqrt(before[row(i)] / sum);
    }
  }

  Map out = map;
  for (int i = 0; i < height; ++i)
    for (int x = 0; x < width; ++x) {
      Color sum{};
      for (int j = 0; j < height; ++j) {
        const std::vector<double>& weights = kernel[row(i)][row(j)];
        if (weights.empty()) continue;
        const double common = scale[row(i)] * pixelArea(width, height, j) * scale[row(j)];
        for (int dx = 0; dx < width; ++dx) {
          if (weights[row(dx)] == 0) continue;
          const Color& from = map.at((x + dx) % width, j);
          for (std::size_t c = 0; c < 3; ++c) sum[c] += common * weights[row(dx)] * from[c];
        }
      }
      out.at(x, i) = sum;
    }
  return out;
}

}  // namespace reference
