#include "orvrender/sky/SunDisc.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "maps/row_loop.h"

namespace orv::host {

namespace {

/// Exponents of the limb's darkening: brightness goes with the alpha-th power of the cosine of the angle
/// under which the surface is seen.
constexpr Spectrum limbExponents() {
  Spectrum out{};
  for (int i = 0; i < kWavelengths; ++i) out.v[i] = static_cast<float>(-0.023 + 0.292 / wavelength(i));
  return out;
}
constexpr Spectrum kLimbExponents = limbExponents();

[[gnu::always_inline]] inline double dot(const Spectrum& a, Lanes b) {
  const Lanes p = load(a) * b;
  return static_cast<double>(((p[0] + p[4]) + (p[1] + p[5])) + ((p[2] + p[6]) + (p[3] + p[7])));
}

double haversine(double angle) {
  const double s = std::sin(0.5 * angle);
  return s * s;
}

void addPixel(float* pixel, const Color3& color) {
  constexpr double kMost = std::numeric_limits<float>::max();
  const double c[3] = {color.r, color.g, color.b};
  for (int i = 0; i < 3; ++i)
    pixel[i] = static_cast<float>(std::min(static_cast<double>(pixel[i]) + c[i], kMost));
}

}  // namespace

SunDisc::SunDisc(const Atmosphere& air, const SunPlace& sun, double size)
    : sun_(sun), radius_(kSunRadius * size), weights_{} {
  for (int k = 0; k < kElevations; ++k) {
    const double elevation = sun.elevation + radius_ * (2.0 * k / (kElevations - 1) - 1);
    const Spectrum through = sunTransmittance(air, elevation);
    for (int i = 0; i < kWavelengths; ++i) {
      // With this factor the mean over the disc is the same as without darkening.
      const float t = through.v[i] * (0.5f * kLimbExponents.v[i] + 1);
      weights_[static_cast<std::size_t>(k)].r.v[i] = kRedWeights.v[i] * t;
      weights_[static_cast<std::size_t>(k)].g.v[i] = kGreenWeights.v[i] * t;
      weights_[static_cast<std::size_t>(k)].b.v[i] = kBlueWeights.v[i] * t;
    }
  }
}

SunDisc::Weights SunDisc::weightsAt(double elevation) const {
  if (!(elevation > 0)) return {};
  const double place = (elevation - sun_.elevation + radius_) / (2 * radius_) * (kElevations - 1);
  const double clamped = std::clamp(place, 0.0, static_cast<double>(kElevations - 1));
  const auto k = std::min(static_cast<std::size_t>(clamped), std::size_t{kElevations - 2});
  const auto f = static_cast<float>(clamped - static_cast<double>(k));
  const Weights &a = weights_[k], &b = weights_[k + 1];
  Weights out;
  store(out.r, load(a.r) + (load(b.r) - load(a.r)) * f);
  store(out.g, load(a.g) + (load(b.g) - load(a.g)) * f);
  store(out.b, load(a.b) + (load(b.b) - load(a.b)) * f);
  return out;
}

Color3 SunDisc::radiance(const Weights& weights, double q) {
  const double mu2 = 1 - q * q;
  if (!(mu2 > 0)) return {};
  const Lanes limb = exp(load(kLimbExponents) * static_cast<float>(0.5 * std::log(mu2)));
  return {std::max(0.0, dot(weights.r, limb)), std::max(0.0, dot(weights.g, limb)),
          std::max(0.0, dot(weights.b, limb))};
}

Color3 SunDisc::mean() const {
  // A spiral of equal areas, its points a golden angle apart.
  constexpr int kPoints = 2048;
  constexpr double kGoldenAngle = 2.39996323;
  Color3 sum;
  for (int i = 0; i < kPoints; ++i) {
    const double q = std::sqrt((i + 0.5) / kPoints);
    const double elevation = sun_.elevation + radius_ * q * std::sin(i * kGoldenAngle);
    const Color3 value = radiance(weightsAt(elevation), q);
    sum.r += value.r;
    sum.g += value.g;
    sum.b += value.b;
  }
  return {sum.r / kPoints, sum.g / kPoints, sum.b / kPoints};
}

/// The part of a map that the disc can touch, and its mean over each pixel there.
class SunDisc::Sampling {
 public:
  Sampling(const SunDisc& disc, std::uint32_t width, std::uint32_t height)
      : disc_(disc), width_(width), height_(height) {
    const double pixel = kPi / height;
    perSide_ = static_cast<std::uint32_t>(std::clamp(std::ceil(4 * pixel / disc.radius_), 4.0, 32.0));

    const double top = disc.sun_.elevation + disc.radius_, bottom = disc.sun_.elevation - disc.radius_;
    firstRow_ = rowOf(top);
    endRow_ = rowOf(std::max(bottom, 0.0)) + 1;

    // The disc's half width in longitude; all of it where the disc holds the pole.
    std::uint64_t columns = width;
    if (std::max(top, -bottom) < 0.5 * kPi) {
      const double s = std::sin(disc.radius_) / std::cos(disc.sun_.elevation);
      const double reach = s < 1 ? std::asin(s) : kPi;
      const double first = std::floor(columnOf(disc.sun_.azimuth - reach));
      const double last = std::floor(columnOf(disc.sun_.azimuth + reach));
      if (last - first + 1 < width) {
        columns = static_cast<std::uint64_t>(last - first + 1);
        const double wrapped = first - width * std::floor(first / width);
        firstColumn_ = static_cast<std::uint32_t>(wrapped) % width;
      }
    }
    columns_ = static_cast<std::uint32_t>(columns);

    longitudes_.resize(std::size_t{columns_} * perSide_);
    for (std::size_t i = 0; i < longitudes_.size(); ++i) {
      const double x = firstColumn_ + (static_cast<double>(i) + 0.5) / perSide_;
      longitudes_[i] = haversine((x / width - 0.5) * 2 * kPi - disc.sun_.azimuth);
    }
  }

  std::uint32_t firstRow() const { return firstRow_; }
  std::uint32_t rows() const { return endRow_ - firstRow_; }
  std::uint32_t column(std::uint32_t i) const {
    return static_cast<std::uint32_t>((std::uint64_t{firstColumn_} + i) % width_);
  }

  /// Calls `pixel(column, mean radiance)` for each pixel of a row that the disc touches.
  void eachPixel(std::uint32_t y, const auto& pixel) const {
    struct Line {
      Weights weights;
      double haversine, cosines;
    } lines[32];
    std::uint32_t lineCount = 0;
    const double reach = haversine(disc_.radius_);
    for (std::uint32_t j = 0; j < perSide_; ++j) {
      const double latitude = (0.5 - (y + (j + 0.5) / perSide_) / height_) * kPi;
      const double away = haversine(latitude - disc_.sun_.elevation);
      if (!(latitude > 0) || away > reach) continue;
      lines[lineCount++] = {disc_.weightsAt(latitude), away,
                            std::cos(latitude) * std::cos(disc_.sun_.elevation)};
    }
    if (lineCount == 0) return;

    const double share = 1.0 / (perSide_ * perSide_);
    for (std::uint32_t i = 0; i < columns_; ++i) {
      Color3 sum;
      bool touched = false;
      for (std::uint32_t l = 0; l < lineCount; ++l) {
        for (std::uint32_t k = 0; k < perSide_; ++k) {
          const double away =
              lines[l].haversine + lines[l].cosines * longitudes_[std::size_t{i} * perSide_ + k];
          if (away >= reach) continue;
          const Color3 value =
              radiance(lines[l].weights, 2 * std::asin(std::sqrt(std::max(away, 0.0))) / disc_.radius_);
          sum.r += value.r;
          sum.g += value.g;
          sum.b += value.b;
          touched = true;
        }
      }
      if (touched) pixel(column(i), Color3{sum.r * share, sum.g * share, sum.b * share});
    }
  }

  /// Solid angle of a pixel of row `y`.
  double solidAngle(std::uint32_t y) const {
    const double top = (0.5 - static_cast<double>(y) / height_) * kPi;
    const double bottom = (0.5 - static_cast<double>(y + 1) / height_) * kPi;
    return 2 * kPi / width_ * (std::sin(top) - std::sin(bottom));
  }

  std::uint32_t centreColumn() const {
    const double x = std::floor(columnOf(disc_.sun_.azimuth));
    return static_cast<std::uint32_t>(x - width_ * std::floor(x / width_)) % width_;
  }
  /// Never below the horizon.
  std::uint32_t centreRow() const { return std::min(rowOf(disc_.sun_.elevation), (height_ - 1) / 2); }

 private:
  double columnOf(double azimuth) const { return (azimuth / (2 * kPi) + 0.5) * width_; }
  std::uint32_t rowOf(double elevation) const {
    const double y = std::floor((0.5 - elevation / kPi) * height_);
    return static_cast<std::uint32_t>(std::clamp(y, 0.0, static_cast<double>(height_ - 1)));
  }

  const SunDisc& disc_;
  std::uint32_t width_, height_;
  std::uint32_t perSide_ = 4;  // samples along each side of a pixel
  std::uint32_t firstRow_ = 0, endRow_ = 0;
  std::uint32_t firstColumn_ = 0, columns_ = 0;
  std::vector<double> longitudes_;  // of the samples, as haversines from the sun
};

void SunDisc::addTo(float* rgb, std::uint32_t width, std::uint32_t height, double intensity) const {
  if (width == 0 || height == 0 || sun_.elevation + radius_ <= 0) return;
  // A larger disc is dimmer, so that its light stays the same: that of a plane facing the sun.
  const Color3 radianceMean = mean();
  const Color3 light{radianceMean.r * intensity, radianceMean.g * intensity, radianceMean.b * intensity};

  const Sampling sampling(*this, width, height);
  std::vector<Color3> sums(sampling.rows());
  forEachRow(sampling.rows(), 1, [&](std::uint32_t i) {
    Color3 sum;
    sampling.eachPixel(sampling.firstRow() + i, [&](std::uint32_t, const Color3& value) {
      sum.r += value.r;
      sum.g += value.g;
      sum.b += value.b;
    });
    const double omega = sampling.solidAngle(sampling.firstRow() + i);
    sums[i] = {sum.r * omega, sum.g * omega, sum.b * omega};
  });
  Color3 sampled;
  for (const Color3& sum : sums) {
    sampled.r += sum.r;
    sampled.g += sum.g;
    sampled.b += sum.b;
  }

  // What the samples missed is made up for by a factor; where they all missed, one pixel gets it.
  const auto factor = [](double wanted, double found) { return found > 0 ? wanted / found : 0; };
  const Color3 scale{factor(light.r, sampled.r), factor(light.g, sampled.g), factor(light.b, sampled.b)};
  forEachRow(sampling.rows(), 1, [&](std::uint32_t i) {
    const std::size_t y = sampling.firstRow() + i;
    sampling.eachPixel(static_cast<std::uint32_t>(y), [&](std::uint32_t x, const Color3& value) {
      addPixel(rgb + 3 * (y * width + x), {value.r * scale.r, value.g * scale.g, value.b * scale.b});
    });
  });
  const std::size_t y = sampling.centreRow();
  const double omega = sampling.solidAngle(sampling.centreRow());
  const auto rest = [omega](double wanted, double found) { return found > 0 ? 0 : wanted / omega; };
  addPixel(rgb + 3 * (y * width + sampling.centreColumn()),
           {rest(light.r, sampled.r), rest(light.g, sampled.g), rest(light.b, sampled.b)});
}

}  // namespace orv::host
