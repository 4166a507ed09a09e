#include "hdri/Brush.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "host/BrushOwner.h"

namespace orv::hdri {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::vector<std::shared_ptr<Brush>> oneOfEachKind() {
  return {std::make_shared<ColorBrush>(0.1f, 0.2f, 0.3f), std::make_shared<GradientBrush>(),
          std::make_shared<SunSkyBrush>(), std::make_shared<ImageBrush>("sky.exr"),
          std::make_shared<BackgroundBrush>(10.0f, 20.0f)};
}

/// Hears of one change and remembers the brush.
struct Listener final : BrushChangeListener {
  void brushChanged(const std::shared_ptr<Brush>& brush) override { heard.push_back(brush); }
  std::vector<std::shared_ptr<Brush>> heard;
};

TEST(Brush, StartsWithTheDocumentedDefaults) {
  const ColorBrush brush(0.0f, 0.0f, 0.0f);
  EXPECT_TRUE(brush.enabled());
  EXPECT_FALSE(brush.isOverridden());
  EXPECT_TRUE(brush.owner().expired());
  EXPECT_EQ(brush.size(), std::make_pair(4000u, 2000u));
  EXPECT_EQ(brush.mode(), BlendMode::add);
  EXPECT_FALSE(brush.mapSettingsOn());
  EXPECT_EQ(brush.blurAmount(), 0.0f);
  EXPECT_FALSE(brush.blurOnSphere());
  EXPECT_EQ(brush.tiltAngle1(), 0.0f);
  EXPECT_EQ(brush.tiltAngle2(), 0.0f);
}

TEST(Brush, StartsWithNeutralAdjustments) {
  const Adjustments a = ColorBrush(0.0f, 0.0f, 0.0f).adjustments();
  EXPECT_EQ(a.brightness, 1.0f);
  EXPECT_EQ(a.gamma, 1.0f);
  EXPECT_EQ(a.hueShift, 0.0f);
  EXPECT_EQ(a.saturation, 0.0f);
  EXPECT_EQ(a.tintRed, 1.0f);
  EXPECT_EQ(a.tintGreen, 1.0f);
  EXPECT_EQ(a.tintBlue, 1.0f);
}

TEST(Brush, KindsAreNumberedTwoToSix) {
  std::vector<std::uint32_t> kinds;
  for (const auto& brush : oneOfEachKind()) kinds.push_back(static_cast<std::uint32_t>(brush->kind()));
  EXPECT_THAT(kinds, testing::ElementsAre(2u, 3u, 4u, 5u, 6u));
}

TEST(Brush, OfBothConstructorsIsTheSame) {
  EXPECT_TRUE(ColorBrush(0.5f, 1.0f, 2.0f).equals(ColorBrush(Rgb{0.5f, 1.0f, 2.0f})));
}

TEST(BrushEquality, HoldsForACloneOfEveryKind) {
  for (const auto& brush : oneOfEachKind()) {
    EXPECT_TRUE(brush->equals(*brush->clone())) << static_cast<int>(brush->kind());
    EXPECT_TRUE(brush->clone()->equals(*brush)) << static_cast<int>(brush->kind());
  }
}

TEST(BrushEquality, FailsBetweenAnyTwoKinds) {
  const auto brushes = oneOfEachKind();
  for (const auto& a : brushes)
    for (const auto& b : brushes) EXPECT_EQ(a->equals(*b), a == b);
}

TEST(BrushEquality, NoticesTheFlags) {
  const ColorBrush plain(1.0f, 1.0f, 1.0f);
  ColorBrush disabled(1.0f, 1.0f, 1.0f);
  disabled.setEnabled(false);
  ColorBrush overridden(1.0f, 1.0f, 1.0f);
  overridden.setOverride(true);
  ColorBrush withMapSettings(1.0f, 1.0f, 1.0f);
  withMapSettings.setMapSettingsOn(true);
  EXPECT_FALSE(plain.equals(disabled));
  EXPECT_FALSE(plain.equals(overridden));
  EXPECT_FALSE(plain.equals(withMapSettings));
}

TEST(BrushEquality, IgnoresTheSizeUntilMapSettingsAreOn) {
  ColorBrush a(1.0f, 1.0f, 1.0f);
  ColorBrush b(1.0f, 1.0f, 1.0f);
  b.setSize(4001, 2000);
  EXPECT_TRUE(a.equals(b));
  a.setMapSettingsOn(true);
  b.setMapSettingsOn(true);
  EXPECT_FALSE(a.equals(b));
}

TEST(BrushEquality, ComparesBlurAndTiltOnlyWithMapSettings) {
  for (int field = 0; field < 4; ++field) {
    ColorBrush a(1.0f, 1.0f, 1.0f);
    ColorBrush b(1.0f, 1.0f, 1.0f);
    if (field == 0) b.setBlurAmount(2.0f);
    if (field == 1) b.setTiltAngles(5.0f, 0.0f);
    if (field == 2) b.setTiltAngles(0.0f, 5.0f);
    if (field == 3) b.setBlurOnSphere(true);
    EXPECT_TRUE(a.equals(b)) << field;
    a.setMapSettingsOn(true);
    b.setMapSettingsOn(true);
    EXPECT_FALSE(a.equals(b)) << field;
  }
}

TEST(BrushEquality, ComparesTheModeOnlyWithoutMapSettings) {
  ColorBrush a(1.0f, 1.0f, 1.0f);
  ColorBrush b(1.0f, 1.0f, 1.0f);
  b.setMode(BlendMode::screen);
  EXPECT_FALSE(a.equals(b));
  a.setMapSettingsOn(true);
  b.setMapSettingsOn(true);
  EXPECT_TRUE(a.equals(b));
}

TEST(BrushEquality, ComparesEveryAdjustment) {
  constexpr float Adjustments::*fields[] = {
      &Adjustments::brightness, &Adjustments::gamma,     &Adjustments::hueShift, &Adjustments::saturation,
      &Adjustments::tintRed,    &Adjustments::tintGreen, &Adjustments::tintBlue};
  for (float Adjustments::*field : fields) {
    const ColorBrush a(1.0f, 1.0f, 1.0f);
    ColorBrush b(1.0f, 1.0f, 1.0f);
    b.adjustments().*field = 0.75f;
    EXPECT_FALSE(a.equals(b));
  }
}

TEST(BrushEquality, ComparesWhatAKindHasOfItsOwn) {
  EXPECT_FALSE(ColorBrush(1.0f, 1.0f, 1.0f).equals(ColorBrush(1.0f, 1.0f, 0.5f)));
  EXPECT_FALSE(ImageBrush("a.exr").equals(ImageBrush("b.exr")));
  EXPECT_FALSE(BackgroundBrush(10.0f, 0.0f).equals(BackgroundBrush(11.0f, 0.0f)));
  EXPECT_FALSE(BackgroundBrush(10.0f, 0.0f).equals(BackgroundBrush(10.0f, 1.0f)));
  const SunSkyBrush noon;
  SunSkyBrush evening;
  evening.settings().hours = 18.5f;
  EXPECT_FALSE(noon.equals(evening));
}

TEST(BrushEquality, FailsForANan) {
  const ColorBrush brush(kNan, 0.0f, 0.0f);
  EXPECT_FALSE(brush.equals(brush));
  ColorBrush adjusted(0.0f, 0.0f, 0.0f);
  adjusted.adjustments().gamma = kNan;
  EXPECT_FALSE(adjusted.equals(adjusted));
}

TEST(BrushClone, CarriesEveryBaseValue) {
  for (const auto& brush : oneOfEachKind()) {
    brush->setEnabled(false);
    brush->setOverride(true);
    brush->setMode(BlendMode::mix);
    brush->setMapSettingsOn(true);
    brush->adjustments() = {2.0f, 3.0f, 0.25f, -0.5f, 0.1f, 0.2f, 0.3f};
    brush->setBlurAmount(4.0f);
    brush->setBlurOnSphere(true);
    brush->setTiltAngles(50.0f, 60.0f);
    brush->setSize(512, 256);
    const std::shared_ptr<Brush> copy = brush->clone();
    EXPECT_FALSE(copy->enabled());
    EXPECT_TRUE(copy->isOverridden());
    EXPECT_EQ(copy->mode(), BlendMode::mix);
    EXPECT_TRUE(copy->mapSettingsOn());
    EXPECT_EQ(copy->adjustments(), brush->adjustments());
    EXPECT_EQ(copy->blurAmount(), 4.0f);
    EXPECT_TRUE(copy->blurOnSphere());
    EXPECT_EQ(copy->tiltAngle1(), 50.0f);
    EXPECT_EQ(copy->tiltAngle2(), 60.0f);
    EXPECT_EQ(copy->size(), std::make_pair(512u, 256u));
  }
}

TEST(BrushClone, HasNoOwner) {
  const auto owner = std::make_shared<BrushOwner>();
  for (const auto& brush : oneOfEachKind()) {
    brush->setOwner(owner);
    EXPECT_TRUE(brush->clone()->owner().expired());
  }
}

TEST(BrushClone, KnowsItsSharedPointer) {
  for (const auto& brush : oneOfEachKind()) {
    const std::shared_ptr<Brush> copy = brush->clone();
    EXPECT_EQ(copy->shared_from_this(), copy);
  }
}

TEST(BrushOverride, ComesFromTheBrushOrItsLivingOwner) {
  auto owner = std::make_shared<BrushOwner>();
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  EXPECT_FALSE(brush.isOverridden());
  owner->override = 1;
  EXPECT_TRUE(brush.isOverridden());
  owner.reset();
  EXPECT_FALSE(brush.isOverridden());
  brush.setOverride(true);
  EXPECT_TRUE(brush.isOverridden());
}

TEST(BrushSetSize, TellsNobodyWhenNothingChanges) {
  const auto owner = std::make_shared<BrushOwner>();
  Listener listener;
  owner->listener = &listener;
  const auto brush = std::make_shared<ColorBrush>(0.0f, 0.0f, 0.0f);
  brush->setOwner(owner);
  EXPECT_TRUE(brush->setSize(4000, 2000));
  EXPECT_EQ(owner->changed, 0);
  EXPECT_EQ(owner->needsRepaint, 0);
  EXPECT_TRUE(listener.heard.empty());
}

TEST(BrushSetSize, StoresTheSizeWithoutAnOwner) {
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  EXPECT_TRUE(brush.setSize(8, 4));
  EXPECT_EQ(brush.size(), std::make_pair(8u, 4u));
}

TEST(BrushSetSize, MarksTheOwnerAndCallsItsListener) {
  const auto owner = std::make_shared<BrushOwner>();
  Listener listener;
  owner->listener = &listener;
  const auto brush = std::make_shared<ColorBrush>(0.0f, 0.0f, 0.0f);
  brush->setOwner(owner);
  EXPECT_TRUE(brush->setSize(4000, 1999));
  EXPECT_EQ(owner->changed, 1);
  EXPECT_EQ(owner->needsRepaint, 1);
  EXPECT_EQ(owner->backgroundChanged, 0);
  EXPECT_THAT(listener.heard, testing::ElementsAre(brush));
}

TEST(BrushSetSize, MarksTheBackgroundWhenTheBrushIsTheOwners) {
  const auto owner = std::make_shared<BrushOwner>();
  const auto brush = std::make_shared<ColorBrush>(0.0f, 0.0f, 0.0f);
  brush->setOwner(owner);
  owner->background = brush;
  brush->setSize(16, 8);
  EXPECT_EQ(owner->backgroundChanged, 1);
}

TEST(BrushSetSize, ThrowsForALiveOwnerAndABrushNobodyShares) {
  const auto owner = std::make_shared<BrushOwner>();
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  EXPECT_THROW(brush.setSize(16, 8), std::bad_weak_ptr);
  EXPECT_EQ(owner->changed, 0);
}

TEST(BrushSetSize, IgnoresAnOwnerThatIsGone) {
  auto owner = std::make_shared<BrushOwner>();
  ColorBrush brush(0.0f, 0.0f, 0.0f);
  brush.setOwner(owner);
  owner.reset();
  EXPECT_TRUE(brush.setSize(16, 8));
}

}  // namespace
}  // namespace orv::hdri
