#include "orvrender/sky/SunDisc.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

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

[[gnu::always_inline]] inline float dot(const Spectrum& a, Lanes b) {
  const Lanes p = load(a) * b;
  return ((p[0] + p[4]) + (p[1] + p[5])) + ((p[2] + p[6]) + (p[3] + p[7]));
}

[[gnu::always_inline]] inline Quad quadOf(const float (&rgb)[4]) {
  Quad out;
  std::memcpy(&out, rgb, sizeof out);
  return out;
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

SunDisc::SunDisc(const Atmosphere& air, double elevation, double size)
    : weights_{},
      profiles_{},
      elevation_(elevation),
      radius_(kSunRadius * size),
      bottom_(std::max(elevation - radius_, 0.0)) {
  // What the limb leaves of each wavelength on each ring; nothing on the outermost.
  std::array<Spectrum, kRings + 1> limbs{};
  for (std::size_t j = 1; j <= kRings; ++j) {
    const double y = static_cast<double>(j) / kRings;
    const double q = 2 * std::asin(std::sqrt((1 - y * y * y * y) * haversine(radius_))) / radius_;
    store(limbs[j], exp(load(kLimbExponents) * static_cast<float>(0.5 * std::log(1 - q * q))));
  }

  const double top = elevation + radius_;
  for (std::size_t k = 0; k < kElevations; ++k) {
    const double y = static_cast<double>(k) / (kElevations - 1);
    const Spectrum through = sunTransmittance(air, std::max(bottom_ + (top - bottom_) * y * y, 1e-9));
    Weights& weights = weights_[k];
    for (int i = 0; i < kWavelengths; ++i) {
      // With this factor the mean over the disc is the same as without darkening.
      const float t = through.v[i] * (0.5f * kLimbExponents.v[i] + 1);
      weights.r.v[i] = kRedWeights.v[i] * t;
      weights.g.v[i] = kGreenWeights.v[i] * t;
      weights.b.v[i] = kBlueWeights.v[i] * t;
    }
    for (std::size_t j = 0; j <= kRings; ++j) {
      const Lanes limb = load(limbs[j]);
      profiles_[k].rings[j] = {{std::max(0.0f, dot(weights.r, limb)), std::max(0.0f, dot(weights.g, limb)),
                                std::max(0.0f, dot(weights.b, limb)), 0}};
    }
  }
  mean_ = meanOfDisc();
}

SunDisc::Stencil SunDisc::stencilAt(double elevation) const {
  const double share = (elevation - bottom_) / (elevation_ + radius_ - bottom_);
  const double place = std::sqrt(std::clamp(share, 0.0, 1.0)) * (kElevations - 1);
  const double first = std::clamp(std::floor(place) - 1, 0.0, double{kElevations - 4});
  // Lagrange's weights for nodes 0 to 3.
  const auto t = static_cast<float>(place - first);
  const float a = t, b = t - 1, c = t - 2, d = t - 3;
  return {static_cast<std::size_t>(first), {b * c * d / -6, a * c * d / 2, a * b * d / -2, a * b * c / 6}};
}

void SunDisc::profileAt(double elevation, Profile& out) const {
  const Stencil stencil = stencilAt(elevation);
  for (std::size_t j = 0; j <= kRings; ++j) {
    Quad sum{};
    for (std::size_t k = 0; k < 4; ++k)
      sum += stencil.weights[k] * quadOf(profiles_[stencil.first + k].rings[j].rgb);
    sum = sum > 0 ? sum : Quad{};
    std::memcpy(out.rings[j].rgb, &sum, sizeof sum);
  }
}

// With x = sin theta up from the disc's centre and y = cos theta sin psi across, in radii, the cosine at the
// limb is cos theta cos psi and an element of area cos^2 theta cos psi.
Color3 SunDisc::meanOfDisc() const {
  constexpr std::size_t kChords = 64, kPoints = 32;
  std::array<Spectrum, kPoints> along;  // the limb's share that depends on psi
  std::array<double, kPoints> lengths;
  for (std::size_t j = 0; j < kPoints; ++j) {
    lengths[j] = std::cos((static_cast<double>(j) + 0.5) / kPoints * 0.5 * kPi);
    store(along[j], exp(load(kLimbExponents) * static_cast<float>(std::log(lengths[j]))));
  }

  const double first = std::asin(std::clamp((bottom_ - elevation_) / radius_, -1.0, 1.0));
  const double step = (0.5 * kPi - first) / kChords;
  Color3 sum;
  for (std::size_t i = 0; i < kChords; ++i) {
    const double theta = first + (static_cast<double>(i) + 0.5) * step;
    const double cosine = std::cos(theta);
    const Stencil stencil = stencilAt(elevation_ + radius_ * std::sin(theta));
    const Lanes across = exp(load(kLimbExponents) * static_cast<float>(std::log(cosine)));
    Lanes r = splat(0), g = splat(0), b = splat(0);
    for (std::size_t k = 0; k < 4; ++k) {
      const Weights& weights = weights_[stencil.first + k];
      r += stencil.weights[k] * load(weights.r) * across;
      g += stencil.weights[k] * load(weights.g) * across;
      b += stencil.weights[k] * load(weights.b) * across;
    }
    for (std::size_t j = 0; j < kPoints; ++j) {
      const double area = cosine * cosine * lengths[j];
      sum.r += area * static_cast<double>(std::max(0.0f, dot(along[j], r)));
      sum.g += area * static_cast<double>(std::max(0.0f, dot(along[j], g)));
      sum.b += area * static_cast<double>(std::max(0.0f, dot(along[j], b)));
    }
  }
  // Over pi, twice for both halves of a chord.
  const double share = step / kPoints;
  return {sum.r * share, sum.g * share, sum.b * share};
}

/// The part of a map that the disc can touch, and its mean over each pixel there. Samples lie about as close
/// along a row as across it, so that the narrow pixels near a pole need few.
class SunDisc::Sampling {
 public:
  Sampling(const SunDisc& disc, double azimuth, std::uint32_t width, std::uint32_t height)
      : disc_(disc),
        azimuth_(azimuth),
        width_(width),
        height_(height),
        columns_(width),
        reach_(haversine(disc.radius_)) {
    const double pixel = kPi / height;
    const double down = std::clamp(std::ceil(4 * pixel / disc.radius_), 4.0, double{kMostSamples});
    samplesDown_ = std::bit_ceil(static_cast<std::uint32_t>(down));

    const double top = disc.elevation_ + disc.radius_, bottom = disc.elevation_ - disc.radius_;
    firstRow_ = rowOf(top);
    endRow_ = rowOf(std::max(bottom, 0.0)) + 1;

    // The disc's half width in longitude; all of it where the disc holds the pole.
    const double centre = columnOf(azimuth);
    firstColumn_ = std::floor(centre - 0.5 * width);
    if (std::max(top, -bottom) < 0.5 * kPi) {
      const double s = std::sin(disc.radius_) / std::cos(disc.elevation_);
      const double half = (s < 1 ? std::asin(s) : kPi) / (2 * kPi) * width;
      if (2 * half + 2 < width) {
        firstColumn_ = std::floor(centre - half);
        columns_ = static_cast<std::uint32_t>(std::floor(centre + half) - firstColumn_ + 1);
      }
    }

    for (std::uint32_t across = samplesAcross(firstRow_); across <= samplesAcross(endRow_ - 1); across *= 2) {
      std::vector<float>& samples = longitudes_[static_cast<std::size_t>(std::countr_zero(across))];
      // Blocks of eight run over the end.
      samples.resize(std::size_t{columns_} * across + 8);
      for (std::size_t i = 0; i < samples.size(); ++i) {
        const double x = firstColumn_ + (static_cast<double>(i) + 0.5) / across;
        samples[i] = static_cast<float>(haversine((x / width - 0.5) * 2 * kPi - azimuth));
      }
    }
  }

  std::uint32_t firstRow() const { return firstRow_; }
  std::uint32_t rows() const { return endRow_ - firstRow_; }
  std::uint32_t columns() const { return columns_; }
  /// The map's column that is the first of `columns`.
  std::uint32_t firstColumn() const { return wrapped(firstColumn_); }

  /// Columns of a row, counted from `firstColumn`.
  struct Extent {
    std::uint32_t begin = 0, end = 0;
  };

  /// Fills in the mean radiance over those pixels of row `y` that the disc may touch.
  /// @param means of `columns` pixels. @return which of them are filled in.
  Extent sampleRow(std::uint32_t y, Quad* means) const {
    // haversine(distance) / haversine(radius) = away + cosines x haversine(longitude from the sun).
    struct Line {
      Profile profile;
      float away, cosines;
    } lines[kMostSamples];
    std::uint32_t lineCount = 0;
    double widest = 0;
    for (std::uint32_t j = 0; j < samplesDown_; ++j) {
      const double latitude = (0.5 - (y + (j + 0.5) / samplesDown_) / height_) * kPi;
      const double away = haversine(latitude - disc_.elevation_) / reach_;
      if (!(latitude > 0) || away >= 1) continue;
      const double cosines = std::cos(latitude) * std::cos(disc_.elevation_) / reach_;
      Line& line = lines[lineCount++];
      disc_.profileAt(latitude, line.profile);
      line.away = static_cast<float>(away);
      line.cosines = static_cast<float>(cosines);
      widest = std::max(widest, (1 - away) / cosines);
    }
    if (lineCount == 0) return {};

    Extent extent{0, columns_};
    const double half = widest < 1 ? std::asin(std::sqrt(widest)) / kPi * width_ : width_;
    if (2 * half + 2 < width_) {
      const double centre = columnOf(azimuth_);
      extent.begin = static_cast<std::uint32_t>(std::max(std::floor(centre - half) - firstColumn_, 0.0));
      extent.end = static_cast<std::uint32_t>(
          std::min(std::floor(centre + half) - firstColumn_ + 1, static_cast<double>(columns_)));
    }
    if (extent.begin >= extent.end) return {};

    const std::uint32_t across = samplesAcross(y);
    const int shift = std::countr_zero(across);
    const float* const longitudes = longitudes_[static_cast<std::size_t>(shift)].data();
    std::fill(means + extent.begin, means + extent.end, Quad{});
    for (std::uint32_t l = 0; l < lineCount; ++l)
      addLine(lines[l].profile, lines[l].away, lines[l].cosines, longitudes, extent, shift, means);
    const float share = 1.0f / static_cast<float>(samplesDown_ * across);
    for (std::uint32_t i = extent.begin; i < extent.end; ++i) means[i] *= share;
    return extent;
  }

  /// Solid angle of a pixel of row `y`.
  double solidAngle(std::uint32_t y) const {
    return 2 * kPi / width_ * (std::sin(latitudeOfEdge(y)) - std::sin(latitudeOfEdge(y + 1)));
  }

  std::uint32_t centreColumn() const { return wrapped(std::floor(columnOf(azimuth_))); }
  /// Never below the horizon.
  std::uint32_t centreRow() const { return std::min(rowOf(disc_.elevation_), (height_ - 1) / 2); }

 private:
  static constexpr std::uint32_t kMostSamples = 32;

  /// Adds the samples of one latitude up. Outside the disc they are the outermost ring's, which is black.
  static void addLine(const Profile& profile, float away, float cosines, const float* longitudes,
                      const Extent& extent, int shift, Quad* means) {
    const std::uint32_t end = extent.end << shift;
    for (std::uint32_t i0 = extent.begin << shift; i0 < end; i0 += 8) {
      const Lanes inside = max(1.0f - (away + cosines * load(longitudes + i0)), splat(0));
      const Lanes place = sqrt(sqrt(inside)) * static_cast<float>(kRings);
      const IntLanes ring = min(truncate(place), IntLanes{} + static_cast<std::int32_t>(kRings - 1));
      const Lanes fraction = place - toFloat(ring);
      const std::uint32_t count = std::min(end - i0, 8u);
      for (std::uint32_t i = 0; i < count; ++i) {
        const Profile::Ring* const at = &profile.rings[static_cast<std::size_t>(ring[i])];
        const Quad a = quadOf(at[0].rgb), b = quadOf(at[1].rgb);
        means[(i0 + i) >> shift] += a + (b - a) * fraction[i];
      }
    }
  }

  /// A power of two, the same from some rows on: pixels widen with the cosine of the latitude.
  std::uint32_t samplesAcross(std::uint32_t y) const {
    const double samples = std::ceil(samplesDown_ * std::cos(std::max(latitudeOfEdge(y + 1), 0.0)));
    return std::bit_ceil(static_cast<std::uint32_t>(std::max(samples, 1.0)));
  }
  double latitudeOfEdge(std::uint32_t y) const { return (0.5 - static_cast<double>(y) / height_) * kPi; }
  double columnOf(double azimuth) const { return (azimuth / (2 * kPi) + 0.5) * width_; }
  std::uint32_t wrapped(double column) const {
    return static_cast<std::uint32_t>(column - width_ * std::floor(column / width_)) % width_;
  }
  std::uint32_t rowOf(double elevation) const {
    const double y = std::floor((0.5 - elevation / kPi) * height_);
    return static_cast<std::uint32_t>(std::clamp(y, 0.0, static_cast<double>(height_ - 1)));
  }

  const SunDisc& disc_;
  double azimuth_;
  std::uint32_t width_, height_;
  std::uint32_t samplesDown_;
  std::uint32_t firstRow_ = 0, endRow_ = 0;
  double firstColumn_;  // may lie beside the map, which continues there
  std::uint32_t columns_;
  double reach_;
  // By log2 of the samples across a pixel: the samples' longitudes, as haversines from the sun.
  std::array<std::vector<float>, 6> longitudes_;
};

void SunDisc::addTo(float* rgb, std::uint32_t width, std::uint32_t height, double azimuth,
                    double intensity) const {
  if (width == 0 || height == 0 || elevation_ + radius_ <= 0) return;
  // A larger disc is dimmer, so that its light stays the same: that of a plane facing the sun.
  const Color3 light{mean_.r * intensity, mean_.g * intensity, mean_.b * intensity};

  const Sampling sampling(*this, azimuth, width, height);
  const std::size_t columns = sampling.columns();
  const auto means = std::make_unique_for_overwrite<Quad[]>(sampling.rows() * columns);
  std::vector<Sampling::Extent> extents(sampling.rows());
  std::vector<Color3> sums(sampling.rows());
  forEachRow(sampling.rows(), 1, [&](std::uint32_t i) {
    const std::uint32_t y = sampling.firstRow() + i;
    const Quad* const row = means.get() + i * columns;
    extents[i] = sampling.sampleRow(y, means.get() + i * columns);
    Color3 sum;
    for (std::uint32_t x = extents[i].begin; x < extents[i].end; ++x) {
      sum.r += static_cast<double>(row[x][0]);
      sum.g += static_cast<double>(row[x][1]);
      sum.b += static_cast<double>(row[x][2]);
    }
    const double omega = sampling.solidAngle(y);
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
    float* const out = rgb + std::size_t{3} * width * (sampling.firstRow() + i);
    const Quad* const row = means.get() + i * columns;
    std::uint32_t column = (sampling.firstColumn() + extents[i].begin) % width;
    for (std::uint32_t x = extents[i].begin; x < extents[i].end; ++x) {
      addPixel(out + std::size_t{3} * column,
               {static_cast<double>(row[x][0]) * scale.r, static_cast<double>(row[x][1]) * scale.g,
                static_cast<double>(row[x][2]) * scale.b});
      column = column + 1 < width ? column + 1 : 0;
    }
  });
  const std::size_t y = sampling.centreRow();
  const double omega = sampling.solidAngle(sampling.centreRow());
  const auto rest = [omega](double wanted, double found) { return found > 0 ? 0 : wanted / omega; };
  addPixel(rgb + 3 * (y * width + sampling.centreColumn()),
           {rest(light.r, sampled.r), rest(light.g, sampled.g), rest(light.b, sampled.b)});
}

}  // namespace orv::host
