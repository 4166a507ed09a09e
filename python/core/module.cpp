// The compiled part of the package: the scene library for Python. What users call is in the package's own
// files, which know no rule of scenes.

#include <pybind11/stl.h>

#include "PaintSession.h"
#include "bindings.h"
#include "errors.h"
#include "scene/OutputFile.h"
#include "scene/SceneDocument.h"
#include "scene/json_text.h"
#include "scene/missing_images.h"
#include "scene/nearest_name.h"
#include "scene/read_scene.h"
#include "write_options.h"

namespace orv::python {
namespace {

py::object load(const std::string& path) {
  const scene::SceneDocument document = [&path] {
    const py::gil_scoped_release release;
    scene::SceneDocument read = scene::SceneDocument::load(path);
    read.check();
    return read;
  }();
  return toPython(document.document());
}

/// Which pictures are missing, line by line.
std::vector<std::string> check(const py::handle& value, const std::string& name, const std::string& folder) {
  Pictures pictures;
  const scene::SceneDocument document(toDocument(value, name, pictures), name);
  const py::gil_scoped_release release;
  document.check();
  std::vector<std::string> lines;
  for (const scene::Problem& missing : scene::missingImages(document.read(), {}, folder))
    lines.push_back(missing.finding());
  return lines;
}

/// The document with a setting. Pictures are the paths that they have.
py::object apply(const py::handle& value, const std::string& name, const std::string& path,
                 const py::handle& setting) {
  Pictures pictures;
  scene::SceneDocument document(toDocument(value, name, pictures), name);
  document.set({path, toDocument(setting, path, pictures)});
  return toPython(document.document());
}

void save(const py::handle& value, const std::string& name, const std::string& path) {
  Pictures pictures;
  const scene::SceneDocument document(toDocument(value, name, pictures), name);
  if (!pictures.empty())
    throw scene::SceneErrors(
        {{name, "scene", "an array as a picture found; allowed in files: the path of one"}});
  document.check();
  const std::string text = scene::prettyText(scene::toJson(document.document())) + "\n";
  scene::OutputFile file(path);
  file.write(text.data(), text.size(), 0);
  file.finish();
  file.commit();
}

std::string suggestion(const std::string& found, const std::vector<std::string>& names) {
  const std::vector<std::string_view> views(names.begin(), names.end());
  return scene::suggestion(found, views);
}

}  // namespace
}  // namespace orv::python

PYBIND11_MODULE(_core, module) {
  using namespace orv::python;
  translateErrors();
  module.attr("__version__") = ORVHDRI_VERSION;
  module.def("load", &load);
  module.def("check", &check);
  module.def("apply", &apply);
  module.def("save", &save);
  module.def("suggestion", &suggestion);
  module.def("looks_like_scene", &orv::scene::looksLikeScene);
  addFiles(module);
  py::class_<PaintSession>(module, "PaintSession")
      .def(py::init<int, const std::string&, std::uint64_t, bool>())
      .def("paint",
           [](PaintSession& session, const py::handle& document, const std::string& name,
              const std::string& folder, const py::handle& size, const py::handle& frame, bool allowFallback,
              py::object progress) {
             return session.paint(document, size, frame, {name, folder, allowFallback, std::move(progress)});
           })
      .def("paint_job",
           [](PaintSession& session, const orv::scene::Job& job, const py::dict& keywords, bool measure) {
             orv::scene::JobOptions options = readWriteOptions(keywords, job.outputs);
             options.measure = measure;
             return session.paintJob(job, options);
           })
      .def("close", &PaintSession::close);
  addJobs(module);
}
