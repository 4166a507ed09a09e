#include "maps.h"

#include <atomic>
#include <cmath>
#include <cstring>

#include "scene/Scene.h"

namespace orv::python {
namespace {

constexpr const char* kCapsule = "orvhdri map";
constexpr const char* kAllowed = "; allowed: a numpy array of float32 of the shape (height, width, 3)";

std::string shapeText(const py::array& array) {
  std::string text = "(";
  for (py::ssize_t i = 0; i < array.ndim(); ++i) text += (i > 0 ? ", " : "") + std::to_string(array.shape(i));
  return text + (array.ndim() == 1 ? ",)" : ")");
}

void checkShape(const py::array& array, const std::string& what) {
  if (array.ndim() != 3 || array.shape(2) != 3)
    throw py::value_error(what + ": an array of the shape " + shapeText(array) + " found" + kAllowed);
  const std::int64_t height = array.shape(0);
  const std::int64_t width = array.shape(1);
  const bool fits = height >= 1 && width >= 1 && height <= scene::kMaxSide && width <= scene::kMaxSide &&
                    width * height <= scene::kMaxPixels;
  if (!fits)
    throw py::value_error(what + ": an array of the shape " + shapeText(array) +
                          " found; allowed: sides from 1 to " + std::to_string(scene::kMaxSide) +
                          ", at most " + std::to_string(scene::kMaxPixels) + " pixels");
}

MapPointer copyOf(const py::array& array) {
  const auto height = static_cast<std::int32_t>(array.shape(0));
  const auto width = static_cast<std::int32_t>(array.shape(1));
  auto map = std::make_shared<hdri::EnvImage>(width, height);
  const auto pixels = array.cast<py::array_t<float>>().unchecked<3>();
  hdri::Rgb* out = map->pixels.data();
  const bool packed = (array.flags() & py::array::c_style) != 0;
  for (py::ssize_t y = 0; y < height; ++y, out += width) {
    if (packed) {
      std::memcpy(out, pixels.data(y, 0, 0), static_cast<std::size_t>(width) * sizeof(hdri::Rgb));
      continue;
    }
    for (py::ssize_t x = 0; x < width; ++x) out[x] = {pixels(y, x, 0), pixels(y, x, 1), pixels(y, x, 2)};
  }
  return map;
}

py::array checked(const py::handle& value, const char* what) {
  const std::string subject = what;
  if (!py::isinstance<py::array>(value))
    throw py::type_error(subject + ": " + Py_TYPE(value.ptr())->tp_name + " found" + kAllowed);
  auto array = py::reinterpret_borrow<py::array>(value);
  if (!py::isinstance<py::array_t<float>>(array))
    throw py::type_error(subject + ": an array of " + std::string(py::str(array.dtype())) + " found" +
                         kAllowed + ", such as array.astype(numpy.float32)");
  checkShape(array, subject);
  return array;
}

}  // namespace

py::array arrayOf(MapPointer map) {
  static_assert(sizeof(hdri::Rgb) == 3 * sizeof(float));
  const py::ssize_t height = map->height;
  const py::ssize_t width = map->width;
  const float* const pixels = &map->pixels.data()->r;
  auto held = std::make_unique<MapPointer>(std::move(map));
  const py::capsule owner(held.get(), kCapsule, [](PyObject* capsule) {
    delete static_cast<MapPointer*>(PyCapsule_GetPointer(capsule, kCapsule));
  });
  held.release();
  return py::array_t<float>({height, width, py::ssize_t{3}}, pixels, owner);
}

MapPointer mapBehind(const py::array& array) {
  if ((array.flags() & py::array::c_style) == 0 || array.ndim() != 3) return nullptr;
  py::object base = array.base();
  while (base && py::isinstance<py::array>(base)) base = py::reinterpret_borrow<py::array>(base).base();
  if (!base || !PyCapsule_IsValid(base.ptr(), kCapsule)) return nullptr;
  const MapPointer& map = *static_cast<MapPointer*>(PyCapsule_GetPointer(base.ptr(), kCapsule));
  const bool whole = array.data() == map->pixels.data() && array.shape(0) == map->height &&
                     array.shape(1) == map->width && array.shape(2) == 3;
  return whole ? map : nullptr;
}

std::shared_ptr<const hdri::EnvImage> mapOf(const py::handle& value, const char* what) {
  const py::array array = checked(value, what);
  MapPointer map = mapBehind(array);
  return map ? map : copyOf(array);
}

std::shared_ptr<Picture> makePicture(const py::handle& value) {
  static std::atomic<std::uint64_t> count = 0;
  MapPointer map = copyOf(checked(value, "image"));
  const hdri::Rgb* const pixels = map->pixels.data();
  for (std::size_t i = 0; i < map->pixels.size(); ++i) {
    const auto& [r, g, b] = pixels[i];
    if (std::isfinite(r) && std::isfinite(g) && std::isfinite(b)) continue;
    const auto width = static_cast<std::size_t>(map->width);
    throw py::value_error("image: the pixel in row " + std::to_string(i / width) + ", column " +
                          std::to_string(i % width) +
                          " is not finite; allowed: numbers, such as numpy.nan_to_num gives them");
  }
  auto picture = std::make_shared<Picture>();
  picture->name = "memory:array" + std::to_string(++count);
  picture->map = std::move(map);
  return picture;
}

}  // namespace orv::python
