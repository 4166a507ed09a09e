// Every request of a paint fails once: fault_sweep paints the scenes, in processes of their own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "apps/Program.h"
#include "sweeps/soak.h"
#include "sweeps/sweep_scenes.h"

namespace {

using ::testing::HasSubstr;

/// The number behind the last `word` in a text; -1 without one.
long lastNumber(const std::string& text, const std::string& word) {
  const std::size_t at = text.rfind(word);
  return at == std::string::npos ? -1 : std::atol(text.c_str() + at + word.size());
}

/// What came of one scene's sweep.
struct Sweep {
  std::string scene;
  long faults = 0;
  long deaths = 0;  ///< faults that OpenImageIO or a library below it ended the process for
};

/// Sweeps one scene; a process that ends is followed by one that goes on behind the fault that ended it.
Sweep sweepScene(int number, const std::string& kind, const TestFolder& folder) {
  Sweep sweep;
  for (long n = 1;;) {
    const Outcome run =
        Program({std::to_string(number), kind, std::to_string(n), folder / "", ORVHDRI_SOURCE_DIR},
                ORVHDRI_BINARY_DIR "/bin/fault_sweep")
            .run();
    if (run.out == "none\n") return sweep;
    sweep.scene = run.out.substr(0, run.out.find('\n'));
    if (run.status == 0) {
      sweep.faults = lastNumber(run.out, "\ndone ");
      return sweep;
    }
    // What is said, a leak or a wrong result, is no library's death.
    const long at = lastNumber(run.out, "\nat ");
    const bool died = run.status == 128 + SIGABRT || run.status == 128 + SIGSEGV;
    if (!died || run.out.find("OpenImageIO") == std::string::npos || at < n) {
      ADD_FAILURE() << kind << ", " << sweep.scene << ", status " << run.status << "\n"
                    << run.out.substr(run.out.rfind("\nat ") + 1) << run.err;
      return sweep;
    }
    ++sweep.deaths;
    n = at + sweeps::rounds(13, 1);
  }
}

class Faults : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Kinds, Faults, testing::Values("host", "new", "image"));

TEST_P(Faults, LeaveThePainterAsItWasWhicheverRequestFails) {
  const TestFolder folder;
  sweeps::writePicture(folder / "a.pfm");
  long faults = 0;
  long deaths = 0;
  int scenes = 0;
  for (;; ++scenes) {
    const Sweep sweep = sweepScene(scenes, GetParam(), folder);
    if (sweep.scene.empty()) break;
    std::printf("%s: %s: %ld faults, %ld ended OpenImageIO\n", GetParam(), sweep.scene.c_str(), sweep.faults,
                sweep.deaths);
    faults += sweep.faults;
    deaths += sweep.deaths;
  }
  EXPECT_GE(scenes, 20);
  EXPECT_GT(faults, 0);
  std::printf("%s: %ld faults in %d scenes, %ld ended OpenImageIO\n", GetParam(), faults, scenes, deaths);
}

}  // namespace
