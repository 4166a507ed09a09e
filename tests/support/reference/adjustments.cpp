#include "support/reference/adjustments.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace reference {
namespace {

void addTo(Color& sum, const Color& color, double weight) {
  for (std::size_t i = 0; i < 3; ++i) sum[i] += weight * color[i];
}

}  // namespace

std::vector<double> blurKernel(int width, int height, double amount, double maximum) {
  const double sigma = width / 100.0 * (amount * 0.5);
  if (!(sigma > 0) || std::exp(-1.0 / (2 * sigma * sigma)) < 1e-10) return {};
  const double reach = std::ceil(sigma * std::sqrt(-2.0 * std::log(0.1 / std::max(1.0, maximum))));
  const int radius = static_cast<int>(std::min({reach, width - 1.0, height - 1.0}));
  std::vector<double> kernel;
  for (int i = 0; i <= radius; ++i) kernel.push_back(std::exp(-i * double(i) / (2 * sigma * sigma)));
  double sum = kernel[0];
  for (std::size_t i = 1; i < kernel.size(); ++i) sum += 2 * kernel[i];
  for (double& weight : kernel) weight /= sum;
  return kernel;
}

Map blurred(const Map& map, const std::vector<double>& kernel) {
  const int radius = static_cast<int>(kernel.size()) - 1;
  const auto weight = [&](int distance) { return kernel[static_cast<std::size_t>(std::abs(distance))]; };

  Map columns = map;
  for (int x = 0; x < map.width; ++x)
    for (int y = 0; y < map.height; ++y) {
      Color sum{};
      double used = 0;
      for (int row = std::max(y - radius, 0); row <= std::min(y + radius, map.height - 1); ++row) {
        addTo(sum, map.at(x, row), weight(row - y));
        used += weight(row - y);
      }
      for (double& channel : sum) channel /= used;
      columns.at(x, y) = sum;
    }

  const int period = (map.width + 7) / 8 * 8;
  Map out = map;
  for (int y = 0; y < map.height; ++y)
    for (int x = 0; x < map.width; ++x) {
      Color sum{};
      for (int d = -radius; d <= radius; ++d)
        addTo(sum, columns.at((x + d + period) % period % map.width, y), weight(d));
      out.at(x, y) = sum;
    }
  return out;
}

Map shifted(const Map& map, int columns) {
  Map out = map;
  for (int y = 0; y < map.height; ++y)
    for (int x = 0; x < map.width; ++x) out.at(x, y) = map.at((x + columns) % map.width, y);
  return out;
}

Position rotatedPosition(int width, int height, int x, int y, double azimuth, double tilt) {
  const double pi = std::acos(-1.0);
  const double theta = (y + 0.5) / height * pi;
  const double phi = static_cast<double>(x) / width * 6.283185;
  const double d[3] = {std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)};
  // The rotation turns by -azimuth about z, then by -tilt about y; its inverse undoes the tilt first.
  const double e[3] = {std::cos(tilt) * d[0] + std::sin(tilt) * d[2], d[1],
                       std::cos(tilt) * d[2] - std::sin(tilt) * d[0]};
  const double f[2] = {std::cos(azimuth) * e[0] - std::sin(azimuth) * e[1],
                       std::sin(azimuth) * e[0] + std::cos(azimuth) * e[1]};
  const double u = std::atan2(f[1], f[0]) / (2 * pi);
  return {u < 0 ? u + 1 : u, std::acos(std::clamp(e[2], -1.0, 1.0)) / pi};
}

Color bilinear(const Map& map, const Position& at) {
  const double x = at.u * (map.width - 1);
  const double y = at.v * (map.height - 1);
  const int x0 = static_cast<int>(x);
  const int y0 = static_cast<int>(y);
  const int x1 = (x0 + 1) % map.width;
  const int y1 = (y0 + 1) % map.height;
  Color out;
  for (std::size_t i = 0; i < 3; ++i)
    out[i] = std::lerp(std::lerp(map.at(x0, y0)[i], map.at(x1, y0)[i], x - x0),
                       std::lerp(map.at(x0, y1)[i], map.at(x1, y1)[i], x - x0), y - y0);
  return out;
}

}  // namespace reference
