#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

#include "maps.h"
#include "scene/json_tree.h"

namespace orv::python {

namespace py = pybind11;

using Pictures = std::vector<std::shared_ptr<Picture>>;

/// A document of Python's None, bool, numbers, str, paths, lists, tuples and dicts as the reader's tree; the
/// reader of scenes tells what is wrong in it. A Picture that is the `image` of an object becomes the `path`
/// of that object: its name.
/// @param name what messages call the document. @param pictures takes up those that were found.
/// @throws scene::SceneErrors for what no document holds, and beyond the limits of files.
scene::JsonValue toDocument(const py::handle& value, const std::string& name, Pictures& pictures);

/// The tree as dicts, lists and so on.
py::object toPython(const scene::JsonValue& value);

}  // namespace orv::python
