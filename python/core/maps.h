#pragma once

#include <pybind11/numpy.h>

#include <memory>
#include <string>

#include "hdri/EnvImage.h"

namespace orv::python {

namespace py = pybind11;

using MapPointer = std::shared_ptr<hdri::EnvImage>;

/// A picture in memory that scenes show: finite pixels that nobody changes any more.
struct Picture {
  std::string name;  ///< what scenes call it; no other picture of the process has it
  std::shared_ptr<const hdri::EnvImage> map;
};

/// The map as an array, float32 (height, width, 3). Its memory is the map's, which lives as long as the
/// array.
py::array arrayOf(MapPointer map);

/// The map whose memory an array of `arrayOf`, or a whole view of it, shows; null for other arrays.
MapPointer mapBehind(const py::array& array);

/// An array as a map: the one whose memory it shows, or a copy. Strides may be any.
/// @param what what messages call it. @throws py::type_error for what is no float32 array;
///        py::value_error for a shape that no map has.
std::shared_ptr<const hdri::EnvImage> mapOf(const py::handle& array, const char* what);

/// A copy of an array. @throws as `mapOf`; py::value_error for pixels that are not finite.
std::shared_ptr<Picture> makePicture(const py::handle& array);

}  // namespace orv::python
