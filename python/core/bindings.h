#pragma once

#include <pybind11/pybind11.h>

namespace orv::python {

/// Adds reading, writing, measuring and previews of maps to the module.
void addFiles(pybind11::module_& module);

/// Adds jobs and what becomes of them.
void addJobs(pybind11::module_& module);

}  // namespace orv::python
