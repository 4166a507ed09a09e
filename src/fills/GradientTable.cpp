#include "fills/GradientTable.h"

#include <algorithm>

#include "hdri/GradientBrush.h"

namespace orv::hdri::blockedAVX2 {

template <std::size_t channels>
template <typename Stop, typename Value>
void GradientTable::Segments<channels>::build(const std::vector<Stop>& stops, const Value& valueOf) {
  const std::size_t n = stops.size();
  for (const Stop& stop : stops) positions.push_back(stop.position);
  // Written so that a NaN does not count as ascending.
  for (std::size_t i = 0; i < n; ++i)
    ascending = ascending && (i == 0 ? positions[0] == positions[0] : positions[i - 1] <= positions[i]);

  // Whole vectors.
  const std::size_t entries = (n + kLanes) / kLanes * kLanes;
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
    for (std::size_t c = 0; c < channels; ++c) change[c][i] = to[c] - from[c];
  }
}

template <std::size_t channels>
Float8 GradientTable::Segments<channels>::at(const std::vector<float>& table, Int8 index) const {
  // Permutations of a few vectors: a gather costs more than a dozen of them.
  Float8 value = lookUp(loadUnaligned(table.data()), index);
  for (std::size_t first = kLanes; first < table.size(); first += kLanes) {
    const Mask8 here = shiftRight<3>(index) == splat(static_cast<int>(first / kLanes));
    value = select(here, lookUp(loadUnaligned(&table[first]), index), value);
  }
  return value;
}

template <std::size_t channels>
void GradientTable::Segments<channels>::evaluate(Float8 t, Float8 (&values)[channels]) const {
  if (positions.empty()) {
    for (Float8& value : values) value = splat(1.0f);
    return;
  }
  // The segment is the number of stops at or before t, but t must lie behind the first; a NaN never does.
  Int8 index = splat(0);
  for (std::size_t i = 1; i < positions.size(); ++i) index = index - toInt(t >= splat(positions[i]));
  const Int8 behindFirst = toInt(t > splat(positions[0]));
  index = (index - behindFirst) & behindFirst;

  // s = ((cubic u + square) u + linear) u, limited to [0, 1]; not fused, as the brush computes it.
  const Float8 u = (t - at(start, index)) * at(invLength, index);
  const Float8 cubicTerm = at(cubic, index) * u + at(square, index);
  const Float8 s = clamp01((cubicTerm * u + at(linear, index)) * u);
  for (std::size_t c = 0; c < channels; ++c) values[c] = at(base[c], index) + at(change[c], index) * s;
}

GradientTable::GradientTable(const GradientBrush& brush) {
  color_.build(brush.stops(), [](const GradientStop& stop) {
    return std::array<float, 3>{stop.r * stop.intensity, stop.g * stop.intensity, stop.b * stop.intensity};
  });
  opacity_.build(brush.curve(), [](const CurveStop& stop) { return std::array<float, 1>{stop.value}; });
}

Float8 GradientTable::evaluate(Float8 t, Block& color) const {
  Float8 rgb[3];
  color_.evaluate(t, rgb);
  store(color.r, rgb[0]);
  store(color.g, rgb[1]);
  store(color.b, rgb[2]);
  Float8 opacity[1];
  opacity_.evaluate(t, opacity);
  return opacity[0];
}

}  // namespace orv::hdri::blockedAVX2
