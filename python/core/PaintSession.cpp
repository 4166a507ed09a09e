#include "PaintSession.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "Interrupts.h"
#include "errors.h"
#include "scene/SceneDocument.h"

namespace orv::python {
namespace {

/// The session of which this thread is hearing the progress; null: none.
thread_local const PaintSession* hearsOf = nullptr;

/// A progress function of Python. What it throws cancels the paint, and is thrown when that is over.
class PythonProgress {
 public:
  PythonProgress(py::object function, const PaintSession& session, std::atomic<bool>& cancel)
      : function_(std::move(function)), session_(session), cancel_(cancel) {}

  /// Called without the interpreter's lock, from any thread.
  void operator()(const char* phase, double amount) {
    const py::gil_scoped_acquire lock;
    if (failure_) return;
    const PaintSession* const outer = std::exchange(hearsOf, &session_);
    try {
      function_(phase, amount);
    } catch (...) {
      failure_ = std::current_exception();
      cancel_ = true;
    }
    hearsOf = outer;
  }

  void throwIfFailed() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  py::object function_;
  const PaintSession& session_;
  std::atomic<bool>& cancel_;
  std::exception_ptr failure_;
};

struct Lines {
  std::vector<std::string> told;
  std::vector<std::string> important;
  scene::Tell tell() {
    return [this](const std::string& line, bool isImportant) {
      told.push_back(line);
      if (isImportant) important.push_back(line);
    };
  }
};

py::list textsOf(const std::vector<std::string>& lines) {
  py::list texts;
  for (const std::string& line : lines)
    texts.append(py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(line.c_str())));
  return texts;
}

/// Paints; what a refusal to show fallbacks is about comes with it.
MapPointer paintTold(scene::Session& session, const scene::Scene& scene, const scene::PaintOptions& options,
                     bool allowFallback, Lines& lines) {
  try {
    return scene::paintShown(session, scene, options, allowFallback, lines.tell());
  } catch (const scene::FallbackError& error) {
    std::string text;
    for (const std::string& line : lines.important) text += line + "\n";
    throw scene::FallbackError(text + error.what());
  }
}

std::unique_ptr<scene::Session> makeSession(const std::string& painter, std::uint64_t maxImagePixels,
                                            bool keeps) {
  orvScene_options host = keeps ? orvScene_options{} : scene::forOnePaint();
  host.maxImagePixels = maxImagePixels;
  return std::make_unique<scene::Session>(painter, host);
}

/// Size and frame as a job has them, whose reader tells what is wrong in them.
scene::Job readCall(const py::handle& size, const py::handle& frame) {
  scene::Job job;
  if (size.is_none() && frame.is_none()) return job;
  py::dict line;
  line["scene"] = "scene";
  if (!size.is_none()) line["size"] = size;
  if (!frame.is_none()) line["frame"] = frame;
  Pictures none;
  return scene::readJob(toDocument(line, "paint", none), "paint");
}

}  // namespace

PaintSession::PaintSession(int threads, const std::string& painter, std::uint64_t maxImagePixels, bool keeps)
    : keeps_(keeps) {
  if (threads < 0)
    throw py::value_error("threads: " + std::to_string(threads) + " found; allowed: None, 1 and more");
  refuseForks();
  const py::gil_scoped_release release;
  session_ = makeSession(painter, maxImagePixels, keeps);
  if (threads > 0) arena_ = std::make_unique<tbb::task_arena>(threads);
}

template <typename Work>
auto PaintSession::run(const std::atomic<bool>& cancel, Work&& work) {
  refuseForks();
  if (hearsOf == this)
    throw std::runtime_error("a progress function can not paint with the session that it hears of");
  const py::gil_scoped_release release;
  std::unique_lock lock(mutex_, std::defer_lock);
  constexpr std::chrono::milliseconds kBetweenLooks(20);
  while (!lock.try_lock_for(kBetweenLooks))
    if (cancel) throw scene::PaintCancelled("the paint was cancelled");
  if (!session_) throw std::runtime_error("this session is closed");
  return arena_ ? arena_->execute(work) : work();
}

void PaintSession::give(const Pictures& pictures) {
  std::erase_if(given_, [this](const Given& given) {
    if (!given.picture.expired()) return false;
    session_->removeImage(given.name);
    return true;
  });
  for (const std::shared_ptr<Picture>& picture : pictures) {
    const auto isIt = [&](const Given& given) { return given.name == picture->name; };
    if (std::any_of(given_.begin(), given_.end(), isIt)) continue;
    const hdri::EnvImage& map = *picture->map;
    session_->addImage(picture->name, &map.pixels.data()->r, static_cast<std::uint32_t>(map.width),
                       static_cast<std::uint32_t>(map.height));
    given_.push_back({picture->name, picture});
  }
}

py::tuple PaintSession::paint(const py::handle& document, const py::handle& size, const py::handle& frame,
                              const PaintRequest& request) {
  Pictures pictures;
  const scene::Job call = readCall(size, frame);
  const scene::SceneDocument scene(toDocument(document, request.name, pictures), request.name);
  std::atomic<bool> cancel = false;
  PythonProgress progress(request.progress, *this, cancel);
  scene::PaintOptions options;
  options.fileName = request.name;
  options.folder = request.folder;
  options.size = call.size;
  options.cancel = &cancel;
  if (!request.progress.is_none())
    options.progress = [&progress](const char* phase, double amount) { progress(phase, amount); };
  while (true) {
    Lines lines;
    const auto work = [&] {
      give(pictures);
      MapPointer map = paintTold(*session_, scene.read(call.frame), options, request.allowFallback, lines);
      if (!keeps_) {
        session_->forgetBackground();
        for (const Given& given : given_) session_->removeImage(given.name);
        given_.clear();
      }
      return map;
    };
    try {
      const Interrupts interrupts(cancel);
      MapPointer map = run(cancel, work);
      progress.throwIfFailed();
      return py::make_tuple(arrayOf(std::move(map)), textsOf(lines.told));
    } catch (const scene::PaintCancelled&) {
      progress.throwIfFailed();
    }
    // KeyboardInterrupt, unless a handler of the program's own lets it pass: then the paint goes on.
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    cancel = false;
  }
}

py::dict PaintSession::paintJob(const scene::Job& job, const scene::JobOptions& asked) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  Lines lines;
  std::string error;
  scene::MapLight light;
  MapPointer map;
  const std::atomic<bool> cancel = false;
  run(cancel, [&] {
    scene::JobOptions options = asked;
    options.tell = lines.tell();
    try {
      const scene::Scene scene = scenes_.read(job);
      if (job.outputs.empty()) {
        scene::PaintOptions paint;
        paint.fileName = job.scene.empty() ? "scene" : job.scene;
        paint.folder = std::filesystem::path(job.scene).parent_path().string();
        paint.size = job.size;
        map = paintTold(*session_, scene, paint, options.allowFallback, lines);
      } else {
        light = scene::paintJob(*session_, scene, job, options);
      }
    } catch (const scene::PainterError&) {
      throw;
    } catch (const std::bad_alloc&) {
      error = "not enough memory";
    } catch (const std::runtime_error& failure) {
      error = failure.what();
    }
  });
  py::dict outcome;
  outcome["status"] = error.empty() ? "painted" : "failed";
  if (!error.empty())
    outcome["error"] = py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(error.c_str()));
  outcome["seconds"] = std::chrono::duration<double>(Clock::now() - start).count();
  if (error.empty() && asked.measure && !job.outputs.empty()) {
    outcome["mean"] = light.mean;
    outcome["peak"] = light.brightest;
  }
  if (map) outcome["map"] = arrayOf(std::move(map));
  outcome["messages"] = textsOf(lines.told);
  return outcome;
}

void PaintSession::close() {
  const py::gil_scoped_release release;
  const std::lock_guard lock(mutex_);
  session_.reset();
}

}  // namespace orv::python
