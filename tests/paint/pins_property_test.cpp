// Whole scenes with pins, painted by the library and by the reference painter.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "paint/scene_painting.h"
#include "support/reference/painter.h"
#include "support/reference/property_scenes.h"

namespace {

using reference::NamedScene;

/// A pixel agrees when no channel differs by more than this share of its largest channel, of 0.001 at least.
double tolerance(const reference::Color& expected) {
  return 2e-4 * std::max({std::abs(expected[0]), std::abs(expected[1]), std::abs(expected[2]), 1e-3});
}

/// A pixel lies on a hard edge when its colour changes by more than the tolerance while its direction moves
/// by this angle: a few times the error of the kernels' trigonometry.
constexpr double kEdgeAngle = 1e-5;

struct Outcome {
  int pixels = 0;
  int off = 0;
};

Outcome compare(const NamedScene& named) {
  SCOPED_TRACE(named.name);
  const reference::Painter painter(named.scene);
  const auto image = paint_test::paint(named.scene);
  Outcome outcome;
  if (!image) {
    ADD_FAILURE() << "no image";
    return outcome;
  }
  int reported = 0;
  for (int y = 0; y < image->height; ++y)
    for (int x = 0; x < image->width; ++x) {
      const orv::hdri::Rgb& pixel =
          image->pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(image->width) +
                        static_cast<std::size_t>(x)];
      const reference::Color painted{static_cast<double>(pixel.r), static_cast<double>(pixel.g),
                                     static_cast<double>(pixel.b)};
      const reference::Color expected = painter.pixel(x, y);
      ++outcome.pixels;
      const double allowed = tolerance(expected);
      double worst = 0;
      for (std::size_t c = 0; c < 3; ++c) {
        const double error = std::abs(painted[c] - expected[c]);
        worst = std::isfinite(error) ? std::max(worst, error / allowed) : 1e30;
      }
      if (worst <= 1.0) continue;
      ++outcome.off;
      const double sensitivity = painter.sensitivity(x, y, kEdgeAngle);
      if (sensitivity <= allowed && ++reported <= 3)
        ADD_FAILURE() << "pixel (" << x << ", " << y << ") is (" << painted[0] << ", " << painted[1] << ", "
                      << painted[2] << ") instead of (" << expected[0] << ", " << expected[1] << ", "
                      << expected[2] << "), which is " << worst << " times the tolerance and no hard edge ("
                      << sensitivity << ")";
    }
  return outcome;
}

void expectAgreement(const std::vector<NamedScene>& scenes) {
  Outcome all;
  for (const NamedScene& scene : scenes) {
    const Outcome one = compare(scene);
    all.pixels += one.pixels;
    all.off += one.off;
  }
  EXPECT_LE(all.off, all.pixels / 10000) << "of " << all.pixels << " pixels";
}

TEST(PinsProperty, HandWrittenScenesAgreeWithTheReference) {
  expectAgreement(reference::handWrittenScenes());
}

TEST(PinsProperty, RandomScenesAgreeWithTheReference) {
  std::vector<NamedScene> scenes;
  for (unsigned seed = 1; seed <= 60; ++seed) scenes.push_back(reference::randomScene(seed));
  expectAgreement(scenes);
}

}  // namespace
