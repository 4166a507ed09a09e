#include "orvrender/sky/SkyModel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "maps/row_loop.h"

namespace orv::host {

namespace {

constexpr int kNodes = SkyView::kWidth;
constexpr std::size_t kStreamedFloats = std::size_t{1} << 23;

/// What eight neighbouring columns of a map share in every row: their places between the view's azimuths and
/// the versines, 1 - cosine, of their azimuths from the sun, which are exact towards it.
struct alignas(32) Columns {
  float fraction[8];
  float versine[8];
  std::uint8_t node[8];   ///< each column's
  std::uint8_t nodes[8];  ///< the different ones: one or two, more in small maps
  std::uint32_t count = 0;
};

double versine(double angle) { return 2 * std::sin(0.5 * angle) * std::sin(0.5 * angle); }

std::vector<Columns> columnsOf(std::uint32_t width, double sunAzimuth) {
  std::vector<Columns> columns((std::size_t{width} + 7) / 8);
  for (std::size_t x = 0; x < 8 * columns.size(); ++x) {
    const double azimuth = ((static_cast<double>(x) + 0.5) / width - 0.5) * 2 * kPi;
    const double fromSun = std::abs(std::remainder(azimuth - sunAzimuth, 2 * kPi));
    const double place = std::min(fromSun / kPi, 1.0) * (kNodes - 1);
    const auto node = static_cast<std::uint8_t>(std::min(static_cast<int>(place), kNodes - 2));
    Columns& block = columns[x / 8];
    block.node[x % 8] = node;
    block.fraction[x % 8] = static_cast<float>(place - node);
    block.versine[x % 8] = static_cast<float>(versine(fromSun));
    std::uint8_t* const end = block.nodes + block.count;
    if (std::find(block.nodes, end, node) == end) block.nodes[block.count++] = node;
  }
  return columns;
}

/// The view between two neighbouring azimuths at a row's elevation, times what dims or brightens it; the
/// aerosol's times the factor of its phase function, the air's with what is added everywhere.
struct Interval {
  float air[3], aerosol[3];              ///< at the first azimuth
  float airChange[3], aerosolChange[3];  ///< to the second
};

/// A line over the versines of columns.
struct Line {
  float constant, slope;
};

/// What the pixels of one row share.
struct Row {
  Interval view[kNodes - 1];
  Line cosine;        ///< of the angle to the sun
  Line phaseBase;     ///< of the aerosol's phase function
  float least, most;  ///< of colours
  bool isStreamed;    ///< goes past the caches: whole blocks at addresses of whole vectors
};

/// Eight pixels from a red, a green and a blue plane: the low halves one after another, then the high ones.
[[gnu::always_inline]] inline void interleave(Lanes red, Lanes green, Lanes blue, Lanes (&halves)[3]) {
  const Lanes r = __builtin_shufflevector(red, red, 0, 3, 2, 1, 4, 7, 6, 5);
  const Lanes g = __builtin_shufflevector(green, green, 1, 0, 3, 2, 5, 4, 7, 6);
  const Lanes b = __builtin_shufflevector(blue, blue, 2, 1, 0, 3, 6, 5, 4, 7);
  const Lanes rg = __builtin_shufflevector(r, g, 0, 9, 2, 3, 4, 13, 6, 7);
  const Lanes gr = __builtin_shufflevector(g, r, 0, 1, 10, 3, 4, 5, 14, 7);
  const Lanes rgAfter = __builtin_shufflevector(r, g, 0, 1, 10, 3, 4, 5, 14, 7);
  // r0 g0 b0 r1 | r4 g4 b4 r5, g1 b1 r2 g2 | g5 b5 r6 g6, b2 r3 g3 b3 | b6 r7 g7 b7
  halves[0] = __builtin_shufflevector(rg, b, 0, 1, 10, 3, 4, 5, 14, 7);
  halves[1] = __builtin_shufflevector(gr, b, 0, 9, 2, 3, 4, 13, 6, 7);
  halves[2] = __builtin_shufflevector(rgAfter, b, 8, 1, 2, 11, 12, 5, 6, 15);
}

// Pixel = base + air + phase(cosine of the angle to the sun) x aerosol.
[[gnu::always_inline]] inline void paintRow(const Row& row, const Columns* columns, std::uint32_t width,
                                            float* rgb) {
  // Loaded once: for all that the compiler knows, the pixels might lie on the row. Limits that it knew it
  // would compare with, which takes two instructions and not one.
  const auto on = [](const Line& line, Lanes x) { return line.constant + line.slope * x; };
  const Line cosine = row.cosine, phaseBase = row.phaseBase;
  const Lanes least = Lanes{} + row.least, most = Lanes{} + row.most;
  const bool isStreamed = row.isStreamed;
  for (std::uint32_t x0 = 0; x0 < width; x0 += 8, ++columns) {
    const Lanes fromSun = load(columns->versine), fraction = load(columns->fraction);
    const Lanes phase = aerosolPhase(on(cosine, fromSun), on(phaseBase, fromSun));
    const auto channel = [&](const Interval& view, int i) {
      const Lanes air = view.air[i] + view.airChange[i] * fraction;
      const Lanes aerosol = view.aerosol[i] + view.aerosolChange[i] * fraction;
      return air + aerosol * phase;
    };
    const Interval& first = row.view[columns->nodes[0]];
    Lanes red = channel(first, 0), green = channel(first, 1), blue = channel(first, 2);
    for (std::uint32_t k = 1; k < columns->count; ++k) {
      const Interval& other = row.view[columns->nodes[k]];
      const IntLanes here = load(columns->node) == columns->nodes[k];
      red = here ? channel(other, 0) : red;
      green = here ? channel(other, 1) : green;
      blue = here ? channel(other, 2) : blue;
    }
    // Colours may lie outside the gamut until here.
    Lanes halves[3];
    interleave(clamp(red, least, most), clamp(green, least, most), clamp(blue, least, most), halves);
    float* const out = rgb + std::size_t{3} * x0;
    if (isStreamed) {
      for (int i = 0; i < 3; ++i) storeStreaming(out + 4 * i, lowHalf(halves[i]));
      for (int i = 0; i < 3; ++i) storeStreaming(out + 12 + 4 * i, highHalf(halves[i]));
      continue;
    }
    float last[24];
    float* const block = width - x0 >= 8 ? out : last;
    for (int i = 0; i < 3; ++i) store(block + 4 * i, lowHalf(halves[i]));
    for (int i = 0; i < 3; ++i) store(block + 12 + 4 * i, highHalf(halves[i]));
    if (block == last) std::copy_n(last, 3 * (width - x0), out);
  }
  if (isStreamed) finishStreaming();
}

[[gnu::target("avx2")]] void paintRowAvx2(const Row& row, const Columns* columns, std::uint32_t width,
                                          float* rgb) {
  paintRow(row, columns, width, rgb);
}

void paintRowAnywhere(const Row& row, const Columns* columns, std::uint32_t width, float* rgb) {
  paintRow(row, columns, width, rgb);
}

/// The view at an elevation of at least 0, each colour times its factor, and what is added everywhere.
void interpolate(const SkyView& view, double elevation, const double (&factors)[3], const double (&base)[3],
                 Interval* out) {
  const double place = std::sqrt(std::min(elevation / (0.5 * kPi), 1.0)) * (SkyView::kHeight - 1);
  const int y = std::min(static_cast<int>(place), SkyView::kHeight - 2);
  const auto f = static_cast<float>(place - y);
  const SkyNode *top = view.row(y), *bottom = view.row(y + 1);
  float air[kNodes][3], aerosol[kNodes][3];
  for (int c = 0; c < 3; ++c) {
    const auto ofAir = static_cast<float>(factors[c]), added = static_cast<float>(base[c]);
    const auto ofAerosol = static_cast<float>(factors[c] * AerosolPhase::factor);
    for (int x = 0; x < kNodes; ++x) {
      air[x][c] = added + ofAir * (top[x].air[c] + (bottom[x].air[c] - top[x].air[c]) * f);
      aerosol[x][c] = ofAerosol * (top[x].aerosol[c] + (bottom[x].aerosol[c] - top[x].aerosol[c]) * f);
    }
  }
  for (int x = 0; x + 1 < kNodes; ++x) {
    for (int c = 0; c < 3; ++c) {
      out[x].air[c] = air[x][c];
      out[x].aerosol[c] = aerosol[x][c];
      out[x].airChange[c] = air[x + 1][c] - air[x][c];
      out[x].aerosolChange[c] = aerosol[x + 1][c] - aerosol[x][c];
    }
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
    discSize_ = kNone;
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
    discSize_ = kNone;
    view_.build(air_, transmittance_, multiple_, sunElevation);
    ++viewBuilds_;
    sunElevation_ = sunElevation;
  }
  const double size = static_cast<double>(conditions.sunSize);
  if (conditions.sunIntensity > 0 && size != discSize_) {
    discSize_ = kNone;
    disc_.emplace(air_, sunElevation, size);
    discSize_ = size;
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

  const std::vector<Columns> columns = columnsOf(width, sun.azimuth);
  // Maps beyond the caches; what reads them next would not find them there.
  const bool isStreamed = std::size_t{3} * width * height >= kStreamedFloats && width % 8 == 0 &&
                          reinterpret_cast<std::uintptr_t>(rgb) % sizeof(Quad) == 0;
  const auto paint = hasAvx2() ? paintRowAvx2 : paintRowAnywhere;
  forEachRow(height, 1, [&](std::uint32_t y) {
    const double elevation = (0.5 - (y + 0.5) / height) * kPi;
    Row row;
    row.isStreamed = isStreamed;
    row.least = 0;
    row.most = std::numeric_limits<float>::max();
    // 1 - c for the angle to the sun, in terms that only add up.
    const double above = versine(elevation - sun.elevation), across = std::cos(elevation) * sunCosine;
    row.cosine = {static_cast<float>(1 - above), static_cast<float>(-across)};
    row.phaseBase = {static_cast<float>(AerosolPhase::forward - AerosolPhase::slope * above),
                     static_cast<float>(-AerosolPhase::slope * across)};
    double base[3], factors[3];
    for (int c = 0; c < 3; ++c) {
      // Towards the ground, from a height of 10 metres, the air in front dims it and shines as at the
      // horizon.
      const double through = elevation < 0 ? std::exp(-extinction[c] * 0.010 / std::sin(-elevation)) : 0;
      base[c] = elevation < 0 ? ground[c] * through : 0;
      factors[c] = skyIntensity * (1 - through);
    }
    interpolate(view_, std::max(elevation, 0.0), factors, base, row.view);
    paint(row, columns.data(), width, rgb + std::size_t{3} * width * y);
  });
}

void SkyModel::render(const SkyConditions& conditions, const SunPlace& sun, float* rgb, std::uint32_t width,
                      std::uint32_t height) {
  if (width == 0 || height == 0) return;
  renewTables(conditions, sun.elevation);
  paintSky(conditions, sun, rgb, width, height);
  if (conditions.sunIntensity > 0)
    disc_->addTo(rgb, width, height, sun.azimuth, static_cast<double>(conditions.sunIntensity));
}

}  // namespace orv::host
