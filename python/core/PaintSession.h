#pragma once

#include <pybind11/pybind11.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "documents.h"
#include "maps.h"
#include "scene/Job.h"
#include "scene/Session.h"
#include "scene/paint_job.h"

namespace orv::python {

/// What a paint is asked for beside the scene.
struct PaintRequest {
  std::string name;    ///< what messages call the scene
  std::string folder;  ///< that its pictures' paths are relative to
  bool allowFallback = false;
  py::object progress;  ///< a function of phase and amount, or None
};

/// A session of the scene library for Python: one thread at a time, the others wait; the interpreter is free
/// while it paints.
class PaintSession {
 public:
  /// @param threads at most so many paint; 0: as many as the process may use processors.
  /// @param keeps whether pictures, tables and the background stay for the next paint.
  PaintSession(int threads, const std::string& painter, std::uint64_t maxImagePixels, bool keeps);

  /// Paints a document. Ctrl-C cancels it. @param size None, or width and height. @param frame None, or a
  /// number.
  /// @return the map, and what is to be told of it line by line.
  py::tuple paint(const py::handle& document, const py::handle& size, const py::handle& frame,
                  const PaintRequest& request);

  /// Paints a job, and writes its outputs where it has any.
  /// @return what became of it: a dict of `status`, `error`, `seconds`, `mean`, `peak` and `messages`; with
  ///         `map` where it has no outputs.
  py::dict paintJob(const scene::Job& job, const scene::JobOptions& options);

  /// Gives the memory back, and the painter; the session paints no more.
  void close();

 private:
  /// A picture that the session has a copy of.
  struct Given {
    std::string name;
    std::weak_ptr<Picture> picture;
  };

  /// Works while no other thread does, without the interpreter's lock.
  /// @param cancel ends the waiting for others. @throws scene::PaintCancelled.
  template <typename Work>
  auto run(const std::atomic<bool>& cancel, Work&& work);
  /// Gives the library's session the pictures that it does not have, and takes those away that nobody holds.
  void give(const Pictures& pictures);

  std::timed_mutex mutex_;
  std::unique_ptr<scene::Session> session_;  // null: closed
  std::unique_ptr<tbb::task_arena> arena_;   // null: all threads
  scene::JobScenes scenes_;
  std::vector<Given> given_;
  bool keeps_;
};

}  // namespace orv::python
