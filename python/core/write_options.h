#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "scene/paint_job.h"

namespace orv::python {

/// How maps are written, of keywords as `orvpaint` has options: half, clamp, compression, layout, exposure,
/// usd, allow_fallback. None stands for what is not said.
/// @param outputs the files that are written; empty: not known yet.
/// @throws pybind11::value_error, pybind11::type_error that name the keyword.
scene::JobOptions readWriteOptions(const pybind11::dict& keywords, const std::vector<std::string>& outputs);

/// @throws pybind11::value_error when the ending of `path` names no format.
void checkEnding(const std::string& path);

scene::Layout readLayout(const std::string& name);

}  // namespace orv::python
