#include "scene/paint_job.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <string>

#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;

TEST(PaintJob, CancelledAmidWritingLeavesNoFile) {
  const fs::path folder = fs::temp_directory_path() / ("orvhdri_job_" + std::to_string(::getpid()));
  fs::create_directories(folder);
  Session session;
  Job job;
  job.size = MapSize{16, 2048};
  job.outputs = {(folder / "a.exr").string(), (folder / "b.exr").string()};
  std::atomic<bool> cancel{false};
  JobOptions options;
  options.cancel = &cancel;
  options.progress = [&](const char* phase, double) {
    if (std::string(phase) == "Writing b.exr") cancel = true;
  };
  const Scene scene = parseScene(withBackground(kWhite), "s.json");
  EXPECT_THROW(paintJob(session, scene, job, options), PaintCancelled);
  EXPECT_TRUE(cancel) << "b.exr was not begun";
  EXPECT_TRUE(fs::is_empty(folder));
  cancel = false;
  options.progress = {};
  paintJob(session, scene, job, options);
  EXPECT_TRUE(fs::exists(job.outputs[0]) && fs::exists(job.outputs[1]));
  fs::remove_all(folder);
}

}  // namespace
}  // namespace orv::scene
