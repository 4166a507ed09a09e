#include "apps/orvpaint/ProgressBar.h"

#include <gtest/gtest.h>

namespace orvpaint {
namespace {

TEST(ProgressLine, ShowsPhasePercentageAndTimeLeft) {
  // A quarter took ten seconds: three quarters take thirty.
  EXPECT_EQ(progressLine("Blur", 0.25, 10.0), "Blur [######..................] 25 %, 0:30 left");
}

TEST(ProgressLine, SaysMinutesAndHours) {
  EXPECT_EQ(progressLine("Tilt", 0.5, 750.0), "Tilt [############............] 50 %, 12:30 left");
  EXPECT_EQ(progressLine("Tilt", 0.5, 3723.0), "Tilt [############............] 50 %, 1:02:03 left");
}

TEST(ProgressLine, EstimatesNothingFromTheFirstMoments) {
  EXPECT_EQ(progressLine("Blur", 0.25, 0.2), "Blur [######..................] 25 %");
  EXPECT_EQ(progressLine("Blur", 0.0, 100.0), "Blur [........................] 0 %");
}

TEST(ProgressLine, IsFullWhenDone) {
  EXPECT_EQ(progressLine("Painting Pins", 1.0, 4.0),
            "Painting Pins [########################] 100 %, 0:00 left");
}

}  // namespace
}  // namespace orvpaint
