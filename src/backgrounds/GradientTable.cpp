#include "backgrounds/GradientTable.h"

#include <algorithm>
#include <limits>

#include "hdri/GradientBrush.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// The coefficients of eight lanes' segments.
struct Blend8 {
  Float8 start;
  Float8 invLength;
  Float8 cubic;
  Float8 square;
  Float8 linear;
};

/// u = (t - start) / length, s = ((cubic u + square) u + linear) u limited to [0, 1]; not fused, as the brush
/// computes it.
inline Float8 blendAt(const Blend8& c, Float8 t) {
  const Float8 u = (t - c.start) * c.invLength;
  return clamp01(((c.cubic * u + c.square) * u + c.linear) * u);
}

/// How many stops but the first lie at or before t.
inline Int8 stopsBehindFirst(Float8 t, const float* positions, std::size_t count) {
  Int8 index = splat(0);
  for (std::size_t i = 1; i < count; ++i) index = index - toInt(t >= splat(positions[i]));
  return index;
}

/// The segment is the number of stops at or before t, but t must lie behind the first; a NaN never does.
inline Int8 segmentAt(Float8 t, const float* positions, std::size_t count) {
  const Int8 index = stopsBehindFirst(t, positions, count);
  const Int8 behindFirst = toInt(t > splat(positions[0]));
  return (index - behindFirst) & behindFirst;
}

/// So many stops are counted one by one; of more, halves are searched.
constexpr std::size_t kMostCounted = 31;

/// Permutations of a few vectors: a gather costs more than a dozen of them.
inline Float8 lookUpIn(const std::vector<float>& table, Int8 index) {
  Float8 value = lookUp(loadUnaligned(table.data()), index);
  for (std::size_t first = kLanes; first < table.size(); first += kLanes) {
    const Mask8 here = shiftRight<3>(index) == splat(static_cast<int>(first / kLanes));
    value = select(here, lookUp(loadUnaligned(&table[first]), index), value);
  }
  return value;
}

/// As `segmentAt`, lane by lane.
struct SegmentLanes {
  alignas(32) int index[kLanes];

  SegmentLanes(Float8 t, const float* positions, std::size_t count) {
    alignas(32) float lanes[kLanes];
    store(lanes, t);
    for (int i = 0; i < kLanes; ++i) {
      const bool behindFirst = lanes[i] > positions[0];
      index[i] = behindFirst
                     ? static_cast<int>(std::upper_bound(positions, positions + count, lanes[i]) - positions)
                     : 0;
    }
  }

  Float8 lookUpIn(const std::vector<float>& table) const {
    alignas(32) float lanes[kLanes];
    for (int i = 0; i < kLanes; ++i) lanes[i] = table[static_cast<std::size_t>(index[i])];
    return load(lanes);
  }
};

}  // namespace

template <std::size_t channels>
template <typename Stop, typename Value>
void GradientTable::Segments<channels>::build(const std::vector<Stop>& stops, const Value& valueOf) {
  const std::size_t n = stops.size();
  count = n;
  for (const Stop& stop : stops) positions.push_back(stop.position);
  // Written so that a NaN does not count as ascending.
  for (std::size_t i = 0; i < n; ++i)
    ascending = ascending && (i == 0 ? positions[0] == positions[0] : positions[i - 1] <= positions[i]);

  // Whole vectors.
  const std::size_t entries = (n + kLanes) / kLanes * kLanes;
  positions.resize(entries, std::numeric_limits<float>::quiet_NaN());
  for (auto* table : {&start, &invLength, &cubic, &square, &linear}) table->assign(entries, 0.0f);
  for (std::size_t c = 0; c < channels; ++c) {
    base[c].assign(entries, 1.0f);
    change[c].assign(entries, 0.0f);
  }
  if (n == 0) return;

  const auto setBase = [&](std::size_t segment, const Stop& stop) {
    const std::array<float, channels> value = valueOf(stop);
    for (std::size_t c = 0; c < channels; ++c) base[c][segment] = value[c];
  };
  setBase(0, stops.front());
  setBase(n, stops.back());
  for (std::size_t i = 1; i < n; ++i) {
    const Stop& a = stops[i - 1];
    const Stop& b = stops[i];
    start[i] = a.position;
    invLength[i] = 1.0f / (b.position - a.position);
    cubic[i] = a.slopeOut + b.slopeIn - 2.0f;
    square[i] = 3.0f - 2.0f * a.slopeOut - b.slopeIn;
    linear[i] = a.slopeOut;
    setBase(i, a);
    const std::array<float, channels> from = valueOf(a);
    const std::array<float, channels> to = valueOf(b);
    for (std::size_t c = 0; c < channels; ++c) change[c][i] = limited(to[c] - from[c]);
  }
}

template <std::size_t channels>
template <typename Store>
void GradientTable::Segments<channels>::evaluate(const float* t, std::size_t blocks,
                                                 const Store& storeValues) const {
  if (count > kMostCounted) return evaluateBySearch(t, blocks, storeValues);
  if (positions.size() > kLanes) return evaluateMany(t, blocks, storeValues);
  // The fifth position is NaN where there are at most four.
  if (!(positions[4] == positions[4])) return evaluateFour(t, blocks, storeValues);
  evaluateSeven(t, blocks, storeValues);
}

/// Up to four stops: the segments behind the first stop are half a register, which holds them twice.
template <std::size_t channels>
template <typename Store>
void GradientTable::Segments<channels>::evaluateFour(const float* t, std::size_t blocks,
                                                     const Store& storeValues) const {
  constexpr std::size_t kStops = 4;
  float at[kStops];
  for (std::size_t i = 0; i < kStops; ++i) at[i] = positions[i];
  const Blend8 table{loadHalves(&start[1]), loadHalves(&invLength[1]), loadHalves(&cubic[1]),
                     loadHalves(&square[1]), loadHalves(&linear[1])};
  Float8 first[channels], from[channels], by[channels];
  for (std::size_t c = 0; c < channels; ++c) {
    first[c] = splat(base[c][0]);
    from[c] = loadHalves(&base[c][1]);
    by[c] = loadHalves(&change[c][1]);
  }
  for (std::size_t block = 0; block < blocks; ++block) {
    const Float8 position = load(t + 8 * block);
    const Int8 index = stopsBehindFirst(position, at, kStops);
    const Mask8 behindFirst = position > splat(at[0]);
    const Float8 s = blendAt({lookUpInHalves(table.start, index), lookUpInHalves(table.invLength, index),
                              lookUpInHalves(table.cubic, index), lookUpInHalves(table.square, index),
                              lookUpInHalves(table.linear, index)},
                             position);
    Float8 values[channels];
    for (std::size_t c = 0; c < channels; ++c)
      values[c] = select(
          behindFirst, limited(lookUpInHalves(from[c], index) + lookUpInHalves(by[c], index) * s), first[c]);
    storeValues(block, values);
  }
}

/// Up to seven stops: each table is one register.
template <std::size_t channels>
template <typename Store>
void GradientTable::Segments<channels>::evaluateSeven(const float* t, std::size_t blocks,
                                                      const Store& storeValues) const {
  constexpr std::size_t kStops = 7;
  float at[kStops];
  for (std::size_t i = 0; i < kStops; ++i) at[i] = positions[i];
  const Blend8 table{loadUnaligned(start.data()), loadUnaligned(invLength.data()),
                     loadUnaligned(cubic.data()), loadUnaligned(square.data()), loadUnaligned(linear.data())};
  Float8 from[channels], by[channels];
  for (std::size_t c = 0; c < channels; ++c) {
    from[c] = loadUnaligned(base[c].data());
    by[c] = loadUnaligned(change[c].data());
  }
  for (std::size_t block = 0; block < blocks; ++block) {
    const Float8 position = load(t + 8 * block);
    const Int8 index = segmentAt(position, at, kStops);
    const Float8 s =
        blendAt({lookUp(table.start, index), lookUp(table.invLength, index), lookUp(table.cubic, index),
                 lookUp(table.square, index), lookUp(table.linear, index)},
                position);
    Float8 values[channels];
    for (std::size_t c = 0; c < channels; ++c)
      values[c] = limited(lookUp(from[c], index) + lookUp(by[c], index) * s);
    storeValues(block, values);
  }
}

template <std::size_t channels>
template <typename Store>
void GradientTable::Segments<channels>::evaluateMany(const float* t, std::size_t blocks,
                                                     const Store& storeValues) const {
  for (std::size_t block = 0; block < blocks; ++block) {
    const Float8 position = load(t + 8 * block);
    const Int8 index = segmentAt(position, positions.data(), positions.size());
    const Float8 s = blendAt({lookUpIn(start, index), lookUpIn(invLength, index), lookUpIn(cubic, index),
                              lookUpIn(square, index), lookUpIn(linear, index)},
                             position);
    Float8 values[channels];
    for (std::size_t c = 0; c < channels; ++c)
      values[c] = limited(lookUpIn(base[c], index) + lookUpIn(change[c], index) * s);
    storeValues(block, values);
  }
}

template <std::size_t channels>
template <typename Store>
void GradientTable::Segments<channels>::evaluateBySearch(const float* t, std::size_t blocks,
                                                         const Store& storeValues) const {
  for (std::size_t block = 0; block < blocks; ++block) {
    const Float8 position = load(t + 8 * block);
    const SegmentLanes at(position, positions.data(), count);
    const Float8 s = blendAt({at.lookUpIn(start), at.lookUpIn(invLength), at.lookUpIn(cubic),
                              at.lookUpIn(square), at.lookUpIn(linear)},
                             position);
    Float8 values[channels];
    for (std::size_t c = 0; c < channels; ++c)
      values[c] = limited(at.lookUpIn(base[c]) + at.lookUpIn(change[c]) * s);
    storeValues(block, values);
  }
}

GradientTable::GradientTable(const GradientBrush& brush) : opaque_(brush.curve().empty()) {
  color_.build(brush.stops(), [](const GradientStop& stop) {
    return std::array<float, 3>{limited(stop.r * stop.intensity), limited(stop.g * stop.intensity),
                                limited(stop.b * stop.intensity)};
  });
  opacity_.build(brush.curve(), [](const CurveStop& stop) { return std::array<float, 1>{stop.value}; });
}

void GradientTable::colors(const float* t, std::span<Block> out) const {
  color_.evaluate(t, out.size(), [&](std::size_t block, const Float8(&rgb)[3]) {
    store(out[block].r, rgb[0]);
    store(out[block].g, rgb[1]);
    store(out[block].b, rgb[2]);
  });
}

void GradientTable::weights(const float* t, const float* coverage, std::size_t blocks, float* weight) const {
  opacity_.evaluate(t, blocks, [&](std::size_t block, const Float8(&opacity)[1]) {
    store(weight + 8 * block, load(coverage + 8 * block) * opacity[0]);
  });
}

}  // namespace orv::hdri::blockedAVX2
