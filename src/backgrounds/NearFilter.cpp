#include "backgrounds/NearFilter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "maps/row_loop.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Orders whose coefficients are tabled at a time.
constexpr std::uint32_t kOrders = 8;

/// exp(-x^2 / 2) is 1e-10 here.
constexpr double kReach = 6.8;

/// The recurrence starts with this, far from what underflows and overflows.
constexpr double kStart = 1e-200;

}  // namespace

NearFilter::NearFilter(const SphereRings& rings, double sigma)
    : rings_(rings),
      kappa_(1.0 / (sigma * sigma) + 1.0 / 6.0),
      peak_(kappa_ / (2.0 * std::numbers::pi * -std::expm1(-2.0 * kappa_))) {
  const double rows = std::ceil(kReach * sigma * rings.height / std::numbers::pi);
  reach_ = static_cast<std::uint32_t>(std::min(rows, rings.height - 1.0));
  frequencies_ = std::min(highestOrder(kappa_), rings.width / 2) + 1;
  seeds_ = AlignedArray<Double4>(std::size_t{rings.groups} * neighbours());
  means_ = AlignedArray<double>(std::size_t{4} * rings.groups * neighbours());
  forEachRow(rings.groups, 1, [&](std::uint32_t group) { prepare(group); });
}

std::uint32_t NearFilter::highestOrder(double z) const {
  return static_cast<std::uint32_t>(kReach * std::sqrt(z)) + 6;
}

void NearFilter::Neighbour::start(std::uint32_t m) {
  alignas(32) double lanes[4], seeds[4];
  store(lanes, now);
  store(seeds, seed);
  next = 0;
  for (std::uint32_t lane = 0; lane < 4; ++lane) {
    if (orders[lane] == m) lanes[lane] = seeds[lane];
    if (orders[lane] < m) next = std::max(next, orders[lane]);
  }
  now = load(lanes);
}

inline void NearFilter::Neighbour::descend(std::uint32_t m) {
  // I(m - 1) = I(m + 1) + 2 m / z I(m) (Abramowitz and Stegun 9.6.26)
  const Double4 below = fma(step * splat(static_cast<double>(m)), now, above);
  above = now;
  now = below;
}

NearFilter::Neighbour NearFilter::begin(std::uint32_t group, std::uint32_t neighbour) const {
  Neighbour out{};
  alignas(32) double steps[4];
  for (std::uint32_t lane = 0; lane < 4; ++lane) {
    // Rings that do not exist take the place of the nearest one; their seeds are 0.
    const std::int64_t i = std::min(4 * group + lane, rings_.pairs - 1);
    const std::int64_t j = std::clamp<std::int64_t>(i + neighbour - reach_, 0, rings_.height - 1);
    const auto mirrored = static_cast<std::size_t>(std::min(j, rings_.height - 1 - j));
    const double z = kappa_ * rings_.sine[static_cast<std::size_t>(i)] * rings_.sine[mirrored];
    steps[lane] = 2.0 / z;
    out.orders[lane] = highestOrder(z);
    out.next = std::max(out.next, out.orders[lane]);
  }
  out.step = load(steps);
  out.now = out.above = zero4();
  out.seed = seeds_[std::size_t{group} * neighbours() + neighbour];
  return out;
}

void NearFilter::prepare(std::uint32_t group) {
  for (std::uint32_t n = 0; n < neighbours(); ++n) {
    // From above to 0 (Miller), brought to  exp(-z) (I(0) + 2 I(1) + 2 I(2) + ...) = 1. The orders 0, width,
    // 2 width ... are what the pixels of a ring do not tell from the mean.
    Neighbour kernel = begin(group, n);
    kernel.seed = splat(kStart);
    Double4 sum = zero4(), whole = zero4();
    std::uint32_t nextWhole = kernel.next / rings_.width * rings_.width;
    for (std::uint32_t m = kernel.next; m > 0; --m) {
      if (m == kernel.next) kernel.start(m);
      sum = sum + kernel.now;
      if (m == nextWhole) {
        whole = whole + kernel.now;
        nextWhole -= rings_.width;
      }
      kernel.descend(m);
    }
    sum = fma(splat(2.0), sum, kernel.now);
    whole = fma(splat(2.0), whole, kernel.now);

    // The weight between the rings' nearest points, 0 where there is no such ring.
    alignas(32) double weights[4];
    for (std::uint32_t lane = 0; lane < 4; ++lane) {
      const std::int64_t i = 4 * group + lane;
      const std::int64_t j = i + n - reach_;
      const double half = std::sin(0.5 * std::numbers::pi * static_cast<double>(j - i) / rings_.height);
      const bool exists = i < rings_.pairs && j >= 0 && j < rings_.height;
      weights[lane] = exists ? peak_ * std::exp(-2.0 * kappa_ * half * half) : 0.0;
    }
    const Double4 weight = load(weights) / sum;
    const std::size_t index = std::size_t{group} * neighbours() + n;
    // Half, for spectra hold north + south and north - south.
    seeds_[index] = splat(0.5 * kStart) * weight;
    store(means_.data() + 4 * index, splat(static_cast<double>(rings_.width)) * whole * weight);
  }
}

std::vector<std::uint32_t> NearFilter::firstGroups() const {
  std::vector<std::uint32_t> out;
  std::uint32_t group = 0;
  const auto highestOf = [&](std::uint32_t g) {
    const std::uint32_t ring = std::min(4 * g + 3, rings_.pairs - 1);
    const std::uint32_t neighbour = std::min(ring + reach_, rings_.pairs - 1);
    return highestOrder(kappa_ * rings_.sine[ring] * rings_.sine[neighbour]);
  };
  for (std::uint32_t frequency = 0; frequency < frequencies_; ++frequency) {
    while (group + 1 < rings_.groups && highestOf(group) < frequency) ++group;
    out.push_back(group);
  }
  return out;
}

NearFilter::Scratch::Scratch(const NearFilter& filter)
    : results(std::size_t{kStrip} * filter.frequencies_),
      window(12 * static_cast<std::size_t>(filter.windowGroups())),
      table(std::size_t{kStrip} * kOrders * filter.neighbours()),
      neighbours(std::size_t{kStrip} * filter.neighbours()) {}

void NearFilter::gather(const RingSpectra& spectra, std::uint32_t frequency, std::uint32_t first,
                        Double4* window) const {
  const std::int64_t count = windowGroups();
  for (std::int64_t k = 0; k < count; ++k) {
    const std::int64_t from = first - around() + k;
    if (from >= 0 && 4 * from + 4 <= rings_.pairs) {
      const auto source = static_cast<std::uint32_t>(from);
      if (spectra.has(frequency, source)) {
        const Double4* values = spectra.at(frequency, source).values;
        for (std::int64_t c = 0; c < 12; ++c) window[c * count + k] = values[c];
      } else {
        for (std::int64_t c = 0; c < 12; ++c) window[c * count + k] = zero4();
      }
      continue;
    }
    // Past the equator the rings are the mirror images: north - south changes its sign.
    alignas(32) double lanes[12][4] = {};
    for (std::int64_t lane = 0; lane < 4; ++lane) {
      const std::int64_t j = 4 * from + lane;
      if (j < 0 || j >= rings_.height) continue;
      const auto ring = static_cast<std::uint32_t>(std::min(j, rings_.height - 1 - j));
      if (!spectra.has(frequency, ring / 4)) continue;
      const PairSpectrum& source = spectra.at(frequency, ring / 4);
      for (std::uint32_t c = 0; c < 12; ++c) {
        alignas(32) double values[4];
        store(values, source.values[c]);
        lanes[c][lane] = j < rings_.pairs || c < 6 ? values[ring % 4] : -values[ring % 4];
      }
    }
    for (std::int64_t c = 0; c < 12; ++c) window[c * count + k] = load(lanes[c]);
  }
}

inline void NearFilter::addWindow(const Double4* coefficients, const double* window, Double4 times,
                                  PairSpectrum& sums) const {
  const std::size_t stride = 4 * static_cast<std::size_t>(windowGroups());
  Double4 added[12];
  for (Double4& sum : added) sum = zero4();
  for (std::size_t n = 0; n < neighbours(); ++n) {
    const Double4 coefficient = coefficients[n];
    for (std::size_t c = 0; c < 12; ++c)
      added[c] = fma(coefficient, loadUnaligned(window + c * stride + n), added[c]);
  }
  for (std::size_t c = 0; c < 12; ++c) sums.values[c] = fma(times, added[c], sums.values[c]);
}

void NearFilter::filterStrip(const RingSpectra& spectra, std::uint32_t first, Scratch& scratch) const {
  const std::uint32_t groups = std::min(kStrip, rings_.groups - first);
  std::uint32_t top = 0;
  for (std::uint32_t g = 0; g < groups; ++g)
    for (std::uint32_t n = 0; n < neighbours(); ++n) {
      Neighbour& kernel = scratch.neighbours[g * neighbours() + n];
      kernel = begin(first + g, n);
      top = std::max(top, kernel.next);
    }
  for (std::size_t i = 0; i < scratch.results.size(); ++i)
    for (Double4& value : scratch.results[i].values) value = zero4();

  // Ring 4 first - reach.
  const double* window = reinterpret_cast<const double*>(scratch.window.data()) + 4 * around() - reach_;
  for (std::uint32_t end = top + 1; end > 0;) {
    const std::uint32_t last = end > kOrders ? end - kOrders : 0;
    for (std::uint32_t g = 0; g < groups; ++g)
      for (std::uint32_t n = 0; n < neighbours(); ++n) {
        Neighbour& kernel = scratch.neighbours[g * neighbours() + n];
        for (std::uint32_t m = end; m-- > last;) {
          if (m == kernel.next && m > 0) kernel.start(m);
          scratch.table[(std::size_t{g} * kOrders + (m - last)) * neighbours() + n] = kernel.now;
          kernel.descend(m);
        }
      }
    for (std::uint32_t m = end; m-- > last;) {
      const std::uint32_t rest = m % rings_.width;
      const std::uint32_t frequency = std::min(rest, rings_.width - rest);
      if (!spectra.has(frequency, first + groups - 1)) continue;
      gather(spectra, frequency, first, scratch.window.data());
      // Orders m and -m are one on the map where they differ by whole widths.
      const Double4 times = splat(m > 0 && (rest == 0 || 2 * rest == rings_.width) ? 2.0 : 1.0);
      for (std::uint32_t g = 0; g < groups; ++g)
        if (spectra.has(frequency, first + g))
          addWindow(scratch.table.data() + (std::size_t{g} * kOrders + (m - last)) * neighbours(),
                    window + 4 * g, times, scratch.results[std::size_t{g} * frequencies_ + frequency]);
    }
    end = last;
  }
}

void NearFilter::applyToRings(const std::vector<double>& in, std::vector<double>& out) const {
  for (std::uint32_t i = 0; i < rings_.pairs; ++i) {
    double sum = 0;
    for (std::uint32_t n = 0; n < neighbours(); ++n) {
      const std::int64_t j = std::int64_t{i} + n - reach_;
      if (j < 0 || j >= rings_.height) continue;
      const auto mirrored = static_cast<std::size_t>(std::min<std::int64_t>(j, rings_.height - 1 - j));
      sum += means_[4 * (std::size_t{i / 4} * neighbours() + n) + i % 4] * in[mirrored];
    }
    out[i] = sum;
  }
}

}  // namespace orv::hdri::blockedAVX2
