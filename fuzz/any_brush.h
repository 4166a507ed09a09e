#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"

/// Any bits, or a number of the everyday, so that both are reached.
inline float anyFloat(FuzzedDataProvider& data) {
  const auto kind = data.ConsumeIntegral<std::uint8_t>();
  if (kind < 200) return static_cast<float>(kind) / 64.0f - 0.5f;
  const auto bits = data.ConsumeIntegral<std::uint32_t>();
  float number = 0;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

namespace any_brush_detail {

/// Draws numbers and remembers whether any was a NaN.
class Numbers {
 public:
  Numbers(FuzzedDataProvider& data, bool& hasNan) : data_(data), hasNan_(hasNan) {}
  float operator()() {
    const float number = anyFloat(data_);
    hasNan_ = hasNan_ || std::isnan(number);
    return number;
  }

 private:
  FuzzedDataProvider& data_;
  bool& hasNan_;
};

inline std::shared_ptr<orv::hdri::Brush> gradient(FuzzedDataProvider& data, Numbers& number) {
  auto brush = std::make_shared<orv::hdri::GradientBrush>();
  // Ascending places as a rule, as the interface wants them.
  const bool ascending = data.ConsumeBool();
  float position = 0;
  const auto next = [&] {
    const float step = number();
    position = ascending ? position + std::abs(step) : step;
    return position;
  };
  std::vector<orv::hdri::GradientStop> stops(data.ConsumeIntegralInRange<std::size_t>(0, 40));
  for (orv::hdri::GradientStop& stop : stops)
    stop = {.position = next(),
            .slopeIn = number(),
            .slopeOut = number(),
            .r = number(),
            .g = number(),
            .b = number(),
            .intensity = number()};
  brush->setStops(std::move(stops));
  position = 0;
  std::vector<orv::hdri::CurveStop> curve(data.ConsumeIntegralInRange<std::size_t>(0, 6));
  for (orv::hdri::CurveStop& stop : curve)
    stop = {.position = next(), .slopeIn = number(), .slopeOut = number(), .value = number()};
  brush->setCurve(std::move(curve));
  brush->setAngle(number());
  return brush;
}

inline std::shared_ptr<orv::hdri::Brush> sky(FuzzedDataProvider& data, Numbers& number) {
  auto brush = std::make_shared<orv::hdri::SunSkyBrush>();
  orv::hdri::SkySettings& s = brush->settings();
  for (float* setting :
       {&s.turbidity, &s.ozone, &s.groundAlbedo, &s.skyIntensity, &s.sunIntensity, &s.sunSize, &s.latitude,
        &s.longitude, &s.hours, &s.sunAzimuth, &s.sunElevation, &s.timeZone, &s.northOffset})
    *setting = number();
  s.sunFromAngles = data.ConsumeIntegral<std::uint8_t>();
  s.dayOfYear = data.ConsumeIntegral<std::uint32_t>();
  return brush;
}

}  // namespace any_brush_detail

/// A brush of any kind with any values. Images are named "a", "b" or "gone".
/// @param hasNan set where a NaN is among the values.
inline std::shared_ptr<orv::hdri::Brush> anyBrush(FuzzedDataProvider& data, bool& hasNan) {
  using namespace orv::hdri;
  any_brush_detail::Numbers number(data, hasNan);
  std::shared_ptr<Brush> brush;
  switch (data.ConsumeIntegralInRange(0, 4)) {
    case 0:
      brush = std::make_shared<ColorBrush>(number(), number(), number());
      break;
    case 1:
      brush = any_brush_detail::gradient(data, number);
      break;
    case 2:
      brush = std::make_shared<ImageBrush>(data.PickValueInArray<const char*>({"a", "b", "gone"}));
      break;
    case 3:
      brush = any_brush_detail::sky(data, number);
      break;
    default:
      brush = std::make_shared<BackgroundBrush>(number(), number());
  }
  const auto flags = data.ConsumeIntegral<std::uint8_t>();
  if ((flags & 1u) != 0)
    brush->adjustments() = {number(), number(), number(), number(), number(), number(), number()};
  if ((flags & 2u) != 0) {
    brush->setBlurAmount(number());
    brush->setBlurOnSphere((flags & 32u) != 0);
  }
  if ((flags & 4u) != 0) {
    const float azimuth = number();
    brush->setTiltAngles(azimuth, number());
  }
  brush->setMapSettingsOn((flags & 8u) != 0);
  brush->setEnabled((flags & 16u) == 0);
  brush->setOverride((flags & 64u) != 0);
  brush->setMode(static_cast<BlendMode>((flags & 128u) != 0 ? data.ConsumeIntegral<std::uint32_t>()
                                                            : data.ConsumeIntegralInRange(0u, 3u)));
  if (data.ConsumeBool()) brush->setSize(data.ConsumeIntegral<std::uint32_t>(), 7);
  return brush;
}
