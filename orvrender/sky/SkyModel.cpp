#include "orvrender/sky/SkyModel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "maps/row_loop.h"

namespace orv::host {

namespace {

constexpr int kNodes = SkyView::kWidth;

/// What the columns of a map share in every row: their place between the view's azimuths and the cosine of
/// their azimuth from the sun. Padded to whole blocks of 8.
struct Columns {
  Columns(std::uint32_t width, double sunAzimuth);
  std::vector<std::int32_t> node;
  std::vector<float> fraction;
  std::vector<float> cosine;
};

Columns::Columns(std::uint32_t width, double sunAzimuth) {
  const std::size_t padded = (std::size_t{width} + 7) / 8 * 8;
  node.resize(padded);
  fraction.resize(padded);
  cosine.resize(padded);
  for (std::size_t x = 0; x < width; ++x) {
    const double azimuth = ((static_cast<double>(x) + 0.5) / width - 0.5) * 2 * kPi;
    const double fromSun = std::abs(std::remainder(azimuth - sunAzimuth, 2 * kPi));
    const double place = std::min(fromSun / kPi, 1.0) * (kNodes - 1);
    node[x] = std::min(static_cast<std::int32_t>(place), kNodes - 2);
    fraction[x] = static_cast<float>(place - node[x]);
    cosine[x] = static_cast<float>(std::cos(fromSun));
  }
}

/// What the pixels of one row share.
struct Row {
  SkyNode nodes[kNodes];  ///< the view at the row's elevation, times what dims or brightens it
  float base[4];          ///< light that is added everywhere
  float sineProduct;      ///< sines of the row's and the sun's elevations, multiplied
  float cosineProduct;    ///< cosines of the same
};

// Pixel = base + air + phase(cosine of the angle to the sun) x aerosol.
[[gnu::always_inline]] inline void paintRow(const Row& row, const Columns& columns, std::uint32_t width,
                                            float* rgb) {
  Quad base;
  std::memcpy(&base, row.base, sizeof base);
  const float most = std::numeric_limits<float>::max();
  const Quad zero = {0, 0, 0, 0}, largest = {most, most, most, most};
  float phase[8];
  for (std::uint32_t x0 = 0; x0 < width; x0 += 8) {
    const Lanes c =
        clamp(row.sineProduct + row.cosineProduct * load(columns.cosine.data() + x0), -1.0f, 1.0f);
    store(phase, aerosolPhase(c));
    const std::uint32_t count = std::min(width - x0, 8u);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t x = x0 + i;
      const SkyNode* node = row.nodes + columns.node[x];
      Lanes left, right;
      std::memcpy(&left, node, sizeof left);
      std::memcpy(&right, node + 1, sizeof right);
      const Lanes value = left + (right - left) * columns.fraction[x];
      const Quad air = __builtin_shufflevector(value, value, 0, 1, 2, 3);
      const Quad aerosol = __builtin_shufflevector(value, value, 4, 5, 6, 7);
      Quad color = base + air + aerosol * phase[i];
      // Colours may lie outside the gamut until here.
      color = color > zero ? color : zero;
      color = color < largest ? color : largest;
      // The fourth float is the next pixel's first, which follows; the row's last pixel must not write it.
      std::memcpy(rgb + std::size_t{3} * x, &color, x + 1 < width ? 4 * sizeof(float) : 3 * sizeof(float));
    }
  }
}

[[gnu::target("avx2")]] void paintRowAvx2(const Row& row, const Columns& columns, std::uint32_t width,
                                          float* rgb) {
  paintRow(row, columns, width, rgb);
}

void paintRowAnywhere(const Row& row, const Columns& columns, std::uint32_t width, float* rgb) {
  paintRow(row, columns, width, rgb);
}

/// The view at an elevation of at least 0, each colour times its factor.
void interpolate(const SkyView& view, double elevation, const float (&factors)[3], SkyNode* out) {
  const double place = std::sqrt(std::min(elevation / (0.5 * kPi), 1.0)) * (SkyView::kHeight - 1);
  const int y = std::min(static_cast<int>(place), SkyView::kHeight - 2);
  const auto f = static_cast<float>(place - y);
  const SkyNode *top = view.row(y), *bottom = view.row(y + 1);
  for (int x = 0; x < kNodes; ++x) {
    for (int c = 0; c < 3; ++c) {
      out[x].air[c] = factors[c] * (top[x].air[c] + (bottom[x].air[c] - top[x].air[c]) * f);
      out[x].aerosol[c] = factors[c] * (top[x].aerosol[c] + (bottom[x].aerosol[c] - top[x].aerosol[c]) * f);
    }
    out[x].air[3] = 0;
    out[x].aerosol[3] = 0;
  }
}

/// Extinction near the ground for red, green and blue, without ozone.
void groundExtinction(double turbidity, double (&out)[3]) {
  constexpr double kLambdas[3] = {0.612, 0.549, 0.465};
  for (int c = 0; c < 3; ++c)
    out[c] = rayleighDepth(kLambdas[c]) / kRayleighScaleHeight +
             aerosolDepth(turbidity, kLambdas[c]) / kAerosolScaleHeight;
}

}  // namespace

void SkyModel::renewTables(const SkyConditions& conditions, double sunElevation) {
  const double turbidity = static_cast<double>(conditions.turbidity);
  const double ozone = static_cast<double>(conditions.ozone);
  const double groundAlbedo = static_cast<double>(conditions.groundAlbedo);
  if (turbidity != turbidity_ || ozone != ozone_ || groundAlbedo != groundAlbedo_) {
    turbidity_ = kNone;
    sunElevation_ = kNone;
    air_ = Atmosphere(turbidity, ozone, groundAlbedo);
    transmittance_.build(air_);
    multiple_.build(air_, transmittance_);
    ++airBuilds_;
    turbidity_ = turbidity;
    ozone_ = ozone;
    groundAlbedo_ = groundAlbedo;
  }
  if (sunElevation != sunElevation_) {
    sunElevation_ = kNone;
    view_.build(air_, transmittance_, multiple_, sunElevation);
    ++viewBuilds_;
    sunElevation_ = sunElevation;
  }
}

void SkyModel::paintSky(const SkyConditions& conditions, const SunPlace& sun, float* rgb, std::uint32_t width,
                        std::uint32_t height) const {
  const double skyIntensity = static_cast<double>(conditions.skyIntensity);
  const double sunIntensity = static_cast<double>(conditions.sunIntensity);
  const double sunSine = std::sin(sun.elevation), sunCosine = std::cos(sun.elevation);

  // The ground reflects sun and sky evenly.
  const double sunOnGround = sunIntensity * std::max(0.0, sunSine);
  const Color3 &bySun = view_.sunIrradiance(), &bySky = view_.skyIrradiance();
  const double ground[3] = {air_.groundAlbedo / kPi * (sunOnGround * bySun.r + skyIntensity * bySky.r),
                            air_.groundAlbedo / kPi * (sunOnGround * bySun.g + skyIntensity * bySky.g),
                            air_.groundAlbedo / kPi * (sunOnGround * bySun.b + skyIntensity * bySky.b)};
  double extinction[3];
  groundExtinction(air_.turbidity, extinction);

  const Columns columns(width, sun.azimuth);
  const auto paint = hasAvx2() ? paintRowAvx2 : paintRowAnywhere;
  forEachRow(height, 1, [&](std::uint32_t y) {
    const double elevation = (0.5 - (y + 0.5) / height) * kPi;
    Row row;
    row.sineProduct = static_cast<float>(std::sin(elevation) * sunSine);
    row.cosineProduct = static_cast<float>(std::cos(elevation) * sunCosine);
    float factors[3];
    for (int c = 0; c < 3; ++c) {
      // Towards the ground, from a height of 10 metres, the air in front dims it and shines as at the
      // horizon.
      const double through = elevation < 0 ? std::exp(-extinction[c] * 0.010 / std::sin(-elevation)) : 0;
      row.base[c] = static_cast<float>(elevation < 0 ? ground[c] * through : 0);
      factors[c] = static_cast<float>(skyIntensity * (1 - through));
    }
    row.base[3] = 0;
    interpolate(view_, std::max(elevation, 0.0), factors, row.nodes);
    paint(row, columns, width, rgb + std::size_t{3} * width * y);
  });
}

void SkyModel::render(const SkyConditions& conditions, const SunPlace& sun, float* rgb, std::uint32_t width,
                      std::uint32_t height) {
  if (width == 0 || height == 0) return;
  renewTables(conditions, sun.elevation);
  paintSky(conditions, sun, rgb, width, height);
  if (conditions.sunIntensity > 0)
    SunDisc(air_, sun, static_cast<double>(conditions.sunSize))
        .addTo(rgb, width, height, static_cast<double>(conditions.sunIntensity));
}

}  // namespace orv::host
