#include "apps/orvpaint/MapProgress.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvpaint {
namespace {

const orv::scene::MapFormat* format(const char* ending) { return orv::scene::mapFormatOf(ending); }

TEST(MapProgress, IsWholeWhenTheLastFileIsWritten) {
  const orv::scene::MapFormat* const files[] = {format(".exr"), format(".png")};
  MapProgress progress(files);
  EXPECT_EQ(progress.at("Reading", 0), 0.0);
  progress.at("Writing a.exr", 0);
  EXPECT_LT(progress.at("Writing a.exr", 1), 1.0);
  EXPECT_DOUBLE_EQ(progress.at("Writing a.png", 1), 1.0);
}

TEST(MapProgress, NeverFallsBack) {
  const orv::scene::MapFormat* const files[] = {format(".exr")};
  MapProgress progress(files);
  double before = 0;
  for (const char* phase :
       {"Reading", "Background", "Blur", "Tilt", "Painting Pins", "Something new", "Blur", "Writing a.exr"})
    for (const double amount : {0.0, 0.5, 2.0, 0.25, -1.0, std::nan("")}) {
      const double now = progress.at(phase, amount);
      EXPECT_GE(now, before) << phase;
      EXPECT_LE(now, 1.0) << phase;
      before = now;
    }
}

TEST(MapProgress, TellsFilesOfOneNameApart) {
  const orv::scene::MapFormat* const files[] = {format(".exr"), format(".exr")};
  MapProgress progress(files);
  progress.at("Writing a.exr", 0);
  const double first = progress.at("Writing a.exr", 1);
  progress.at("Writing a.exr", 0);
  EXPECT_GT(progress.at("Writing a.exr", 0.5), first);
  EXPECT_DOUBLE_EQ(progress.at("Writing a.exr", 1), 1.0);
}

}  // namespace
}  // namespace orvpaint
