#include "errors.h"

#include <pybind11/stl.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <stdexcept>

#include "scene/PainterLibrary.h"
#include "scene/SceneErrors.h"
#include "scene/Setting.h"
#include "scene/paint_job.h"
#include "scene/paint_scene.h"

namespace orv::python {
namespace {

/// A file's name need not be UTF-8.
py::object decoded(const std::string& text) {
  return py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(text.c_str()));
}

void raise(const char* name, const py::object& what) {
  const py::object type = py::module_::import("orvhdri.errors").attr(name);
  PyErr_SetObject(type.ptr(), type(what).ptr());
}
void raise(const char* name, const std::exception& error) { raise(name, decoded(error.what())); }

void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const scene::SceneErrors& errors) {
    py::list problems;
    for (const scene::Problem& problem : errors.problems())
      problems.append(py::make_tuple(decoded(problem.path), problem.line, problem.column,
                                     decoded(problem.text), decoded(problem.finding())));
    raise("SceneError", problems);
  } catch (const scene::SettingError& error) {
    raise("SettingError", error);
  } catch (const scene::FileError& error) {
    raise("FileError", error);
  } catch (const scene::FallbackError& error) {
    raise("FallbackError", error);
  } catch (const scene::PaintError& error) {
    raise("PaintError", error);
  } catch (const scene::PainterError& error) {
    raise("PainterError", error);
  } catch (const std::bad_alloc&) {
    PyErr_SetString(PyExc_MemoryError, "not enough memory");
  }
}

}  // namespace

void translateErrors() { py::register_exception_translator(&translate); }

void refuseForks() {
  static std::atomic<pid_t> worksIn = 0;
  const pid_t here = ::getpid();
  pid_t expected = 0;
  if (!worksIn.compare_exchange_strong(expected, here) && expected != here)
    throw std::runtime_error(
        "this process was forked off one that has painted, and has none of its threads; start processes with "
        "multiprocessing's \"spawn\", or paint with orvhdri.batch or orvhdri.generate");
}

}  // namespace orv::python
