#include "hdri/GradientBrush.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

#include "brushes/host_parameters.h"
#include "host/orvNode.h"

namespace orv::hdri {
namespace {

/// Where `t` lies among at least one stop: `b` equals `a` outside the first and last position.
template <typename Stop>
struct Segment {
  const Stop& a;
  const Stop& b;
  float s;  ///< blend from a to b, [0, 1]
};

/// Cubic Hermite blend with end slopes a.slopeOut and b.slopeIn, clamped to [0, 1].
template <typename Stop>
float blend(const Stop& a, const Stop& b, float t) {
  if (a.position >= t) return 0.0f;
  if (t >= b.position) return 1.0f;
  const float u = (t - a.position) * (1.0f / (b.position - a.position));
  const float s =
      (((a.slopeOut + b.slopeIn - 2.0f) * u + (3.0f - 2.0f * a.slopeOut - b.slopeIn)) * u + a.slopeOut) * u;
  // Slopes that are not finite must not carry a NaN into the map: comparisons in this order give 0.
  return s > 0.0f ? std::min(s, 1.0f) : 0.0f;
}

/// Written so that a NaN does not count as ascending.
template <typename Stop>
bool ascend(const std::vector<Stop>& stops) {
  for (std::size_t i = 1; i < stops.size(); ++i)
    if (!(stops[i - 1].position <= stops[i].position)) return false;
  return true;
}

/// The first stop but one at least that lies behind `t`, else the last one, whatever the positions are.
template <typename Stop>
std::size_t stopBehind(const std::vector<Stop>& stops, float t, bool ascending) {
  const auto isBehind = [t](const Stop& stop) { return stop.position > t; };
  const auto last = stops.end() - 1;
  const auto found = ascending ? std::partition_point(stops.begin() + 1, last, std::not_fn(isBehind))
                               : std::find_if(stops.begin() + 1, last, isBehind);
  return static_cast<std::size_t>(found - stops.begin());
}

template <typename Stop>
Segment<Stop> findSegment(const std::vector<Stop>& stops, bool ascending, float t) {
  const Stop& first = stops.front();
  const Stop& last = stops.back();
  // Written so that a NaN takes the first stop.
  if (!(t > first.position)) return {first, first, 0.0f};
  if (t >= last.position) return {last, last, 0.0f};
  // A stop at t starts the segment.
  const std::size_t i = stopBehind(stops, t, ascending);
  return {stops[i - 1], stops[i], blend(stops[i - 1], stops[i], t)};
}

/// What overflowed as the largest finite float of its sign.
float limited(float x) {
  constexpr float kMost = std::numeric_limits<float>::max();
  return std::min(std::max(x, -kMost), kMost);
}

Rgb colorOf(const GradientStop& stop) {
  return {limited(stop.r * stop.intensity), limited(stop.g * stop.intensity),
          limited(stop.b * stop.intensity)};
}

float between(float from, float to, float s) { return limited(from + limited(to - from) * s); }

template <typename Stop, std::size_t n>
bool exportStops(orvFloat_array& array, const std::vector<Stop>& stops, float Stop::*const (&fields)[n]) {
  std::vector<float> flat;
  flat.reserve(stops.size() * n);
  for (const Stop& stop : stops)
    for (float Stop::*field : fields) flat.push_back(stop.*field);
  return setFloatArray(array, flat);
}

}  // namespace

void GradientBrush::setStops(std::vector<GradientStop> stops) {
  stops_ = std::move(stops);
  stopsAscend_ = ascend(stops_) ? 1 : 0;
}

void GradientBrush::setCurve(std::vector<CurveStop> curve) {
  curve_ = std::move(curve);
  curveAscends_ = ascend(curve_) ? 1 : 0;
}

Rgb GradientBrush::evalColor(float t) const {
  if (stops_.empty()) return {1.0f, 1.0f, 1.0f};
  const auto [a, b, s] = findSegment(stops_, stopsAscend_ != 0, t);
  const Rgb from = colorOf(a);
  if (&a == &b) return from;
  const Rgb to = colorOf(b);
  return {between(from.r, to.r, s), between(from.g, to.g, s), between(from.b, to.b, s)};
}

float GradientBrush::evalCurve(float t) const {
  if (curve_.empty()) return 1.0f;
  const auto [a, b, s] = findSegment(curve_, curveAscends_ != 0, t);
  return &a == &b ? a.value : between(a.value, b.value, s);
}

bool GradientBrush::equals(const Brush& other) const {
  if (!Brush::equals(other)) return false;
  const auto& gradient = static_cast<const GradientBrush&>(other);
  return angle_ == gradient.angle_ && stops_ == gradient.stops_ && curve_ == gradient.curve_;
}

std::shared_ptr<Brush> GradientBrush::clone() const {
  auto copy = std::make_shared<GradientBrush>();
  copyBaseTo(*copy);
  copy->setStops(stops_);
  copy->setCurve(curve_);
  copy->angle_ = angle_;
  return copy;
}

orvNode* GradientBrush::hostNode(orvScene* scene) {
  orvNode* node = exportBase(hostNode_, scene, "orv.env.brush.gradient");
  if (!node) return nullptr;
  node->set_parameter("angle", angle_);
  exportStops(node->float_array("stops"), stops_,
              {&GradientStop::position, &GradientStop::slopeIn, &GradientStop::slopeOut, &GradientStop::r,
               &GradientStop::g, &GradientStop::b, &GradientStop::intensity});
  exportStops(node->float_array("curve"), curve_,
              {&CurveStop::position, &CurveStop::slopeIn, &CurveStop::slopeOut, &CurveStop::value});
  return node;
}

}  // namespace orv::hdri
