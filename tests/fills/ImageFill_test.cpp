#include "fills/ImageFill.h"

#include <gmock/gmock.h>

#include <limits>

#include "backgrounds/ColorBackground.h"
#include "backgrounds/PaintContext.h"
#include "fills/fill_context.h"
#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ImageFillTest : public testing::Test {
 protected:
  void SetUp() override {
    host().reset();
    host().images["fill.exr"] = std::make_unique<FakeImage>(4, 2);
    context.scene = host().scene();
  }
  static FakeHost& host() { return FakeHost::instance(); }
  static FakeImage& image() { return *host().images["fill.exr"]; }

  /// A prepared fill of `brush`.
  std::unique_ptr<ImageFill> prepared(const ImageBrush& imageBrush, bool smoothing = false) {
    context.smoothing = smoothing;
    auto fill = makeFill<ImageFill>(imageBrush);
    EXPECT_TRUE(fill->prepare(context, background));
    return fill;
  }

  PaintContext context;
  const ColorBackground background{ColorBrush(0, 0, 0)};
  ImageBrush brush{"fill.exr"};
  Block color;
  alignas(32) float weight[8];
};

TEST_F(ImageFillTest, AsksForTheCoordinates) { EXPECT_EQ(makeFill<ImageFill>(brush)->requirements(), 32u); }

TEST_F(ImageFillTest, LoadsAndSetsThePlainModeWithoutSmoothing) {
  prepared(brush);
  EXPECT_THAT(host().calls(), testing::Contains("orv_image_load(scene, \"fill.exr\", 1, true, null)"));
  EXPECT_EQ(host().calls()[1], "set_filter_mode(1)");
}

TEST_F(ImageFillTest, SetsTheFilteredModeWithSmoothing) {
  const auto fill = prepared(brush, true);
  EXPECT_THAT(host().calls(),
              ElementsAre("orv_image_load(scene, \"fill.exr\", 1, true, null)", "set_filter_mode(5)"));
}

TEST_F(ImageFillTest, GivesTheImageBackOnRelease) {
  const auto fill = prepared(brush);
  const std::size_t before = host().calls().size();
  fill->release();
  const auto calls = host().calls();
  EXPECT_THAT(std::vector<std::string>(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end()),
              ElementsAre("orv_image_free_mode(scene, true, false)", "orv_image_free(scene, image, false)",
                          "orv_image_free_mode(scene, false, false)"));
}

TEST_F(ImageFillTest, GivesTheImageBackOnlyOnce) {
  auto fill = prepared(brush);
  fill->release();
  const std::size_t after = host().calls().size();
  fill->release();
  fill.reset();
  EXPECT_EQ(host().calls().size(), after);
}

TEST_F(ImageFillTest, FailsForAMissingImageWithOneLine) {
  const auto fill = makeFill<ImageFill>(ImageBrush("missing.exr"));
  EXPECT_FALSE(fill->prepare(context, background));
  EXPECT_THAT(host().log(), ElementsAre("Failed to find image 'missing.exr' used environment painter\n"));
  const std::size_t calls = host().calls().size();
  fill->release();
  EXPECT_EQ(host().calls().size(), calls);
}

TEST_F(ImageFillTest, DoesNotFollowItsBrush) {
  const auto fill = makeFill<ImageFill>(brush);
  brush.setPath("other.exr");
  EXPECT_TRUE(fill->prepare(context, background));
}

TEST_F(ImageFillTest, LooksUpAtHalfTheCoordinatesPlusAHalf) {
  // The fake image answers with (u, v, 0, 1).
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.u, {-1.0f, -0.5f, 0.0f, 0.25f, 0.5f, 0.75f, 1.0f, 0.125f});
  setLanes(batch.v, {1.0f, 0.5f, 0.0f, -0.25f, -0.5f, -0.75f, -1.0f, 0.25f});
  shade(*fill, batch, color, weight);
  EXPECT_THAT(lanesOf(color.r), ElementsAre(0.0f, 0.25f, 0.5f, 0.625f, 0.75f, 0.875f, 1.0f, 0.5625f));
  EXPECT_THAT(lanesOf(color.g), ElementsAre(1.0f, 0.75f, 0.5f, 0.375f, 0.25f, 0.125f, 0.0f, 0.625f));
  EXPECT_EQ(lanesOf(weight), all(1.0f));
}

TEST_F(ImageFillTest, UsesTheFilteredLookUpWithSmoothing) {
  // The fake image's filtered look-up answers with (u, v, 1, 1).
  const auto fill = prepared(brush, true);
  OneBlock batch = middleOfAPin();
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(color.b), all(1.0f));
}

TEST_F(ImageFillTest, HandsTheFootprintOverWithTheSecondPairTurned) {
  std::vector<orvImage_lookup> seen;
  image().onLookup = [&](orvImage_lookup& lookup) { seen.push_back(lookup); };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.changes[0], all(0.5f));
  setLanes(batch.changes[1], all(-1.0f));
  setLanes(batch.changes[2], all(2.0f));
  setLanes(batch.changes[3], all(-4.0f));
  shade(*fill, batch, color, weight);
  ASSERT_EQ(seen.size(), 8u);
  EXPECT_EQ(seen[0].dsdx, 0.25f);
  EXPECT_EQ(seen[0].dsdy, -0.5f);
  EXPECT_EQ(seen[0].dtdx, -1.0f);
  EXPECT_EQ(seen[0].dtdy, 2.0f);
}

TEST_F(ImageFillTest, HandsTheFixedSettingsOver) {
  std::vector<orvImage_lookup> seen;
  image().onLookup = [&](orvImage_lookup& lookup) { seen.push_back(lookup); };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  shade(*fill, batch, color, weight);
  ASSERT_EQ(seen.size(), 8u);
  EXPECT_EQ(seen[0].widthS, 1.0f);
  EXPECT_EQ(seen[0].widthT, 1.0f);
  EXPECT_EQ(seen[0].conservative, 1u);
  EXPECT_EQ(seen[0].firstChannel, 0u);
  EXPECT_EQ(seen[0].maxAnisotropy, 8u);
  EXPECT_THAT(seen[0].gain, ElementsAre(1.0f, 1.0f, 1.0f, 1.0f));
}

TEST_F(ImageFillTest, LooksLanesUpInOrder) {
  std::vector<float> order;
  image().onLookup = [&](orvImage_lookup& lookup) { order.push_back(lookup.u); };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.u, {-1.0f, -0.75f, -0.5f, -0.25f, 0.0f, 0.25f, 0.5f, 0.75f});
  shade(*fill, batch, color, weight);
  EXPECT_THAT(order, ElementsAre(0.0f, 0.125f, 0.25f, 0.375f, 0.5f, 0.625f, 0.75f, 0.875f));
}

TEST_F(ImageFillTest, LooksNothingUpOutsideThePin) {
  int count = 0;
  image().onLookup = [&](orvImage_lookup&) { ++count; };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.weight,
           {0.0f, 0.0f, 0.0f, 0.5f, 1.0f, std::numeric_limits<float>::quiet_NaN(), -0.0f, 0.0f});
  shade(*fill, batch, color, weight);
  EXPECT_EQ(count, 2);
}

TEST_F(ImageFillTest, MultipliesTheCoverageByTheAlpha) {
  image().onLookup = [](orvImage_lookup& lookup) { lookup.rgba[3] = 0.25f; };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  setLanes(batch.weight, all(0.5f));
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(weight), all(0.125f));
}

TEST_F(ImageFillTest, AppliesTheAdjustmentsToColorOnly) {
  image().onLookup = [](orvImage_lookup& lookup) {
    for (float& channel : lookup.rgba) channel = 0.5f;
  };
  brush.adjustments().brightness = 3.0f;
  brush.adjustments().tintBlue = 0.5f;
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  shade(*fill, batch, color, weight);
  EXPECT_EQ(lanesOf(color.r), all(1.5f));
  EXPECT_EQ(lanesOf(color.b), all(0.75f));
  EXPECT_EQ(lanesOf(weight), all(0.5f));
}

TEST_F(ImageFillTest, AsksForPlacesInsideTheImageWhateverTheCoordinates) {
  bool inside = true;
  image().onLookup = [&](orvImage_lookup& lookup) {
    inside = inside && lookup.u >= 0.0f && lookup.u <= 1.0f && lookup.v >= 0.0f && lookup.v <= 1.0f;
  };
  const auto fill = prepared(brush);
  OneBlock batch = middleOfAPin();
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  setLanes(batch.u, {kNan, kInfinity, -kInfinity, 1e30f, -1e30f, 5.0f, -5.0f, 0.0f});
  setLanes(batch.v, {0.0f, kNan, kInfinity, -kInfinity, 1e30f, -1e30f, 5.0f, -5.0f});
  shade(*fill, batch, color, weight);
  EXPECT_TRUE(inside);
}

TEST_F(ImageFillTest, CompositesABatchWithTheBitsOfItsBlocks) {
  brush.setMode(BlendMode::mix);
  brush.adjustments() = {1.5f, 1.8f, 0.3f, 0.4f, 1.0f, 0.8f, 0.6f};
  const auto fill = prepared(brush, true);
  EXPECT_EQ(differencesOfBatch(*fill, randomBatches(kBatchBlocks)), 0);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
