#include "hdri/GradientBrush.h"

#include <algorithm>

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

template <typename Stop>
Segment<Stop> findSegment(const std::vector<Stop>& stops, float t) {
  const Stop& first = stops.front();
  const Stop& last = stops.back();
  // Written so that a NaN takes the first stop.
  if (!(t > first.position)) return {first, first, 0.0f};
  if (t >= last.position) return {last, last, 0.0f};
  // A stop at t starts the segment; the search ends at the last stop whatever the positions are.
  std::size_t i = 1;
  while (i + 1 < stops.size() && !(stops[i].position > t)) ++i;
  return {stops[i - 1], stops[i], blend(stops[i - 1], stops[i], t)};
}

Rgb colorOf(const GradientStop& stop) {
  return {stop.r * stop.intensity, stop.g * stop.intensity, stop.b * stop.intensity};
}

template <typename Stop, std::size_t n>
bool exportStops(orvFloat_array& array, const std::vector<Stop>& stops, float Stop::*const (&fields)[n]) {
  std::vector<float> flat;
  flat.reserve(stops.size() * n);
  for (const Stop& stop : stops)
    for (float Stop::*field : fields) flat.push_back(stop.*field);
  return setFloatArray(array, flat);
}

}  // namespace

Rgb GradientBrush::evalColor(float t) const {
  if (stops_.empty()) return {1.0f, 1.0f, 1.0f};
  const auto [a, b, s] = findSegment(stops_, t);
  const Rgb from = colorOf(a);
  if (&a == &b) return from;
  const Rgb to = colorOf(b);
  return {from.r + (to.r - from.r) * s, from.g + (to.g - from.g) * s, from.b + (to.b - from.b) * s};
}

float GradientBrush::evalCurve(float t) const {
  if (curve_.empty()) return 1.0f;
  const auto [a, b, s] = findSegment(curve_, t);
  return &a == &b ? a.value : a.value + (b.value - a.value) * s;
}

bool GradientBrush::equals(const Brush& other) const {
  if (!Brush::equals(other)) return false;
  const auto& gradient = static_cast<const GradientBrush&>(other);
  return angle_ == gradient.angle_ && stops_ == gradient.stops_ && curve_ == gradient.curve_;
}

std::shared_ptr<Brush> GradientBrush::clone() const {
  auto copy = std::make_shared<GradientBrush>();
  copyBaseTo(*copy);
  copy->stops_ = stops_;
  copy->curve_ = curve_;
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
