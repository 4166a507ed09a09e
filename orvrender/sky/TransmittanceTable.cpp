#include "orvrender/sky/TransmittanceTable.h"

#include <algorithm>
#include <cmath>

#include "maps/row_loop.h"
#include "orvrender/sky/path.h"

namespace orv::host {

namespace {

// Edges of the segments lie at length x (k / steps)^1.5.
constexpr int kSteps = 80;

struct Segments {
  Spectrum middle[kSteps / 8];
  Spectrum length[kSteps / 8];
};

Segments makeSegments() {
  Segments out;
  for (int k = 0; k < kSteps; ++k) {
    const double t0 = std::pow(static_cast<double>(k) / kSteps, 1.5);
    const double t1 = std::pow(static_cast<double>(k + 1) / kSteps, 1.5);
    out.middle[k / 8].v[k % 8] = static_cast<float>(0.5 * (t0 + t1));
    out.length[k / 8].v[k % 8] = static_cast<float>(t1 - t0);
  }
  return out;
}

[[gnu::always_inline]] inline float sumOf(Lanes x) {
  return ((x[0] + x[4]) + (x[1] + x[5])) + ((x[2] + x[6]) + (x[3] + x[7]));
}

[[gnu::always_inline]] inline void row(const Atmosphere& air, const Segments& segments, int y,
                                       Spectrum* nodes) {
  const double horizon = std::sqrt(kHorizonSquared);
  const double rho = horizon * y / (TransmittanceTable::kHeight - 1);
  const double r = std::sqrt(kGroundRadius * kGroundRadius + rho * rho);
  const double height = rho * rho / (r + kGroundRadius);
  const double shortest = kTopRadius - r, longest = rho + horizon;
  for (int x = 0; x < TransmittanceTable::kWidth; ++x) {
    const double length = shortest + (longest - shortest) * x / (TransmittanceTable::kWidth - 1);
    const double mu =
        length > 0 ? std::clamp((kHorizonSquared - rho * rho - length * length) / (2 * r * length), -1.0, 1.0)
                   : 1.0;

    const PathStart start{static_cast<float>(height), static_cast<float>(r), static_cast<float>(mu)};
    Lanes rayleigh = splat(0), aerosol = splat(0), ozone = splat(0);
    for (int k = 0; k < kSteps / 8; ++k) {
      const Lanes t = load(segments.middle[k]) * static_cast<float>(length);
      const Lanes dt = load(segments.length[k]) * static_cast<float>(length);
      const PathPoints points = pointsAt(start, t);
      rayleigh += dt * rayleighDensity(points.height);
      aerosol += dt * aerosolDensity(points.height);
      ozone += dt * ozoneDensity(points.height);
    }
    const Lanes depth = load(air.rayleigh) * sumOf(rayleigh) + load(air.smoothedExtinction) * sumOf(aerosol) +
                        load(air.ozoneAbsorption) * sumOf(ozone);
    store(nodes[x], exp(-depth));
  }
}

[[gnu::target("avx2")]] void rowAvx2(const Atmosphere& air, const Segments& segments, int y,
                                     Spectrum* nodes) {
  row(air, segments, y, nodes);
}

void rowAnywhere(const Atmosphere& air, const Segments& segments, int y, Spectrum* nodes) {
  row(air, segments, y, nodes);
}

}  // namespace

void TransmittanceTable::build(const Atmosphere& air) {
  static const Segments segments = makeSegments();
  const auto fill = hasAvx2() ? rowAvx2 : rowAnywhere;
  forEachRow(kHeight, 1, [&](std::uint32_t y) {
    fill(air, segments, static_cast<int>(y), nodes_.data() + static_cast<std::size_t>(y) * kWidth);
  });
}

}  // namespace orv::host
