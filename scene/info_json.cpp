#include "scene/info_json.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "scene/write_scene.h"

namespace orv::scene {
namespace {

using Json = nlohmann::ordered_json;

std::string lineOf(const Json& json) {
  return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

Json orNull(const std::optional<double>& number) { return number ? Json(*number) : Json(nullptr); }

/// The shortest decimal number that gives the float back.
double decimal(float value) {
  char buffer[40];
  double result = static_cast<double>(value);
  std::from_chars(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr, result);
  return result;
}

Json sunJson(const SunInfo& sun, const hdri::SkySettings& sky) {
  Json json{{"azimuth", sun.azimuth}, {"elevation", sun.elevation}, {"fixed", sky.sunFromAngles != 0}};
  if (sky.sunFromAngles) return json;
  json["latitude"] = decimal(sky.latitude);
  json["longitude"] = decimal(sky.longitude);
  json["dayOfYear"] = sky.dayOfYear;
  json["hours"] = decimal(sky.hours);
  json["timeZone"] = decimal(sky.timeZone);
  return json;
}

}  // namespace

std::string infoJson(const std::string& path, Layout layout, const MapInfo& info) {
  Json json{{"file", path}, {"kind", "map"}, {"size", {info.width, info.height}}};
  json["format"] = info.header.format;
  json["channels"] = info.header.channels;
  json["pixelType"] = info.header.pixelType;
  json["compression"] = info.header.compression;
  json["software"] = info.header.software;
  json["orientation"] = info.header.orientation;
  json["layout"] = nameOf(layout);
  json["min"] = info.least;
  json["max"] = info.most;
  json["mean"] = info.mean;
  constexpr const char* kAxes[] = {"+X", "-X", "+Y", "-Y", "+Z", "-Z"};
  for (std::size_t axis = 0; axis < 6; ++axis) json["irradiance"][kAxes[axis]] = info.irradiance[axis];
  json["brightest"] = {{"luminance", info.brightest},
                       {"azimuth", info.brightestLongitude},
                       {"elevation", info.brightestLatitude},
                       {"share", info.brightestShare}};
  json["stops"] = info.stops;
  json["nan"] = info.nan;
  json["infinite"] = info.infinite;
  json["negative"] = info.negative;
  return lineOf(json);
}

std::string infoJson(const std::string& path, const Scene& scene, const SceneInfo& info) {
  const Json written = Json::parse(sceneText(scene));
  Json json{{"file", path}, {"kind", "scene"}};
  json["size"] = info.size ? Json{info.size->width, info.size->height} : Json(nullptr);
  json["quality"] = nameOf(scene.quality);
  json["smoothing"] = scene.smoothing;
  json["mean"] = info.mean ? Json(*info.mean) : Json(nullptr);
  json["withoutShares"] = info.withoutShares.empty() ? Json(nullptr) : Json(info.withoutShares);
  json["background"] = written.at("background");
  json["background"]["share"] = orNull(info.backgroundShare);
  json["sun"] = info.sun ? sunJson(*info.sun, std::get<SunSkyBackground>(scene.background.paint).settings)
                         : Json(nullptr);
  json["pins"] = Json::array();
  for (std::size_t i = 0; i < info.pins.size(); ++i) {
    Json pin = written.at("pins").at(i);
    pin["solidAngle"] = info.pins[i].solidAngle;
    pin["share"] = orNull(info.pins[i].share);
    json["pins"].push_back(std::move(pin));
  }
  json["images"] = Json::array();
  for (const PictureInfo& picture : info.pictures) {
    Json image{{"place", picture.place}, {"path", picture.path}, {"found", picture.found}};
    image["size"] = picture.width > 0 ? Json{picture.width, picture.height} : Json(nullptr);
    image["error"] = picture.error.empty() ? Json(nullptr) : Json(picture.error);
    json["images"].push_back(std::move(image));
  }
  return lineOf(json);
}

}  // namespace orv::scene
