#include "scene/light_balls.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

#include "maps/row_loop.h"
#include "scene/reduce_map.h"

namespace orv::scene {
namespace {

constexpr double kPi = std::numbers::pi;

double latitudeOf(std::size_t y, std::size_t height) {
  return (0.5 - (static_cast<double>(y) + 0.5) / static_cast<double>(height)) * kPi;
}

/// Pixel (x, y), where x may be up to two widths outside and y one row.
const hdri::Rgb& pixelAcross(const hdri::EnvImage& map, int x, int y) {
  if (y < 0 || y >= map.height) {
    // Beyond a pole the map goes on half a turn away.
    y = y < 0 ? 0 : map.height - 1;
    x += map.width / 2;
  }
  const int column = (x + 2 * map.width) % map.width;
  return map.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(map.width) +
                    static_cast<std::size_t>(column)];
}

hdri::Rgb mixed(const hdri::Rgb& a, const hdri::Rgb& b, double part) {
  const auto t = static_cast<float>(part);
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

/// Rows of a map, each twice in a row with its end before it: from -width to 2 width.
class WrappedRows {
 public:
  explicit WrappedRows(const hdri::EnvImage& map) : width_(static_cast<std::size_t>(map.width)) {
    values_.reserve(9 * map.pixels.size());
    for (std::size_t y = 0; y < static_cast<std::size_t>(map.height); ++y) {
      for (int turn = 0; turn < 3; ++turn) {
        for (std::size_t x = 0; x < width_; ++x) {
          const hdri::Rgb& pixel = map.pixels[y * width_ + x];
          values_.insert(values_.end(), {pixel.r, pixel.g, pixel.b});
        }
      }
    }
  }

  /// The channels from the pixel 0 of row y on.
  const float* row(std::size_t y) const { return values_.data() + (3 * y + 1) * 3 * width_; }

 private:
  std::size_t width_;
  std::vector<float> values_;
};

/// out[i] += weight (left[i] + right[i])
void addWeighted(const float* left, const float* right, float weight, std::vector<float>& out) {
  for (std::size_t i = 0; i < out.size(); ++i) out[i] += weight * (left[i] + right[i]);
}

}  // namespace

hdri::Rgb lookUp(const hdri::EnvImage& map, const Direction& d) {
  const double across = (std::atan2(d.y, d.x) / (2 * kPi) + 0.5) * map.width - 0.5;
  const double down = (0.5 - std::atan2(d.z, std::hypot(d.x, d.y)) / kPi) * map.height - 0.5;
  const int x = static_cast<int>(std::floor(across)), y = static_cast<int>(std::floor(down));
  const hdri::Rgb upper = mixed(pixelAcross(map, x, y), pixelAcross(map, x + 1, y), across - x);
  const hdri::Rgb lower = mixed(pixelAcross(map, x, y + 1), pixelAcross(map, x + 1, y + 1), across - x);
  return mixed(upper, lower, down - y);
}

hdri::EnvImage resizeMap(const hdri::EnvImage& map, int width, int height) {
  hdri::EnvImage reduced = reduceMap(map, width, height);
  if (reduced.width == width && reduced.height == height) return reduced;
  hdri::EnvImage enlarged(width, height);
  const auto columns = static_cast<std::size_t>(width);
  forEachRow(static_cast<std::uint32_t>(height), 1, [&](std::size_t y) {
    const double latitude = latitudeOf(y, static_cast<std::size_t>(height));
    for (std::size_t x = 0; x < columns; ++x) {
      const double longitude = ((static_cast<double>(x) + 0.5) / width - 0.5) * 2 * kPi;
      enlarged.pixels[y * columns + x] =
          lookUp(reduced, {std::cos(longitude) * std::cos(latitude), std::sin(longitude) * std::cos(latitude),
                           std::sin(latitude)});
    }
  });
  return enlarged;
}

hdri::EnvImage blurByCosine(const hdri::EnvImage& map, int exponent) {
  const auto width = static_cast<std::size_t>(map.width), height = static_cast<std::size_t>(map.height);
  const WrappedRows rows(map);
  hdri::EnvImage blurred(map.width, map.height);
  forEachRow(static_cast<std::uint32_t>(height), 1, [&](std::size_t y) {
    const double latitude = latitudeOf(y, height);
    std::vector<float> sum(3 * width);
    double weights = 0;
    for (std::size_t source = 0; source < height; ++source) {
      // cos angle = sin a sin b + cos a cos b cos turn; cos b is the solid angle of b's row.
      const double other = latitudeOf(source, height);
      const float* const row = rows.row(source);
      for (std::size_t turn = 0; turn <= width / 2; ++turn) {
        const double cosTurn = std::cos(2 * kPi * static_cast<double>(turn) / static_cast<double>(width));
        const double cosine =
            std::sin(latitude) * std::sin(other) + std::cos(latitude) * std::cos(other) * cosTurn;
        // Further away the cosine is smaller still.
        if (cosine <= 0) break;
        const double weight = std::pow(cosine, exponent) * std::cos(other);
        if (weight < 1e-9) break;
        // A turn to the left and one to the right, which are one turn at both ends.
        const bool once = turn == 0 || 2 * turn == width;
        addWeighted(row - 3 * turn, row + 3 * turn, static_cast<float>(once ? weight / 2 : weight), sum);
        weights += once ? weight : 2 * weight;
      }
    }
    for (std::size_t x = 0; x < width; ++x) {
      const auto channel = [&](std::size_t c) {
        return static_cast<float>(static_cast<double>(sum[3 * x + c]) / weights);
      };
      blurred.pixels[y * width + x] = {channel(0), channel(1), channel(2)};
    }
  });
  return blurred;
}

BallCamera::BallCamera(double azimuthDegrees) {
  const double azimuth = azimuthDegrees * kPi / 180;
  along_ = {std::cos(azimuth), std::sin(azimuth), 0};
  // Longitudes grow to the right.
  right_ = {-along_.y, along_.x, 0};
}

Direction BallCamera::normal(double x, double y) const {
  const double towards = std::sqrt(std::max(1 - x * x - y * y, 0.0));
  return {x * right_.x - towards * along_.x, x * right_.y - towards * along_.y, y};
}

Direction BallCamera::mirrored(const Direction& n) const {
  // d - 2 (d n) n
  const double twice = 2 * (along_.x * n.x + along_.y * n.y + along_.z * n.z);
  return {along_.x - twice * n.x, along_.y - twice * n.y, along_.z - twice * n.z};
}

}  // namespace orv::scene
