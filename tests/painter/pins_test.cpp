// Pins through the painter's interface: what is accepted, what the host is asked and in which order.

#include <gmock/gmock.h>
#include <tbb/global_control.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "backgrounds/BackgroundSource.h"
#include "fills/PinFill.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "shapes/PinShape.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class Pins : public testing::Test {
 protected:
  void SetUp() override {
    host().reset();
    painter = std::unique_ptr<BlockedPainter>(new (std::nothrow) BlockedPainter(PainterType::avx2));
    painter->setScene(host().scene());
    painter->setSize(64, 32);
    painter->setBackground(ColorBrush(0.25f, 0.5f, 0.75f));
  }
  void TearDown() override {
    painter.reset();
    host().reset();
  }
  static FakeHost& host() { return FakeHost::instance(); }

  /// The host's calls since `first`.
  static std::vector<std::string> callsSince(std::size_t first) {
    const auto calls = host().calls();
    return {calls.begin() + static_cast<std::ptrdiff_t>(first), calls.end()};
  }

  /// The pixel in the middle of the map.
  Rgb middle() { return painter->paint()->pixels[16 * 64 + 32]; }

  static CirclePinParams circle() { return {.radius = 0.5f}; }
  static RectPinParams rect() { return {.halfWidth = 0.5f, .halfHeight = 0.25f}; }
  static std::unique_ptr<ColorBrush> color(const Rgb& rgb, BlendMode mode = BlendMode::mix) {
    auto brush = std::make_unique<ColorBrush>(rgb);
    brush->setMode(mode);
    return brush;
  }

  std::unique_ptr<BlockedPainter> painter;
};

TEST_F(Pins, AreAddedInOrder) {
  EXPECT_TRUE(painter->addCirclePin(circle(), ColorBrush(1.0f, 0.0f, 0.0f)));
  EXPECT_TRUE(painter->addRectPin(rect(), GradientBrush()));
  EXPECT_TRUE(painter->addCirclePin(circle(), ImageBrush("fill.exr")));
  std::vector<BrushKind> kinds;
  for (const auto& pin : painter->pins()) kinds.push_back(pin->fill->kind());
  EXPECT_THAT(kinds, ElementsAre(BrushKind::color, BrushKind::gradient, BrushKind::image));
}

TEST_F(Pins, AskTheHostForNothingWhenAdded) {
  const std::size_t before = host().calls().size();
  painter->addCirclePin(circle(), ImageBrush("fill.exr"));
  painter->addRectPin(rect(), BackgroundBrush(0.0f, 0.0f));
  EXPECT_THAT(callsSince(before), IsEmpty());
}

TEST_F(Pins, RefuseASkyAndLeaveNothing) {
  painter->addCirclePin(circle(), ColorBrush(1.0f, 0.0f, 0.0f));
  const std::int64_t live = host().liveBlocks();
  EXPECT_FALSE(painter->addCirclePin(circle(), SunSkyBrush()));
  EXPECT_FALSE(painter->addRectPin(rect(), SunSkyBrush()));
  EXPECT_THAT(painter->pins(), SizeIs(1));
  EXPECT_EQ(host().liveBlocks(), live);
}

TEST_F(Pins, AreRefusedWhenAnyAllocationFailsAndLeaveNothing) {
  // Curve, shape and fill.
  const std::int64_t live = host().liveBlocks();
  int refused = 0;
  for (const std::int64_t n : {1, 2, 3}) {
    host().failAllocation(n);
    refused += !painter->addRectPin(rect(), BackgroundBrush(0.0f, 0.0f));
    host().failAllocation(0);
    EXPECT_EQ(painter->context().hasBackgroundFill, !painter->pins().empty()) << n;
    painter->clear();
    painter->setBackground(ColorBrush(0.25f, 0.5f, 0.75f));
    EXPECT_EQ(host().liveBlocks(), live) << n;
  }
  EXPECT_EQ(refused, 3);
}

TEST_F(Pins, GoWithClearAlsoWhenTheBackgroundIsKept) {
  const std::int64_t live = host().liveBlocks();
  painter->setOptions({0, 1});
  painter->addCirclePin(circle(), ColorBrush(1.0f, 0.0f, 0.0f));
  painter->addRectPin(rect(), BackgroundBrush(0.0f, 0.0f));
  painter->paint();
  painter->clear();
  EXPECT_THAT(painter->pins(), IsEmpty());
  EXPECT_FALSE(painter->context().hasBackgroundFill);
  EXPECT_TRUE(painter->isValid());
  EXPECT_EQ(host().liveBlocks(), live);
}

TEST_F(Pins, GoWithThePainter) {
  for (int i = 0; i < 100; ++i) painter->addCirclePin(circle(), ColorBrush(1.0f, 0.0f, 0.0f));
  painter.reset();
  EXPECT_EQ(host().liveBlocks(), 0);
}

TEST_F(Pins, AreLaidOverEachOtherInOrder) {
  painter->addCirclePin(circle(), *color({1.0f, 1.0f, 1.0f}));
  painter->addRectPin(rect(), *color({0.5f, 2.0f, 0.125f}));
  EXPECT_EQ(middle(), (Rgb{0.5f, 2.0f, 0.125f}));
}

TEST_F(Pins, AreLaidOverInTheOtherOrder) {
  painter->addRectPin(rect(), *color({0.5f, 2.0f, 0.125f}));
  painter->addCirclePin(circle(), *color({1.0f, 1.0f, 1.0f}, BlendMode::add));
  EXPECT_EQ(middle(), (Rgb{1.5f, 3.0f, 1.125f}));
}

TEST_F(Pins, LeaveNoGapWhenOneIsRefused) {
  painter->addCirclePin(circle(), *color({1.0f, 1.0f, 1.0f}));
  painter->addCirclePin(circle(), SunSkyBrush());
  painter->addCirclePin(circle(), *color({1.0f, 1.0f, 1.0f}, BlendMode::add));
  EXPECT_EQ(middle(), (Rgb{2.0f, 2.0f, 2.0f}));
}

TEST_F(Pins, KeepTheColoursOfTheirBrushAtTheTimeTheyWereAdded) {
  ColorBrush brush(1.0f, 2.0f, 3.0f);
  brush.setMode(BlendMode::mix);
  painter->addCirclePin(circle(), brush);
  brush.setColor({9.0f, 9.0f, 9.0f});
  brush.setMode(BlendMode::add);
  EXPECT_EQ(middle(), (Rgb{1.0f, 2.0f, 3.0f}));
}

TEST_F(Pins, WithImagesAskTheHostAroundThePaintInListOrder) {
  host().images["a.exr"] = std::make_unique<FakeImage>(4, 2);
  host().images["b.exr"] = std::make_unique<FakeImage>(4, 2);
  painter->addCirclePin(circle(), ImageBrush("a.exr"));
  painter->addRectPin(rect(), ImageBrush("b.exr"));
  const std::size_t before = host().calls().size();
  painter->paint();
  EXPECT_THAT(
      callsSince(before),
      ElementsAre("orv_progress_set(scene, \"Painting Pins\", 0)",
                  "orv_image_load(scene, \"a.exr\", 1, true, null)", "set_filter_mode(1)",
                  "orv_image_load(scene, \"b.exr\", 1, true, null)", "set_filter_mode(1)",
                  "orv_image_free_mode(scene, true, false)", "orv_image_free(scene, image, false)",
                  "orv_image_free_mode(scene, false, false)", "orv_image_free_mode(scene, true, false)",
                  "orv_image_free(scene, image, false)", "orv_image_free_mode(scene, false, false)"));
}

TEST_F(Pins, WithImagesLoadThemForEachPaint) {
  host().images["a.exr"] = std::make_unique<FakeImage>(4, 2);
  painter->addCirclePin(circle(), ImageBrush("a.exr"));
  painter->paint();
  const std::size_t before = host().calls().size();
  painter->paint();
  EXPECT_THAT(callsSince(before), testing::Contains("orv_image_load(scene, \"a.exr\", 1, true, null)"));
}

TEST_F(Pins, ShowAnImageWithItsTopAtTheSecondAxis) {
  // The fake image answers with (u, v, 0, 1); the map's upper rows lie higher along the pin's second axis.
  host().images["a.exr"] = std::make_unique<FakeImage>(4, 2);
  ImageBrush brush("a.exr");
  brush.setMode(BlendMode::mix);
  painter->addRectPin(rect(), brush);
  const auto map = painter->paint();
  const Rgb upperRight = map->pixels[14 * 64 + 35];
  const Rgb lowerLeft = map->pixels[17 * 64 + 28];
  EXPECT_GT(upperRight.r, 0.5f);
  EXPECT_GT(upperRight.g, 0.5f);
  EXPECT_LT(lowerLeft.r, 0.5f);
  EXPECT_LT(lowerLeft.g, 0.5f);
}

TEST_F(Pins, OfACircleHandNoFootprintOver) {
  // Left-overs of a rectangle's footprint would show.
  host().images["a.exr"] = std::make_unique<FakeImage>(4, 2);
  std::atomic<bool> still = true;
  host().images["a.exr"]->onLookupFiltered = [&](orvImage_lookup& l) {
    if (l.dsdx != 0.0f || l.dsdy != 0.0f || l.dtdx != 0.0f || l.dtdy != 0.0f) still = false;
  };
  painter->setOptions({1, 0});
  painter->addRectPin(rect(), GradientBrush());
  painter->addCirclePin(circle(), ImageBrush("a.exr"));
  painter->paint();
  EXPECT_TRUE(still);
}

TEST_F(Pins, OfARectangleHandAFootprintOfAboutAPixelOver) {
  // At the middle the first angle changes with longitude alone and the second with latitude alone. A pixel
  // angle is 1.5 * 2 pi / 64, so u changes by that over the half-width and the image coordinate by half of
  // it.
  host().images["a.exr"] = std::make_unique<FakeImage>(4, 2);
  std::vector<orvImage_lookup> seen;
  host().images["a.exr"]->onLookupFiltered = [&](orvImage_lookup& l) {
    if (std::abs(l.u - 0.5f) < 0.06f && std::abs(l.v - 0.5f) < 0.12f) seen.push_back(l);
  };
  painter->setOptions({1, 0});
  painter->addRectPin(rect(), ImageBrush("a.exr"));
  tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
  painter->paint();
  ASSERT_FALSE(seen.empty());
  const float pixelAngle = 1.5f * 6.2831855f / 64.0f;
  EXPECT_NEAR(seen[0].dsdx, 0.5f * pixelAngle, 0.01f * pixelAngle);
  EXPECT_NEAR(seen[0].dsdy, 0.0f, 0.01f * pixelAngle);
  EXPECT_NEAR(seen[0].dtdx, 0.0f, 0.01f * pixelAngle);
  EXPECT_NEAR(seen[0].dtdy, -0.5f * pixelAngle, 0.01f * pixelAngle);
}

TEST_F(Pins, WhoseImageIsMissingAddRed) {
  ImageBrush brush("missing.exr");
  brush.setMode(BlendMode::mix);
  painter->addCirclePin(circle(), brush);
  EXPECT_EQ(middle(), (Rgb{1.25f, 0.5f, 0.75f}));
  EXPECT_THAT(host().log(), ElementsAre("Failed to find image 'missing.exr' used environment painter\n"));
}

TEST_F(Pins, WhoseImageWasMissingStayRed) {
  painter->addCirclePin(circle(), ImageBrush("late.exr"));
  painter->paint();
  host().images["late.exr"] = std::make_unique<FakeImage>(4, 2);
  EXPECT_EQ(middle(), (Rgb{1.25f, 0.5f, 0.75f}));
  EXPECT_THAT(host().log(), SizeIs(1));
}

TEST_F(Pins, ShowTheBackgroundThatIsInstalledNow) {
  BackgroundBrush brush(0.0f, 0.0f);
  brush.setMode(BlendMode::add);
  painter->addCirclePin(circle(), brush);
  EXPECT_EQ(middle(), (Rgb{0.5f, 1.0f, 1.5f}));
  painter->setBackground(ColorBrush(1.0f, 2.0f, 3.0f));
  EXPECT_EQ(middle(), (Rgb{2.0f, 4.0f, 6.0f}));
}

TEST_F(Pins, ShowTheBackgroundAlsoWhenItIsNotPaintedAgain) {
  painter->setOptions({0, 1});
  painter->paint();
  ASSERT_TRUE(painter->isValid());
  BackgroundBrush brush(0.0f, 0.0f);
  brush.setMode(BlendMode::add);
  painter->addCirclePin(circle(), brush);
  EXPECT_TRUE(painter->isValid());
  EXPECT_EQ(middle(), (Rgb{0.5f, 1.0f, 1.5f}));
}

TEST_F(Pins, ThatShowTheBackgroundInvalidateOneWithoutASamplingCopy) {
  host().images["sky.exr"] = std::make_unique<FakeImage>(64, 32, std::vector<float>(64 * 32 * 3, 0.5f));
  painter->setOptions({0, 1});
  painter->setBackground(ImageBrush("sky.exr"));
  painter->paint();
  ASSERT_TRUE(painter->isValid());
  BackgroundBrush brush(0.0f, 0.0f);
  brush.setMode(BlendMode::add);
  painter->addCirclePin(circle(), brush);
  EXPECT_FALSE(painter->isValid());
  EXPECT_EQ(middle(), (Rgb{1.0f, 1.0f, 1.0f}));
  // The copy is there now: another such pin leaves the background valid.
  painter->addCirclePin(circle(), brush);
  EXPECT_TRUE(painter->isValid());
}

TEST_F(Pins, ThatShowTheBackgroundDoNotMakeAnInvalidOneValid) {
  painter->addCirclePin(circle(), BackgroundBrush(0.0f, 0.0f));
  EXPECT_FALSE(painter->isValid());
  EXPECT_TRUE(painter->context().hasBackgroundFill);
}

TEST_F(Pins, OfOtherKindsLeaveTheBackgroundValid) {
  painter->paint();
  ASSERT_TRUE(painter->isValid());
  painter->addCirclePin(circle(), ColorBrush(1.0f, 0.0f, 0.0f));
  painter->addRectPin(rect(), GradientBrush());
  EXPECT_TRUE(painter->isValid());
  EXPECT_FALSE(painter->context().hasBackgroundFill);
}

TEST_F(Pins, HaveASoftEdgeOfOneAndAHalfPixelsOfTheCoarserDirection) {
  // 64 x 64: columns are 2 pi / 64 apart, rows pi / 64; the edge is as wide as 1.5 columns. On the equator a
  // pixel at d inside the rim has the weight of t = d / edge, t^2 (3 - 2 t).
  painter->setSize(64, 64);
  painter->setOptions({1, 0});
  painter->setBackground(ColorBrush(0.0f, 0.0f, 0.0f));
  painter->addCirclePin({.azimuth = 0.0f, .elevation = 0.0f, .radius = 1.0f}, *color({1.0f, 1.0f, 1.0f}));
  const auto map = painter->paint();
  const double column = 2.0 * 3.14159265358979 / 64.0;
  const double edge = 1.5 * column;
  for (int x = 36; x < 46; ++x) {
    const double latitude = 0.5 * 3.14159265358979 / 64.0;
    const double longitude = (x + 0.5 - 32.0) * column;
    const double distance = std::acos(std::cos(longitude) * std::cos(latitude));
    const double t = std::min(std::max((1.0 - distance) / edge, 0.0), 1.0);
    EXPECT_NEAR(map->pixels[32 * 64 + static_cast<std::size_t>(x)].r, t * t * (3.0 - 2.0 * t), 1e-4) << x;
  }
}

TEST_F(Pins, AddedBeforeTheSizePaintNothingThatCrashes) {
  // Without a size the pixel angle is infinite.
  BlockedPainter early(PainterType::avx2);
  EXPECT_TRUE(early.addCirclePin(circle(), ColorBrush(1.0f, 1.0f, 1.0f)));
  EXPECT_TRUE(early.addRectPin(rect(), ColorBrush(1.0f, 1.0f, 1.0f)));
  early.setOptions({1, 0});
  early.setBackground(ColorBrush(0.5f, 0.5f, 0.5f));
  early.setSize(64, 32);
  const auto map = early.paint();
  for (const Rgb& pixel : map->pixels) EXPECT_TRUE(pixel.r >= 0.5f && pixel.r <= 1.5f);
}

TEST_F(Pins, ThatAreNotFinitePaintNothing) {
  const auto empty = painter->paint();
  for (const float bad : {kNan, kInfinity, -kInfinity}) {
    for (float CirclePinParams::*field :
         {&CirclePinParams::azimuth, &CirclePinParams::elevation, &CirclePinParams::radius,
          &CirclePinParams::rotation, &CirclePinParams::falloffAmount}) {
      CirclePinParams params{.radius = 0.5f, .half = 1, .falloffKind = Falloff::circleGaussianEdge};
      params.*field = bad;
      painter->addCirclePin(params, ColorBrush(1.0f, 1.0f, 1.0f));
    }
    for (float RectPinParams::*field :
         {&RectPinParams::azimuth, &RectPinParams::elevation, &RectPinParams::halfWidth,
          &RectPinParams::halfHeight, &RectPinParams::rotation, &RectPinParams::cornerRadius,
          &RectPinParams::falloffAmount}) {
      RectPinParams params{.halfWidth = 0.5f, .halfHeight = 0.5f, .falloffKind = Falloff::rectBoxGaussian};
      params.*field = bad;
      painter->addRectPin(params, ColorBrush(1.0f, 1.0f, 1.0f));
    }
  }
  EXPECT_TRUE(painter->paint()->pixels == empty->pixels);
}

TEST_F(Pins, OfHostileSizesLeaveNumbersInTheMap) {
  for (const bool smoothing : {false, true}) {
    painter->clear();
    painter->setBackground(ColorBrush(0.25f, 0.5f, 0.75f));
    painter->setOptions({static_cast<std::uint8_t>(smoothing), 0});
    for (const float size : {0.0f, -1.0f, 1e-30f, 1e30f, 1.5707964f, 3.1415927f, 7.0f})
      for (const std::uint32_t half : {0u, 1u}) {
        painter->addCirclePin({.radius = size, .half = half}, GradientBrush());
        painter->addCirclePin({.azimuth = 1e30f, .elevation = 50.0f, .radius = size}, GradientBrush());
        painter->addRectPin({.halfWidth = size, .halfHeight = 0.5f, .half = half}, GradientBrush());
        painter->addRectPin({.elevation = 1.5f, .halfWidth = size, .halfHeight = size, .cornerRadius = size},
                            BackgroundBrush(1e30f, kNan));
      }
    const auto map = painter->paint();
    for (const Rgb& pixel : map->pixels)
      EXPECT_TRUE(std::isfinite(pixel.r) && std::isfinite(pixel.g) && std::isfinite(pixel.b));
  }
}

TEST_F(Pins, WithASelectorOfTheOtherShapeAreSolid) {
  painter->addCirclePin({.radius = 0.5f, .falloffKind = Falloff::rectBoxEdge}, *color({1.0f, 2.0f, 3.0f}));
  const auto wrong = painter->paint();
  painter->clear();
  painter->setBackground(ColorBrush(0.25f, 0.5f, 0.75f));
  painter->addCirclePin({.radius = 0.5f, .falloffKind = Falloff::solid}, *color({1.0f, 2.0f, 3.0f}));
  EXPECT_TRUE(wrong->pixels == painter->paint()->pixels);
}

TEST_F(Pins, ByTheThousandAreAllPainted) {
  for (int i = 0; i < 10000; ++i)
    painter->addCirclePin(circle(), *color({0.0009765625f, 0.0f, 0.0f}, BlendMode::add));
  EXPECT_EQ(middle(), (Rgb{10.015625f, 0.5f, 0.75f}));
}

TEST_F(Pins, PaintNoRowsOfAZeroWidth) {
  painter->setSize(0, 8);
  painter->addCirclePin(circle(), ColorBrush(1.0f, 1.0f, 1.0f));
  EXPECT_EQ(painter->paint(), nullptr);
  EXPECT_THAT(host().progressAmounts(), IsEmpty());
}

TEST_F(Pins, PaintNoRowsOfAZeroHeight) {
  painter->setSize(8, 0);
  painter->addCirclePin(circle(), ColorBrush(1.0f, 1.0f, 1.0f));
  EXPECT_EQ(painter->paint(), nullptr);
  EXPECT_THAT(host().progressAmounts(), IsEmpty());
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
