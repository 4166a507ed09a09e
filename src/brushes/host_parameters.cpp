#include "brushes/host_parameters.h"

#include <algorithm>
#include <cmath>

#include "hdri/SunSkyBrush.h"
#include "host/BrushOwner.h"
#include "host/orvMemory.h"
#include "host/orvNode.h"
#include "host/orvScene.h"
#include "host/orvSky.h"

namespace orv::hdri {

orvNode* createHostNode(const Brush& brush, orvScene* scene, const char* typeName) {
  const std::shared_ptr<BrushOwner> lockedOwner = brush.owner().lock();
  if (!lockedOwner) return nullptr;
  orvScene_api* api = orv_get_scene_api(scene);
  if (!api) return nullptr;
  api->begin_node(typeName, 0xFFFFFFFFu, 0);
  return api->take_node();
}

void applySunAndSky(const SunSkyBrush& brush, orvSky& sky) {
  const SkySettings& settings = brush.settings();
  sky.turbidity = settings.turbidity;
  sky.ozone = settings.ozone;
  sky.groundAlbedo = settings.groundAlbedo;
  sky.skyIntensity = settings.skyIntensity;
  sky.sunIntensity = settings.sunIntensity;
  sky.sunSize = settings.sunSize;
  sky.latitude = settings.latitude;
  sky.longitude = settings.longitude;
  sky.hours = settings.hours;
  sky.dayOfYear = settings.dayOfYear;
  sky.timeZone = settings.timeZone;
  sky.northOffset = settings.northOffset;
  sky.settingsGiven = 1;

  // An animated time of day always wins over fixed angles.
  if (!settings.sunFromAngles || (brush.node() && brush.node()->is_parameter_animated("hours"))) {
    sky.use_own_sun();
    return;
  }

  // The direction in which sunlight travels, y up: elevation is negated before its sine and cosine are taken.
  const double a = static_cast<double>(settings.sunAzimuth * kRadiansPerDegree);
  const double e = static_cast<double>(-(settings.sunElevation * kRadiansPerDegree));
  const double direction[3] = {-std::cos(e) * std::cos(a), std::sin(e), std::sin(a) * std::cos(e)};
  sky.set_sun_direction(direction);
}

bool setFloatArray(orvFloat_array& array, std::span<const float> values) {
  const auto count = static_cast<std::uint32_t>(values.size());
  if (array.count < count) {
    auto* block = static_cast<float*>(orv_malloc(count * sizeof(float)));
    if (!block) return false;
    orv_free(array.data);
    array.data = block;
  }
  array.count = count;
  std::copy(values.begin(), values.end(), array.data);
  return true;
}

}  // namespace orv::hdri
