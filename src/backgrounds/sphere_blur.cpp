#include "backgrounds/sphere_blur.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "backgrounds/HarmonicFilter.h"
#include "backgrounds/LineTransform.h"
#include "backgrounds/NearFilter.h"
#include "backgrounds/PaintContext.h"
#include "backgrounds/RingSpectra.h"
#include "backgrounds/SphereRings.h"
#include "backgrounds/blur.h"
#include "maps/row_loop.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Where a group's eight rows lie in the map: lane i is the pair 4 group + i, north and south.
struct GroupRows {
  GroupRows(BlockedMap& map, const SphereRings& rings, std::uint32_t group) {
    for (std::uint32_t i = 0; i < 4; ++i) {
      const std::uint32_t ring = std::min(4 * group + i, rings.pairs - 1);
      north[i] = map.row(ring).data();
      south[i] = map.row(rings.height - 1 - ring).data();
    }
    count = std::min(4u, rings.pairs - 4 * group);
  }
  Block* north[4];
  Block* south[4];
  std::uint32_t count;  // that exist
};

float* plane(Block& block, std::uint32_t channel) {
  return channel == 0 ? block.r : channel == 1 ? block.g : block.b;
}

/// Columns that are asked for ahead, for the caches do not foresee eight rows at once.
constexpr std::uint32_t kAhead = 64;

inline void prefetch(Block* const (&rows)[4], std::uint32_t x, std::uint32_t width) {
  if (x % 8 != 0 || x + kAhead >= width) return;
  for (Block* row : rows) {
    const char* block = reinterpret_cast<const char*>(row + (x + kAhead) / 8);
    __builtin_prefetch(block);
    __builtin_prefetch(block + 64);
  }
}

/// Four columns of four rows from column x on, each row times its scale: lane i of columns[j] is row i.
inline void loadColumns(Block* const (&rows)[4], std::uint32_t channel, std::uint32_t x,
                        const Double4 (&scales)[4], Double4 (&columns)[4]) {
  const Double4 most = splat(double{std::numeric_limits<float>::max()});
  for (std::size_t i = 0; i < 4; ++i)
    columns[i] = scales[i] * finiteOr(loadFloats(plane(rows[i][x / 8], channel) + x % 8), most);
  transpose(columns);
}

inline void storeColumns(Block* const (&rows)[4], std::uint32_t count, std::uint32_t channel, std::uint32_t x,
                         const Double4 (&scales)[4], Double4 (&columns)[4]) {
  const Double4 most = splat(double{std::numeric_limits<float>::max()});
  transpose(columns);
  for (std::size_t i = 0; i < count; ++i)
    storeFloats(plane(rows[i][x / 8], channel) + x % 8, min(max(scales[i] * columns[i], zero4()), most));
}

void scalesOf(const std::vector<double>& scales, std::uint32_t group, Double4 (&out)[4]) {
  for (std::size_t i = 0; i < 4; ++i) out[i] = splat(scales[4 * std::size_t{group} + i]);
}

/// A group's rows, each times its scale, to the spectra.
void transformRows(BlockedMap& map, const SphereRings& rings, std::uint32_t group,
                   const std::vector<double>& scales, const LineTransform& transform,
                   LineTransform::Scratch& scratch, RingSpectra& spectra) {
  if (4 * group >= rings.pairs) {
    for (std::uint32_t m = 0; m < spectra.frequencies(); ++m)
      if (spectra.has(m, group))
        for (Double4& value : spectra.at(m, group).values) value = zero4();
    return;
  }
  const GroupRows rows(map, rings, group);
  Double4 scale[4];
  scalesOf(scales, group, scale);
  // Halves, for the two lines that are the real and imaginary part of one are taken apart as half sums.
  for (Double4& s : scale) s = splat(0.5) * s;
  for (std::uint32_t channel = 0; channel < 3; ++channel) {
    for (std::uint32_t x = 0; x < map.width(); x += 4) {
      if (channel == 0) {
        prefetch(rows.north, x, map.width());
        prefetch(rows.south, x, map.width());
      }
      Double4 north[4], south[4];
      loadColumns(rows.north, channel, x, scale, north);
      loadColumns(rows.south, channel, x, scale, south);
      for (std::uint32_t j = 0; j < std::min(4u, map.width() - x); ++j)
        scratch.points[transform.slot(x + j)] = {north[j] + south[j], north[j] - south[j]};
    }
    transform.forward(scratch);
    for (std::uint32_t m = 0; m < spectra.frequencies() && spectra.has(m, group); ++m) {
      Double4* out = spectra.at(m, group).values + 2 * channel;
      const Complex4 &up = scratch.positive[m], &down = scratch.negative[m];
      out[0] = up.re + down.re;
      out[1] = up.im - down.im;
      out[6] = up.im + down.im;
      out[7] = down.re - up.re;
    }
  }
}

/// A group's filtered spectra back to its rows, each times its scale. `spectrum(m)` has frequency m, for the
/// frequencies below `frequencies`.
void transformBack(BlockedMap& map, const SphereRings& rings, std::uint32_t group,
                   const std::vector<double>& scales, const LineTransform& transform,
                   LineTransform::Scratch& scratch, std::uint32_t frequencies, const auto& spectrum) {
  const GroupRows rows(map, rings, group);
  Double4 scale[4];
  scalesOf(scales, group, scale);
  for (std::uint32_t channel = 0; channel < 3; ++channel) {
    for (std::uint32_t m = 0; m <= transform.highest(); ++m) {
      if (m >= frequencies) {
        scratch.positive[m] = scratch.negative[m] = {zero4(), zero4()};
        continue;
      }
      const Double4* in = spectrum(m).values + 2 * channel;
      scratch.positive[m] = {in[0] - in[7], in[1] + in[6]};
      scratch.negative[m] = {in[0] + in[7], in[6] - in[1]};
    }
    transform.back(scratch);
    for (std::uint32_t x = 0; x < map.width(); x += 4) {
      if (channel == 0) {
        prefetch(rows.north, x, map.width());
        prefetch(rows.south, x, map.width());
      }
      Double4 north[4], south[4];
      for (std::uint32_t j = 0; j < 4; ++j) {
        const Complex4& point = scratch.points[transform.slot(std::min(x + j, map.width() - 1))];
        north[j] = point.re + point.im;
        south[j] = point.re - point.im;
      }
      storeColumns(rows.north, rows.count, channel, x, scale, north);
      storeColumns(rows.south, rows.count, channel, x, scale, south);
    }
  }
  for (std::uint32_t i = 0; i < rows.count; ++i) {
    repeatIntoPadding({rows.north[i], map.blocksPerRow()}, map.width());
    repeatIntoPadding({rows.south[i], map.blocksPerRow()}, map.width());
  }
}

/// The blur with either filter. `filterAll(spectra)` comes between the transforms; `filterStrip(spectra,
/// group)` comes before the kStrip groups from `group` on are transformed back, and makes what gives their
/// spectra: of a group and a frequency.
void blurWith(BlockedMap& map, const SphereRings& rings, const auto& filter, const PaintContext& context,
              const auto& filterAll, const auto& filterStrip) {
  constexpr std::uint32_t kStrip = NearFilter::kStrip;
  const std::vector<double> scale = balancingScale(
      rings, [&](const std::vector<double>& in, std::vector<double>& out) { filter.applyToRings(in, out); });
  std::vector<double> weights(scale.size());
  for (std::uint32_t i = 0; i < weights.size(); ++i)
    weights[i] = scale[i] * rings.pixelArea[i] * filter.share(i);

  RingSpectra spectra(filter.firstGroups(), rings.groups);
  const LineTransform transform(rings.width, spectra.frequencies() - 1);
  tbb::enumerable_thread_specific<LineTransform::Scratch> scratches(
      [&] { return LineTransform::Scratch(transform); });
  const std::uint32_t groups = (rings.pairs + 3) / 4;
  const auto progress = [&] { context.progressFraction(0.5f, static_cast<float>(groups)); };

  forEachRow(rings.groups, 1, [&](std::uint32_t group) {
    transformRows(map, rings, group, weights, transform, scratches.local(), spectra);
    if (group < groups) progress();
  });
  filterAll(spectra);
  forEachRow(groups, kStrip, [&](std::uint32_t first) {
    const auto filtered = filterStrip(spectra, first);
    for (std::uint32_t group = first; group < std::min(first + kStrip, groups); ++group) {
      std::uint32_t frequencies = 0;
      while (frequencies < spectra.frequencies() && spectra.has(frequencies, group)) ++frequencies;
      transformBack(
          map, rings, group, scale, transform, scratches.local(), frequencies,
          [&](std::uint32_t frequency) -> const PairSpectrum& { return filtered(group, frequency); });
      progress();
    }
  });
}

}  // namespace

void blurOnSphere(BlockedMap& map, double sigma, const PaintContext& context) {
  if (map.empty()) return;
  // Wider ones have the same mean of the sphere everywhere.
  sigma = sigma < 10.0 ? sigma : 10.0;
  const SphereRings rings(map.width(), map.height());
  if (HarmonicFilter::highestDegree(sigma) <= HarmonicFilter::kHighestDegree) {
    const HarmonicFilter filter(rings, sigma);
    blurWith(
        map, rings, filter, context, [&](RingSpectra& spectra) { filter.apply(spectra); },
        [](const RingSpectra& spectra, std::uint32_t) {
          return [&spectra](std::uint32_t group, std::uint32_t frequency) -> const PairSpectrum& {
            return spectra.at(frequency, group);
          };
        });
    return;
  }
  const NearFilter filter(rings, sigma);
  tbb::enumerable_thread_specific<NearFilter::Scratch> scratches([&] { return NearFilter::Scratch(filter); });
  blurWith(
      map, rings, filter, context, [](RingSpectra&) {},
      [&](const RingSpectra& spectra, std::uint32_t first) {
        NearFilter::Scratch& scratch = scratches.local();
        filter.filterStrip(spectra, first, scratch);
        return
            [&filter, &scratch, first](std::uint32_t group, std::uint32_t frequency) -> const PairSpectrum& {
              return filter.result(scratch, group - first, frequency);
            };
      });
}

}  // namespace orv::hdri::blockedAVX2
