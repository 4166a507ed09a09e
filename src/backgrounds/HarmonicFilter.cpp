#include "backgrounds/HarmonicFilter.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "maps/row_loop.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Degrees whose Legendre functions are tabled at a time, and the groups of rings they are tabled for.
constexpr std::uint32_t kDegrees = 32;
constexpr std::uint32_t kGroups = 4;

/// ln 1e10: degrees whose factor is below 1e-10 are left out.
constexpr double kNegligible = 23.025850929940457;

/// x^n of each lane.
Double4 power(Double4 x, std::uint32_t n) {
  Double4 out = splat(1.0);
  for (; n != 0; n >>= 1, x = x * x)
    if (n & 1) out = out * x;
  return out;
}

/// Adds to the sums of two degrees of one parity, `2 values` of them, what four groups of rings give.
template <int values>
inline void addRings(const Double4* first, const Double4* second, const Double4* rings, std::size_t stride,
                     Double4* sums, Double4* nextSums) {
  Double4 a[values], b[values];
  for (int c = 0; c < values; ++c) a[c] = sums[c], b[c] = nextSums[c];
  for (std::uint32_t g = 0; g < kGroups; ++g)
    for (int c = 0; c < values; ++c) {
      const Double4 ring = rings[g * stride + static_cast<std::size_t>(c)];
      a[c] = fma(first[g], ring, a[c]);
      b[c] = fma(second[g], ring, b[c]);
    }
  for (int c = 0; c < values; ++c) sums[c] = a[c], nextSums[c] = b[c];
}

/// Adds the degrees `table[k]`, k = 0, 2, 4 ..., times their coefficients to two groups of rings.
template <int values>
inline void addDegrees(const Double4 (*table)[kGroups], std::uint32_t group, const double* coefficients,
                       Double4* rings, std::size_t stride) {
  Double4 a[values], b[values];
  for (int c = 0; c < values; ++c) a[c] = rings[c], b[c] = rings[stride + static_cast<std::size_t>(c)];
  for (std::uint32_t k = 0; k < kDegrees; k += 2) {
    const Double4 p = table[k][group], next = table[k][group + 1];
    for (int c = 0; c < values; ++c) {
      const Double4 coefficient = splat(coefficients[k * values + static_cast<std::uint32_t>(c)]);
      a[c] = fma(coefficient, p, a[c]);
      b[c] = fma(coefficient, next, b[c]);
    }
  }
  for (int c = 0; c < values; ++c) rings[c] = a[c], rings[stride + static_cast<std::size_t>(c)] = b[c];
}

}  // namespace

/// What one thread needs to filter an order: per degree and per group of rings.
struct HarmonicFilter::Scratch {
  Scratch(std::uint32_t degrees, std::uint32_t groups)
      : sums(6 * (degrees + std::size_t{kDegrees})),
        coefficients(6 * (degrees + std::size_t{kDegrees})),
        current(groups),
        previous(groups),
        result(groups) {}

  AlignedArray<Double4> sums;
  AlignedArray<double> coefficients;
  AlignedArray<Double4> current, previous;  // Legendre functions of two degrees
  AlignedArray<PairSpectrum> result;
  std::vector<double> decrements, scales;
};

double HarmonicFilter::highestDegree(double sigma) {
  // l (l + 1) sigma^2 / 2 = ln 1e10
  return std::floor(std::sqrt(2.0 * kNegligible / (sigma * sigma) + 0.25) - 0.5);
}

HarmonicFilter::HarmonicFilter(const SphereRings& rings, double sigma)
    : rings_(rings), degree_(static_cast<std::uint32_t>(highestDegree(sigma))) {
  for (std::uint32_t l = 0; l <= degree_; ++l)
    factors_.push_back(std::exp(-0.5 * sigma * sigma * l * (l + 1.0)));
}

std::uint32_t HarmonicFilter::firstGroup(std::uint32_t order) const {
  const double reach = 30 + 0.02 * degree_;
  std::uint32_t group = 0;
  while (group + kGroups < rings_.groups && order > degree_ * rings_.sine[4 * (group + kGroups) - 1] + reach)
    group += kGroups;
  return group;
}

std::vector<std::uint32_t> HarmonicFilter::firstGroups() const {
  std::vector<std::uint32_t> out;
  const std::uint32_t highest = std::min(degree_, rings_.width / 2);
  for (std::uint32_t frequency = 0; frequency <= highest; ++frequency) out.push_back(firstGroup(frequency));
  return out;
}

std::vector<std::uint32_t> HarmonicFilter::ordersOf(std::uint32_t frequency) const {
  // Orders that differ by whole widths have the same values on the map: all m = frequency + k width count.
  std::vector<std::uint32_t> orders;
  for (std::uint64_t m = frequency; m <= degree_; m += rings_.width)
    orders.push_back(static_cast<std::uint32_t>(m));
  for (std::uint64_t m = std::uint64_t{rings_.width} - frequency; m <= degree_; m += rings_.width)
    orders.push_back(static_cast<std::uint32_t>(m));
  return orders;
}

template <int values, int parities>
void HarmonicFilter::filterOrder(std::uint32_t order, std::uint32_t firstGroup, const Double4* in,
                                 Double4* out, Scratch& scratch) const {
  constexpr std::size_t kStride = values * parities;
  const std::uint32_t degrees = degree_ - order + 1;
  const std::uint32_t groups = rings_.groups - firstGroup;

  // Normalised functions P(l) = s(l) Q(l) with
  //   Q(m) = sin^m theta,  Q(l) = cos theta Q(l - 1) - d(l) Q(l - 2),  d(l) = ((l-1)^2 - m^2) / (4 (l-1)^2 -
  //   1), s(m)^2 = (2 m + 1) / 4 pi (1/2) (3/4) ... ((2 m - 1) / 2 m),  s(l)^2 = s(l - 1)^2 / d(l + 1).
  const double m = order;
  const auto decrement = [&](double l) { return ((l - 1) * (l - 1) - m * m) / (4 * (l - 1) * (l - 1) - 1); };
  double square = (2 * m + 1) / (4 * std::numbers::pi);
  for (std::uint32_t k = 1; k <= order; ++k) square *= (k - 0.5) / k;
  double scale = std::sqrt(square);
  scratch.decrements.assign(degrees + kDegrees, 0.0);
  scratch.scales.assign(degrees + kDegrees, 0.0);
  for (std::uint32_t k = 0; k < degrees; ++k) {
    if (k > 0) scale /= std::sqrt(decrement(m + k + 1));
    scratch.decrements[k] = k > 1 ? decrement(m + k) : 0.0;
    scratch.scales[k] = scale;
  }

  Double4 table[kDegrees][kGroups];
  const auto begin = [&] {
    for (std::uint32_t g = 0; g < groups; ++g) {
      scratch.current[g] = power(loadUnaligned(rings_.sine.data() + 4 * (firstGroup + g)), order);
      scratch.previous[g] = zero4();
    }
  };
  // Tables the functions of the degrees from `k` on at four groups.
  const auto fillTable = [&](std::uint32_t k, std::uint32_t group) {
    Double4 x[kGroups], now[kGroups], before[kGroups];
    for (std::uint32_t g = 0; g < kGroups; ++g) {
      x[g] = loadUnaligned(rings_.cosine.data() + 4 * (firstGroup + group + g));
      now[g] = scratch.current[group + g];
      before[g] = scratch.previous[group + g];
    }
    for (std::uint32_t i = 0; i < kDegrees; ++i) {
      const Double4 d = splat(scratch.decrements[k + i + 1]);
      for (std::uint32_t g = 0; g < kGroups; ++g) {
        table[i][g] = now[g];
        const Double4 next = fms(x[g], now[g], d * before[g]);
        before[g] = now[g];
        now[g] = next;
      }
    }
    for (std::uint32_t g = 0; g < kGroups; ++g) {
      scratch.current[group + g] = now[g];
      scratch.previous[group + g] = before[g];
    }
  };

  begin();
  std::memset(scratch.sums.data(), 0, values * (degrees + kDegrees) * sizeof(Double4));
  for (std::uint32_t k = 0; k < degrees; k += kDegrees)
    for (std::uint32_t group = 0; group < groups; group += kGroups) {
      fillTable(k, group);
      for (std::uint32_t parity = 0; parity < parities; ++parity)
        for (std::uint32_t i = parity; i < kDegrees; i += 4)
          addRings<values>(table[i], table[i + 2], in + group * kStride + parity * values, kStride,
                           scratch.sums.data() + (k + i) * values,
                           scratch.sums.data() + (k + i + 2) * values);
    }

  for (std::uint32_t k = 0; k < degrees + kDegrees; ++k) {
    const double s = scratch.scales[k];
    for (std::uint32_t c = 0; c < values; ++c)
      scratch.coefficients[k * values + c] =
          k < degrees ? horizontalSum(scratch.sums[k * values + c]) * s * factors_[order + k] * s : 0.0;
  }

  begin();
  for (std::uint32_t k = 0; k < degrees; k += kDegrees)
    for (std::uint32_t group = 0; group < groups; group += kGroups) {
      fillTable(k, group);
      for (std::uint32_t parity = 0; parity < parities; ++parity)
        for (std::uint32_t g = 0; g < kGroups; g += 2)
          addDegrees<values>(table + parity, g, scratch.coefficients.data() + (k + parity) * values,
                             out + (group + g) * kStride + parity * values, kStride);
    }
}

void HarmonicFilter::apply(RingSpectra& spectra) const {
  tbb::enumerable_thread_specific<Scratch> scratches([&] { return Scratch(degree_ + 1, rings_.groups); });
  forEachRow(spectra.frequencies(), 1, [&](std::uint32_t frequency) {
    Scratch& scratch = scratches.local();
    const std::uint32_t first = spectra.firstGroup(frequency);
    PairSpectrum* own = &spectra.at(frequency, first);
    PairSpectrum* result = scratch.result.data();
    const std::size_t bytes = (rings_.groups - first) * sizeof(PairSpectrum);
    std::memset(result, 0, bytes);
    for (const std::uint32_t order : ordersOf(frequency)) {
      const std::uint32_t skipped = std::max(first, firstGroup(order)) - first;
      filterOrder<6, 2>(order, first + skipped, own[skipped].values, result[skipped].values, scratch);
    }
    std::memcpy(own, result, bytes);
  });
}

void HarmonicFilter::applyToRings(const std::vector<double>& in, std::vector<double>& out) const {
  Scratch scratch(degree_ + 1, rings_.groups);
  AlignedArray<Double4> values(rings_.groups), sums(rings_.groups);
  for (std::uint32_t g = 0; g < rings_.groups; ++g) {
    alignas(32) double lanes[4];
    // Both hemispheres, all the pixels of a ring.
    for (std::uint32_t i = 0; i < 4; ++i) lanes[i] = 2.0 * rings_.width * share(4 * g + i) * in[4 * g + i];
    values[g] = load(lanes);
    sums[g] = zero4();
  }
  for (const std::uint32_t order : ordersOf(0)) {
    const std::uint32_t first = firstGroup(order);
    filterOrder<1, 1>(order, first, values.data() + first, sums.data() + first, scratch);
  }
  std::memcpy(out.data(), sums.data(), out.size() * sizeof(double));
}

}  // namespace orv::hdri::blockedAVX2
