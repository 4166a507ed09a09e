#include <pybind11/stl.h>

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PaintSession.h"
#include "bindings.h"
#include "documents.h"
#include "scene/Job.h"
#include "scene/Manifest.h"
#include "scene/map_info.h"
#include "scene/missing_images.h"
#include "scene/output_names.h"
#include "scene/sweep.h"
#include "write_options.h"

namespace orv::python {
namespace {

scene::Job readJob(const py::handle& job, const std::string& where) {
  if (py::isinstance<py::str>(job)) return scene::parseJob(job.cast<std::string>(), where);
  Pictures pictures;
  scene::Job read = scene::readJob(toDocument(job, where, pictures), where);
  if (!pictures.empty())
    throw scene::SceneErrors({{where, "scene", "an array as a picture found; allowed: the path of a file"}});
  return read;
}

/// Names the outputs of jobs that have none, as `orvpaint batch -o` does, and checks them all.
void nameOutputs(std::vector<scene::Job*> jobs, const std::vector<std::string>& names) {
  for (const std::string& name : names) checkEnding(name);
  scene::JobScenes scenes;
  std::vector<scene::Job> named;
  named.reserve(jobs.size());
  for (std::size_t i = 0; i < jobs.size(); ++i) {
    scene::Job& job = *jobs[i];
    if (job.outputs.empty())
      for (const std::string& name : names) job.outputs.push_back(scene::expandName(name, job, i, scenes));
    for (const std::string& path : job.outputs) checkEnding(path);
    named.push_back(job);
  }
  scene::checkOutputs(named);
}

/// What a worker tells of a job.
scene::JobOutcome outcomeOf(const py::dict& told) {
  using Status = scene::JobOutcome::Status;
  const auto status = told["status"].cast<std::string>();
  scene::JobOutcome outcome;
  outcome.status = status == "painted"   ? Status::painted
                   : status == "skipped" ? Status::skipped
                                         : Status::failed;
  if (told.contains("error")) outcome.error = told["error"].cast<std::string>();
  if (told.contains("seconds")) outcome.seconds = told["seconds"].cast<double>();
  if (told.contains("mean")) {
    scene::MapLight light;
    light.mean = told["mean"].cast<std::array<double, 3>>();
    light.brightest = told["peak"].cast<double>();
    outcome.light = light;
  }
  return outcome;
}

/// The light of a job's map that is there; None when it can not be read, or is a preview.
py::object lightOfFile(const scene::Job& job, const std::string& layout) {
  const std::string path = scene::firstOfFloats(job.outputs);
  const scene::Layout lies = readLayout(layout);
  if (path.empty()) return py::none();
  scene::MapLight light;
  try {
    const py::gil_scoped_release release;
    light = scene::readMapInfo(path, lies);
  } catch (const scene::FileError&) {
    return py::none();
  }
  return py::make_tuple(light.mean, light.brightest);
}

/// The files that a job's scene is read from: its own, and its pictures'.
std::vector<std::string> filesRead(scene::JobScenes& scenes, const scene::Job& job) {
  std::vector<std::string> files;
  if (!job.scene.empty()) files.push_back(job.scene);
  for (std::string& file :
       scene::imageFiles(scenes.read(job), std::filesystem::path(job.scene).parent_path().string()))
    files.push_back(std::move(file));
  return files;
}

/// The combinations of values: for each the settings, and the frame or None.
py::list combine(const py::dict& sweeps, const py::handle& frames) {
  std::vector<scene::Sweep> read;
  Pictures none;
  for (const auto& [path, values] : sweeps) {
    const auto place = path.cast<std::string>();
    if (py::isinstance<py::str>(values)) {
      read.push_back(scene::parseSweep(place + "=" + values.cast<std::string>()));
      continue;
    }
    scene::Sweep& sweep = read.emplace_back();
    sweep.path = place;
    for (const py::handle& value : values) sweep.values.push_back(toDocument(value, place, none));
  }
  std::vector<double> numbers;
  if (py::isinstance<py::str>(frames))
    numbers = scene::parseFrames(frames.cast<std::string>());
  else if (!frames.is_none())
    for (const py::handle& frame : frames) numbers.push_back(frame.cast<double>());
  py::list combinations;
  for (const scene::Job& job : scene::multiply({scene::Job{}}, read, numbers)) {
    py::dict set;
    for (const scene::Setting& setting : job.set) set[py::str(setting.path)] = toPython(setting.value);
    combinations.append(py::make_tuple(set, job.frame));
  }
  return combinations;
}

}  // namespace

void addJobs(py::module_& module) {
  py::class_<scene::Job>(module, "Job")
      .def(py::init(&readJob))
      .def_property_readonly("text", &scene::jobText)
      .def_property_readonly("title", &scene::jobTitle)
      .def_readonly("outputs", &scene::Job::outputs)
      .def_property_readonly("values", [](const scene::Job& job) { return job.values; })
      .def_property_readonly("set",
                             [](const scene::Job& job) {
                               py::dict set;
                               for (const scene::Setting& setting : job.set)
                                 set[py::str(setting.path)] = toPython(setting.value);
                               return set;
                             })
      .def_readonly("scene", &scene::Job::scene);
  py::class_<scene::JobScenes>(module, "JobScenes").def(py::init<>()).def("files", &filesRead);
  py::class_<scene::Manifest>(module, "Manifest")
      .def(py::init([](const std::string& path, bool takeUp, const std::vector<scene::Job*>& paintedAnew) {
        std::vector<scene::Job> jobs;
        jobs.reserve(paintedAnew.size());
        for (const scene::Job* job : paintedAnew) jobs.push_back(*job);
        return std::make_unique<scene::Manifest>(path, takeUp, jobs);
      }))
      .def("has", &scene::Manifest::has)
      .def("add", [](scene::Manifest& manifest, const scene::Job& job, const py::dict& outcome) {
        manifest.add(job, outcomeOf(outcome));
      });
  module.def("name_outputs", &nameOutputs);
  module.def("check_write_options", [](const py::dict& keywords) { readWriteOptions(keywords, {}); });
  module.def("light_of_file", &lightOfFile);
  module.def("combine", &combine);
}

}  // namespace orv::python
