#include "write_options.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "scene/map_file.h"
#include "scene/nearest_name.h"
#include "scene/scene_names.h"

namespace orv::python {
namespace {

namespace py = pybind11;

std::string found(const py::handle& value) {
  return py::repr(value).cast<std::string>() + " found; allowed: ";
}

/// NaN for what is no number.
double numberOf(const py::handle& value) {
  if (py::isinstance<py::bool_>(value)) return std::numeric_limits<double>::quiet_NaN();
  const double number = PyFloat_AsDouble(value.ptr());
  if (!PyErr_Occurred()) return number;
  PyErr_Clear();
  return std::numeric_limits<double>::quiet_NaN();
}

bool flagOf(const std::string& keyword, const py::handle& value) {
  if (!py::isinstance<py::bool_>(value)) throw py::type_error(keyword + ": " + found(value) + "True, False");
  return value.cast<bool>();
}

std::string textOf(const std::string& keyword, const py::handle& value) {
  if (!py::isinstance<py::str>(value)) throw py::type_error(keyword + ": " + found(value) + "text");
  return value.cast<std::string>();
}

std::string compressionOf(const std::string& name, const std::vector<std::string>& outputs) {
  std::vector<std::string_view> names;
  for (const scene::MapFormat& format : scene::mapFormats())
    for (const std::string_view each : format.compressions)
      if (std::find(names.begin(), names.end(), each) == names.end()) names.push_back(each);
  if (std::find(names.begin(), names.end(), name) == names.end())
    throw py::value_error("compression: \"" + name + "\" is not a compression" +
                          scene::suggestion(name, names) + "; allowed: " + scene::listOf(names));
  const auto knows = [&](const std::string& path) { return scene::mapFormatOf(path)->knows(name); };
  if (!outputs.empty() && std::none_of(outputs.begin(), outputs.end(), knows))
    throw py::value_error("compression: no output's format knows \"" + name + "\"");
  return name;
}

bool halfOf(const py::handle& value, const std::vector<std::string>& outputs) {
  const bool half = flagOf("half", value);
  const auto holds = [](const std::string& path) { return scene::mapFormatOf(path)->holdsHalves; };
  if (half && !outputs.empty() && std::none_of(outputs.begin(), outputs.end(), holds))
    throw py::value_error("half: no output is an EXR file, which alone holds 16-bit floats");
  return half;
}

std::optional<float> exposureOf(const py::handle& value) {
  if (py::isinstance<py::str>(value) && value.cast<std::string>() == "auto") return std::nullopt;
  const double stops = numberOf(value);
  // Written so that a NaN is refused.
  if (!(std::abs(stops) <= 64))
    throw py::value_error("exposure: " + found(value) + "a number of stops from -64 to 64, auto");
  return static_cast<float>(stops);
}

float limitOf(const py::handle& value) {
  const auto limit = static_cast<float>(numberOf(value));
  if (!(limit > 0 && std::isfinite(limit)))
    throw py::value_error("clamp: " + found(value) + "a number above 0");
  return limit;
}

}  // namespace

scene::JobOptions readWriteOptions(const py::dict& keywords, const std::vector<std::string>& outputs) {
  scene::JobOptions options;
  options.software = "orvhdri " ORVHDRI_VERSION;
  for (const auto& [key, value] : keywords) {
    if (value.is_none()) continue;
    const auto keyword = key.cast<std::string>();
    if (keyword == "half")
      options.half = halfOf(value, outputs);
    else if (keyword == "clamp")
      options.limit = limitOf(value);
    else if (keyword == "compression")
      options.compression = compressionOf(textOf(keyword, value), outputs);
    else if (keyword == "layout")
      options.layout = readLayout(textOf(keyword, value));
    else if (keyword == "exposure")
      options.exposureStops = exposureOf(value);
    else if (keyword == "usd")
      options.usd = textOf(keyword, value);
    else if (keyword == "allow_fallback")
      options.allowFallback = flagOf(keyword, value);
    else
      throw py::type_error(keyword +
                           ": not a keyword; allowed: half, clamp, compression, layout, exposure, usd, "
                           "allow_fallback");
  }
  if (!options.usd.empty() && !outputs.empty() && scene::firstOfFloats(outputs).empty())
    throw py::value_error("usd: no output holds floats for the light to show");
  return options;
}

void checkEnding(const std::string& path) {
  if (!scene::mapFormatOf(path))
    throw py::value_error(
        "\"" + path + "\" has no ending that names a format; allowed: " + scene::listOf(scene::mapEndings()));
}

scene::Layout readLayout(const std::string& name) {
  std::vector<std::string_view> names;
  for (const scene::NameRow& row : scene::kNames<scene::Layout>) {
    if (row.name == name) return static_cast<scene::Layout>(row.value);
    names.push_back(row.name);
  }
  throw py::value_error("layout: \"" + name + "\" is not a layout" + scene::suggestion(name, names) +
                        "; allowed: " + scene::listOf(names));
}

}  // namespace orv::python
