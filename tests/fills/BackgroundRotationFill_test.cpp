#include "fills/BackgroundRotationFill.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

#include "backgrounds/BackgroundSource.h"
#include "backgrounds/PaintContext.h"
#include "fills/fill_context.h"
#include "hdri/BackgroundBrush.h"
#include "simd/Float8.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// A background whose color is the place asked for: (u, v, 1).
class PlaceBackground final : public BackgroundSource {
 public:
  bool prepare(const PaintContext&) override { return true; }
  void sampleBlock(std::span<Block> out, const float* u, const float* v) const override {
    for (std::size_t i = 0; i < out.size(); ++i) {
      store(out[i].r, load(u + 8 * i));
      store(out[i].g, load(v + 8 * i));
      store(out[i].b, splat(1.0f));
    }
  }
  bool canSample() const override { return sampleable; }
  void fillRow(std::uint32_t, float, std::span<Block>) const override {}

  bool sampleable = true;
};

/// The longitude and latitude in degrees that a fill shows at a longitude and latitude.
struct Place {
  double longitude;
  double latitude;
};

Place shown(float turn, float tilt, double longitude, double latitude) {
  const PlaceBackground background;
  const auto fill = makeFill<BackgroundRotationFill>(BackgroundBrush(turn, tilt));
  fill->prepare({}, background);
  OneBlock batch = middleOfAPin();
  const double a = longitude * std::numbers::pi / 180.0;
  const double e = latitude * std::numbers::pi / 180.0;
  setLanes(batch.directionWorld[0], all(static_cast<float>(std::cos(a) * std::cos(e))));
  setLanes(batch.directionWorld[1], all(static_cast<float>(std::sin(a) * std::cos(e))));
  setLanes(batch.directionWorld[2], all(static_cast<float>(std::sin(e))));
  Block color;
  alignas(32) float weight[8];
  shade(*fill, batch, color, weight);
  return {(static_cast<double>(color.r[0]) - 0.5) * 360.0, (0.5 - static_cast<double>(color.g[0])) * 180.0};
}

void expectShown(float turn, float tilt, double longitude, double latitude, const Place& expected) {
  const Place place = shown(turn, tilt, longitude, latitude);
  EXPECT_NEAR(std::remainder(place.longitude - expected.longitude, 360.0), 0.0, 1e-3);
  EXPECT_NEAR(place.latitude, expected.latitude, 1e-3);
}

TEST(BackgroundRotationFill, AsksForTheDirection) {
  EXPECT_EQ(makeFill<BackgroundRotationFill>(BackgroundBrush(0.0f, 0.0f))->requirements(), 64u);
}

TEST(BackgroundRotationFill, ShowsThePlaceItselfWithoutRotation) {
  for (const double longitude : {-179.0, -90.0, -12.0, 0.0, 33.0, 91.0, 178.0})
    for (const double latitude : {-80.0, -30.0, 0.0, 45.0, 85.0})
      expectShown(0.0f, 0.0f, longitude, latitude, {longitude, latitude});
}

TEST(BackgroundRotationFill, BringsTheTurnsLongitudeToTheMiddle) {
  expectShown(30.0f, 0.0f, 0.0, 0.0, {30.0, 0.0});
  expectShown(-120.0f, 0.0f, 0.0, 20.0, {-120.0, 20.0});
  expectShown(100.0f, 0.0f, 120.0, -40.0, {-140.0, -40.0});
}

TEST(BackgroundRotationFill, BringsTheTiltsLatitudeToTheMiddle) {
  expectShown(0.0f, 40.0f, 0.0, 0.0, {0.0, 40.0});
  expectShown(0.0f, -25.0f, 0.0, 0.0, {0.0, -25.0});
  // The far side moves the other way, the axis of the tilt stays.
  expectShown(0.0f, 40.0f, 180.0, 0.0, {180.0, -40.0});
  expectShown(0.0f, 40.0f, 90.0, 0.0, {90.0, 0.0});
}

TEST(BackgroundRotationFill, BringsTurnAndTiltToTheMiddleTogether) {
  expectShown(70.0f, 35.0f, 0.0, 0.0, {70.0, 35.0});
  expectShown(-150.0f, -60.0f, 0.0, 0.0, {-150.0, -60.0});
}

TEST(BackgroundRotationFill, ShowsThePoleAtTiltNinety) {
  EXPECT_NEAR(shown(15.0f, 90.0f, 0.0, 0.0).latitude, 90.0, 0.05);
}

TEST(BackgroundRotationFill, StaysInsideTheMapAtThePoles) {
  for (const double latitude : {-90.0, 90.0}) {
    const Place place = shown(0.0f, 0.0f, 10.0, latitude);
    EXPECT_LE(std::abs(place.latitude), 90.0);
    EXPECT_NEAR(place.latitude, latitude, 0.05);
  }
}

TEST(BackgroundRotationFill, HandsTheCoverageOnAsWeight) {
  const PlaceBackground background;
  const auto fill = makeFill<BackgroundRotationFill>(BackgroundBrush(0.0f, 0.0f));
  fill->prepare({}, background);
  OneBlock batch = middleOfAPin();
  const Lanes weights{0.0f, 0.1f, 0.2f, 0.3f, 0.4f, 0.5f, 0.6f, 0.7f};
  setLanes(batch.weight, weights);
  Block color;
  alignas(32) float weight[8];
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(weight), weights);
}

TEST(BackgroundRotationFill, AppliesTheAdjustments) {
  const PlaceBackground background;
  BackgroundBrush brush(0.0f, 0.0f);
  brush.adjustments().brightness = 2.0f;
  brush.adjustments().tintBlue = 3.0f;
  const auto fill = makeFill<BackgroundRotationFill>(brush);
  fill->prepare({}, background);
  OneBlock batch = middleOfAPin();
  Block color;
  alignas(32) float weight[8];
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(color.b), all(6.0f));
}

TEST(BackgroundRotationFill, PaintsNothingWithoutABackground) {
  BackgroundBrush brush(0.0f, 0.0f);
  brush.setMode(BlendMode::mix);
  const auto fill = makeFill<BackgroundRotationFill>(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.color[0], all(0.75f));
  composite(*fill, batch);
  EXPECT_EQ(lanesOf(batch.color[0]), all(0.75f));
}

TEST(BackgroundRotationFill, PaintsNothingFromABackgroundThatCanNotBeSampled) {
  PlaceBackground background;
  background.sampleable = false;
  BackgroundBrush brush(0.0f, 0.0f);
  brush.setMode(BlendMode::mix);
  const auto fill = makeFill<BackgroundRotationFill>(brush);
  fill->prepare({}, background);
  OneBlock batch = middleOfAPin();
  setLanes(batch.color[0], all(0.75f));
  composite(*fill, batch);
  EXPECT_EQ(lanesOf(batch.color[0]), all(0.75f));
}

TEST(BackgroundRotationFill, CompositesABatchWithTheBitsOfItsBlocks) {
  const PlaceBackground background;
  BackgroundBrush brush(50.0f, -20.0f);
  brush.setMode(BlendMode::mix);
  brush.adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1.0f, 0.8f, 0.6f};
  const auto fill = makeFill<BackgroundRotationFill>(brush);
  fill->prepare({}, background);
  EXPECT_EQ(differencesOfBatch(*fill, randomBatches(kBatchBlocks)), 0);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
