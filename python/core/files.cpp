#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <filesystem>
#include <utility>

#include "bindings.h"
#include "errors.h"
#include "maps.h"
#include "scene/HostPicture.h"
#include "scene/OutputFile.h"
#include "scene/ThreadLimit.h"
#include "scene/layout.h"
#include "scene/map_file.h"
#include "scene/map_info.h"
#include "scene/preview_sheet.h"
#include "scene/reduce_map.h"
#include "scene/tone_map.h"
#include "write_options.h"

namespace orv::python {
namespace {

/// Bytes of a picture as an array, uint8 (height, width, 3).
py::array pictureOf(std::vector<std::uint8_t> bytes, int width, int height) {
  auto held = std::make_unique<std::vector<std::uint8_t>>(std::move(bytes));
  const std::uint8_t* const data = held->data();
  const py::capsule owner(held.get(),
                          [](void* vector) { delete static_cast<std::vector<std::uint8_t>*>(vector); });
  held.release();
  return py::array_t<std::uint8_t>({py::ssize_t{height}, py::ssize_t{width}, py::ssize_t{3}}, data, owner);
}

/// Writes a picture of bytes, sRGB.
void writePictureFile(const py::array& array, const std::string& path) {
  const scene::MapFormat& format = *scene::mapFormatOf(path);
  if (array.ndim() != 3 || array.shape(2) != 3 || array.shape(0) < 1 || array.shape(1) < 1 ||
      array.shape(0) > scene::kMaxSide || array.shape(1) > scene::kMaxSide)
    throw py::value_error("array: allowed: a picture of uint8 of the shape (height, width, 3)");
  if (!format.preview)
    throw py::value_error(
        "array: a picture of uint8 is no light; allowed: an array of float32, or a file of a "
        "format of pictures");
  const auto packed = py::array_t<std::uint8_t, py::array::c_style>::ensure(array);
  const std::vector<std::uint8_t> bytes(packed.data(), packed.data() + packed.size());
  const auto height = static_cast<int>(array.shape(0));
  const auto width = static_cast<int>(array.shape(1));
  const py::gil_scoped_release release;
  scene::OutputFile file(path);
  scene::MapFileOptions options;
  options.software = "orvhdri " ORVHDRI_VERSION;
  scene::writePreview(bytes, width, height, file, format, options);
  file.commit();
}

/// Writes a map, or a picture; what is to be told of it, line by line.
std::vector<std::string> write(const py::handle& array, const std::string& path, const py::dict& keywords) {
  refuseForks();
  checkEnding(path);
  scene::JobOptions options = readWriteOptions(keywords, {path});
  if (py::isinstance<py::array_t<std::uint8_t>>(array)) {
    writePictureFile(py::reinterpret_borrow<py::array>(array), path);
    return {};
  }
  const std::shared_ptr<const hdri::EnvImage> map = mapOf(array, "array");
  std::vector<std::string> lines;
  options.tell = [&lines](const std::string& line, bool) { lines.push_back(line); };
  scene::Job job;
  job.outputs = {path};
  const py::gil_scoped_release release;
  scene::writeOutputs(*map, job, options);
  return lines;
}

py::array read(const std::string& path, std::uint64_t maxImagePixels) {
  refuseForks();
  MapPointer map;
  {
    const py::gil_scoped_release release;
    map = std::make_shared<hdri::EnvImage>(scene::readMap(path, maxImagePixels));
  }
  return arrayOf(std::move(map));
}

py::dict lightDict(int width, int height, const scene::MapLight& light) {
  py::dict info;
  info["width"] = width;
  info["height"] = height;
  info["mean"] = py::make_tuple(light.mean[0], light.mean[1], light.mean[2]);
  info["peak"] = light.brightest;
  info["longitude"] = light.brightestLongitude;
  info["latitude"] = light.brightestLatitude;
  return info;
}

py::dict infoOfMap(const py::handle& array) {
  const std::shared_ptr<const hdri::EnvImage> map = mapOf(array, "array");
  scene::MapLight light;
  {
    const py::gil_scoped_release release;
    light = scene::lightOf(*map);
  }
  return lightDict(map->width, map->height, light);
}

py::dict infoOfFile(const std::string& path, const std::string& layout, std::uint64_t maxImagePixels) {
  refuseForks();
  const scene::Layout read = readLayout(layout);
  scene::MapInfo info;
  {
    const py::gil_scoped_release release;
    info = scene::readMapInfo(path, read, maxImagePixels);
  }
  py::dict result = lightDict(info.width, info.height, info);
  result["format"] = info.header.format;
  result["channels"] = info.header.channels;
  result["pixels"] = info.header.pixelType;
  result["compression"] = info.header.compression;
  result["software"] = info.header.software;
  result["orientation"] = info.header.orientation;
  return result;
}

py::array preview(const py::handle& array, const std::string& name, std::optional<float> stops,
                  double camera) {
  refuseForks();
  const std::shared_ptr<const hdri::EnvImage> map = mapOf(array, "array");
  std::vector<std::uint8_t> bytes;
  std::pair<int, int> size;
  {
    const py::gil_scoped_release release;
    scene::SheetOptions options;
    options.name = name;
    options.automatic = !stops;
    options.exposureStops = stops ? *stops : scene::autoExposure(*map);
    options.cameraAzimuth = camera;
    const hdri::EnvImage sheet = scene::previewSheet(*map, options);
    size = {sheet.width, sheet.height};
    bytes = scene::encodePicture(sheet);
  }
  return pictureOf(std::move(bytes), size.first, size.second);
}

py::array toneMapped(const py::handle& array, std::optional<float> stops, int width, int height) {
  refuseForks();
  const std::shared_ptr<const hdri::EnvImage> map = mapOf(array, "array");
  std::vector<std::uint8_t> bytes;
  std::pair<int, int> size;
  {
    const py::gil_scoped_release release;
    const hdri::EnvImage small = scene::reduceMap(*map, width, height);
    bytes = scene::toneMap(small, stops ? *stops : scene::autoExposure(*map));
    size = {small.width, small.height};
  }
  return pictureOf(std::move(bytes), size.first, size.second);
}

py::object memoryOf(const py::array& array) {
  const MapPointer map = mapBehind(array);
  if (!map) return py::none();
  return py::int_(reinterpret_cast<std::uintptr_t>(map->pixels.data()));
}

}  // namespace

void addFiles(py::module_& module) {
  py::class_<Picture, std::shared_ptr<Picture>>(
      module, "Picture",
      "A picture in memory for scenes to show: a copy of an array of "
      "float32 (height, width, 3), finite, which stays as it is. Arrays "
      "that are put into a scene become one.")
      .def(py::init(&makePicture), py::arg("array"))
      .def_readonly("name", &Picture::name)
      .def_property_readonly("width", [](const Picture& picture) { return picture.map->width; })
      .def_property_readonly("height", [](const Picture& picture) { return picture.map->height; })
      .def("array",
           [](const Picture& picture) { return arrayOf(std::make_shared<hdri::EnvImage>(*picture.map)); });
  module.def("write", &write);
  module.def("read", &read);
  module.def("info_of_map", &infoOfMap);
  module.def("info_of_file", &infoOfFile);
  module.def("preview", &preview);
  module.def("tone_mapped", &toneMapped);
  module.def("memory_of", &memoryOf);
  module.def("longitudes", [](int width, const std::string& layout) {
    const scene::Layout lies = readLayout(layout);
    std::vector<double> degrees;
    for (int x = 0; x < width; ++x) degrees.push_back(scene::columnLongitude(lies, x, width));
    return degrees;
  });
  module.def("latitudes", [](double first, int count, int height, const std::string& layout) {
    const scene::Layout lies = readLayout(layout);
    std::vector<double> degrees;
    for (int y = 0; y < count; ++y) degrees.push_back(scene::rowLatitude(lies, first + y, height));
    return degrees;
  });
  module.attr("MAX_IMAGE_PIXELS") = scene::kMaxPicturePixels;
  module.attr("MAX_SIDE") = scene::kMaxSide;
  module.attr("MAX_PIXELS") = scene::kMaxPixels;
  module.attr("PROCESSORS") = scene::availableProcessors();
}

}  // namespace orv::python
