#pragma once

#include <pybind11/pybind11.h>

namespace orv::python {

namespace py = pybind11;

/// Has what the libraries throw arrive in Python as the exceptions of `orvhdri.errors`, with the same text.
void translateErrors();

/// Refuses to work in a process that was forked off one in which maps were painted: its threads are gone.
/// @throws std::runtime_error.
void refuseForks();

}  // namespace orv::python
