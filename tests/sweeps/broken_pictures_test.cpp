// Pictures broken in many ways: each is a picture or a null image with a reason, soon and within bounds.

#include <gtest/gtest.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cmath>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "apps/Program.h"
#include "host/orvImage.h"
#include "orvrender/orvHost.h"
#include "sweeps/broken_pictures.h"
#include "sweeps/soak.h"

namespace {

double processSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// A line of /proc/self/status in KiB, such as VmHWM, the most that was resident.
long statusKib(const std::string& name) {
  std::ifstream file("/proc/self/status");
  for (std::string word; file >> word;)
    if (word == name + ":") {
      long kib = 0;
      file >> kib;
      return kib;
    }
  return -1;
}

/// Switches the leak check of this thread's allocations off and on again, where there is one.
void tellLeakCheck([[maybe_unused]] bool on) {
#if defined(__SANITIZE_ADDRESS__)
  on ? __lsan_enable() : __lsan_disable();
#endif
}

/// Makes VmHWM begin anew.
void forgetPeak() { std::ofstream("/proc/self/clear_refs") << '5'; }

TEST(BrokenPictures, AreAPictureOrAReasonSoonAndInBoundedMemory) {
  const TestFolder folder;
  int lines = 0;
  orv_log_set_listener([](void* user, const char*) { ++*static_cast<int*>(user); }, &lines);
  const auto pictures = sweeps::brokenPictures(ORVHDRI_SOURCE_DIR "/fuzz/corpus/image",
                                               static_cast<unsigned>(sweeps::rounds(500, 5000)));
  int read = 0;
  for (const sweeps::BrokenPicture& picture : pictures) {
    const std::string ending = picture.name.substr(0, picture.name.find(','));
    const std::string path = folder.put("broken" + ending.substr(ending.rfind('.')), picture.bytes);
    std::printf("%s\n", picture.name.c_str());
    lines = 0;
    orvScene* const scene = orv_scene_create({});
    const long before = statusKib("VmRSS");
    forgetPeak();
    const double start = processSeconds();
    // The decoders of PNG and JPEG leave by longjmp, which leaks strings of the image library.
    const bool jumps = path.ends_with(".png") || path.ends_with(".jpg");
    if (jumps) tellLeakCheck(false);
    orvImage* const image =
        orv_image_load(scene, path.c_str(), orvTexture_profile::environment, false, nullptr);
    if (jumps) tellLeakCheck(true);
    if (image) {
      ++read;
      const float* const pixels = image->pixels();
      if (!pixels) {
        EXPECT_GT(lines, 0) << picture.name << ": no pixels and no reason";
      } else {
        const std::size_t count = std::size_t{3} * image->width() * image->height();
        std::size_t bad = 0;
        for (std::size_t i = 0; i < count; ++i) bad += std::isfinite(pixels[i]) ? 0 : 1;
        EXPECT_EQ(bad, 0u) << picture.name;
      }
      orv_image_free(scene, image, true);
    } else {
      EXPECT_GT(lines, 0) << picture.name << ": null and no reason";
    }
    // Processor time, of all threads: other programs do not count.
    EXPECT_LT(processSeconds() - start, 2) << picture.name;
    EXPECT_LT(statusKib("VmHWM") - before, 1 << 20) << picture.name;
    orv_scene_destroy(scene);
  }
  orv_log_set_listener(nullptr, nullptr);
  std::printf("%zu broken pictures: %d are pictures still\n", pictures.size(), read);
  // Some are broken where it does not show; were all, nothing would be tested.
  EXPECT_GT(read, 0);
  EXPECT_LT(read, static_cast<int>(pictures.size()));
}

}  // namespace
