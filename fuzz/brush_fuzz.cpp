// Any brush: a clone equals it, and a gradient's values lie between those of its stops.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include "fuzz/any_brush.h"
#include "hdri/GradientBrush.h"

namespace {

using namespace orv::hdri;

void require(bool holds) {
  if (!holds) std::abort();
}

/// Lowest and highest of a stop's value over all stops.
struct Range {
  float lowest = std::numeric_limits<float>::max();
  float highest = std::numeric_limits<float>::lowest();
  bool finite = true;  ///< all of the stops' numbers
  bool tame = true;    ///< slopes within [0, 3], where a Hermite segment does not overshoot

  /// Products beyond the largest finite float count as it.
  void add(float value, float factor) {
    finite = finite && std::isfinite(value) && std::isfinite(factor);
    const float most = std::numeric_limits<float>::max();
    const float product = std::clamp(value * factor, -most, most);
    lowest = std::min(lowest, product);
    highest = std::max(highest, product);
  }
  template <typename Stop>
  void addPlace(const Stop& stop) {
    finite =
        finite && std::isfinite(stop.position) && std::isfinite(stop.slopeIn) && std::isfinite(stop.slopeOut);
    for (const float slope : {stop.slopeIn, stop.slopeOut}) tame = tame && slope >= 0 && slope <= 3;
  }
  void check(float value) const {
    if (!finite) return;
    require(!std::isnan(value));
    if (!tame) return;
    // a + (b - a) s is rounded three times, each time by half a unit of a number no larger than b - a.
    const double slack = 1.5 * std::numeric_limits<float>::epsilon() *
                             std::max({std::abs(double{lowest}), std::abs(double{highest}),
                                       double{highest} - double{lowest}}) +
                         3.0 * double{std::numeric_limits<float>::denorm_min()};
    require(double{value} >= double{lowest} - slack && double{value} <= double{highest} + slack);
  }
};

void checkGradient(const GradientBrush& brush, FuzzedDataProvider& data) {
  Range red;
  Range green;
  Range blue;
  Range opacity;
  for (const GradientStop& stop : brush.stops()) {
    red.add(stop.r, stop.intensity);
    green.add(stop.g, stop.intensity);
    blue.add(stop.b, stop.intensity);
    for (Range* channel : {&red, &green, &blue}) channel->addPlace(stop);
  }
  for (const CurveStop& stop : brush.curve()) {
    opacity.add(stop.value, 1);
    opacity.addPlace(stop);
  }
  std::vector<float> places = {0, 0.25f, 0.5f, 1, -1, 2, anyFloat(data), anyFloat(data)};
  for (const GradientStop& stop : brush.stops()) {
    places.push_back(stop.position);
    places.push_back(std::nextafter(stop.position, 10.0f));
  }
  for (const CurveStop& stop : brush.curve()) places.push_back(std::nextafter(stop.position, -10.0f));
  for (const float t : places) {
    const Rgb color = brush.evalColor(t);
    const float value = brush.evalCurve(t);
    if (brush.stops().empty()) {
      require(color == Rgb{1, 1, 1});
    } else {
      // A channel that overflows or is no number is its own affair; a place that is none is everybody's.
      red.check(color.r);
      green.check(color.g);
      blue.check(color.b);
    }
    if (brush.curve().empty())
      require(value == 1);
    else
      opacity.check(value);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  bool hasNan = false;
  const std::shared_ptr<Brush> brush = anyBrush(data, hasNan);
  const std::shared_ptr<Brush> clone = brush->clone();
  require(clone->kind() == brush->kind() && clone->size() == brush->size());
  // A NaN equals nothing.
  require(hasNan || (clone->equals(*brush) && brush->equals(*clone) && brush->equals(*brush)));
  require(clone->owner().expired());
  bool ignored = false;
  const std::shared_ptr<Brush> other = anyBrush(data, ignored);
  require(brush->equals(*other) == other->equals(*brush));
  require(clone->equals(*other) == brush->equals(*other));
  if (brush->kind() == BrushKind::gradient) checkGradient(static_cast<const GradientBrush&>(*brush), data);
  return 0;
}
