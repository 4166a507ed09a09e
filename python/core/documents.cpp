#include "documents.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "scene/Problems.h"

namespace orv::python {
namespace {

using scene::JsonArray;
using scene::JsonMember;
using scene::JsonObject;
using scene::JsonPath;
using scene::JsonValue;

/// Ends a conversion at the first thing that makes the document unreadable; the problems say what.
struct Stop {};

class Converter {
 public:
  Converter(scene::Problems& problems, Pictures& pictures) : problems_(problems), pictures_(pictures) {}

  JsonValue convert(const py::handle& value, const JsonPath& place, std::size_t depth) {
    if (count_ == scene::kMaxSceneValues)
      stop("scene", "more than " + std::to_string(scene::kMaxSceneValues) + " values");
    JsonValue result;
    result.offset = result.keyOffset = scene::kWithoutText + count_++;
    PyObject* const object = value.ptr();
    // The usual ones first; a bool is an int.
    if (PyFloat_Check(object))
      result.data = PyFloat_AS_DOUBLE(object);
    else if (PyUnicode_Check(object))
      result.data = text(object, place);
    else if (PyBool_Check(object))
      result.data = object == Py_True;
    else if (PyLong_Check(object))
      putInteger(object, result);
    else if (PyDict_Check(object))
      result.data = members(object, place, opened(depth));
    else if (PyList_Check(object) || PyTuple_Check(object))
      result.data = items(object, place, opened(depth));
    else if (object != Py_None)
      return convertOther(value, place, depth);
    return result;
  }

 private:
  [[noreturn]] void stop(const std::string& place, const std::string& finding) {
    problems_.add(scene::kWithoutText + count_, place, finding);
    throw Stop();
  }

  std::size_t opened(std::size_t depth) {
    if (depth == scene::kMaxSceneDepth)
      stop("scene", "more than " + std::to_string(scene::kMaxSceneDepth) + " levels of nesting");
    return depth + 1;
  }

  std::string text(PyObject* object, const JsonPath& place) {
    Py_ssize_t size = 0;
    const char* const bytes = PyUnicode_AsUTF8AndSize(object, &size);
    if (bytes) return {bytes, static_cast<std::size_t>(size)};
    PyErr_Clear();
    stop(place.text(), "a text that is no Unicode found; allowed: text that UTF-8 can hold");
  }

  static void putInteger(PyObject* object, JsonValue& result) {
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(object, &overflow);
    if (overflow == 0) {
      result.data = static_cast<std::int64_t>(number);
      return;
    }
    double wide = PyLong_AsDouble(object);
    if (PyErr_Occurred()) {
      PyErr_Clear();
      wide = overflow * std::numeric_limits<double>::infinity();
    }
    result.data = wide;
  }

  // What is read of a value may be code that changes the list or the dict: each value is held, and looked at
  // once.
  JsonArray items(PyObject* sequence, const JsonPath& place, std::size_t depth) {
    const auto size = [sequence] { return static_cast<std::size_t>(PySequence_Fast_GET_SIZE(sequence)); };
    JsonArray result;
    result.reserve(std::min(size(), scene::kMaxSceneValues));
    for (std::size_t i = 0; i < size(); ++i) {
      const auto held =
          py::reinterpret_borrow<py::object>(PySequence_Fast_GET_ITEM(sequence, static_cast<Py_ssize_t>(i)));
      result.push_back(convert(held, place.child(i), depth));
    }
    return result;
  }

  JsonObject members(PyObject* dict, const JsonPath& place, std::size_t depth) {
    JsonObject result;
    result.reserve(static_cast<std::size_t>(PyDict_GET_SIZE(dict)));
    PyObject* key = nullptr;
    PyObject* value = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(dict, &position, &key, &value) != 0;) {
      const auto heldKey = py::reinterpret_borrow<py::object>(key);
      const auto held = py::reinterpret_borrow<py::object>(value);
      if (!PyUnicode_Check(key))
        stop(place.text(), std::string("a key that is ") + Py_TYPE(key)->tp_name + " found; allowed: text");
      std::string name = text(key, place);
      if (name == "image" && py::isinstance<Picture>(held)) {
        if (PyDict_GetItemString(dict, "path"))
          stop(place.child(name).text(), "the object has a path, too; allowed: one of both");
        pictures_.push_back(held.cast<std::shared_ptr<Picture>>());
        result.push_back({"path", {pictures_.back()->name, count_++}});
        continue;
      }
      JsonValue member = convert(held, place.child(name), depth);
      result.push_back({std::move(name), std::move(member)});
    }
    return result;
  }

  /// Paths, and the numbers and small arrays of numpy.
  JsonValue convertOther(const py::handle& value, const JsonPath& place, std::size_t depth) {
    --count_;
    py::object plain;
    if (py::hasattr(value, "__fspath__"))
      plain = py::module_::import("os").attr("fsdecode")(value);
    else if (py::hasattr(value, "tolist") && py::hasattr(value, "dtype"))
      plain = value.attr("tolist")();
    if (!plain || py::type::of(plain).is(py::type::of(value)))
      stop(place.text(), std::string("an object of ") + Py_TYPE(value.ptr())->tp_name +
                             " found; allowed: None, True, False, numbers, text, lists and dicts");
    return convert(plain, place, opened(depth));
  }

  scene::Problems& problems_;
  Pictures& pictures_;
  std::uint32_t count_ = 0;
};

struct ToPython {
  py::object operator()(std::monostate) const { return py::none(); }
  py::object operator()(bool value) const { return py::bool_(value); }
  py::object operator()(std::int64_t value) const { return py::int_(value); }
  py::object operator()(std::uint64_t value) const { return py::int_(value); }
  py::object operator()(double value) const { return py::float_(value); }
  py::object operator()(const scene::WrittenNumber& number) const { return py::float_(number.value); }
  py::object operator()(const std::string& text) const {
    return py::reinterpret_steal<py::object>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
  }
  py::object operator()(const JsonArray& array) const {
    py::list list;
    for (const JsonValue& item : array) list.append(toPython(item));
    return list;
  }
  py::object operator()(const JsonObject& object) const {
    py::dict dict;
    for (const JsonMember& member : object) dict[(*this)(member.key)] = toPython(member.value);
    return dict;
  }
};

}  // namespace

JsonValue toDocument(const py::handle& value, const std::string& name, Pictures& pictures) {
  scene::Problems problems(name);
  try {
    return Converter(problems, pictures).convert(value, JsonPath(), 0);
  } catch (const Stop&) {
    problems.throwIfAny({});
  }
  return {};
}

py::object toPython(const JsonValue& value) { return std::visit(ToPython(), value.data); }

}  // namespace orv::python
