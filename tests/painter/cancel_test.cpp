// Paints that a host cancels: asked before each row, they end, and leave the painter as able as before.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kWidth = 48, kHeight = 24;

FakeHost& host() { return FakeHost::instance(); }

class CancelTest : public testing::Test {
 protected:
  void SetUp() override {
    host().reset();
    std::vector<float> rgb(3 * kWidth * kHeight);
    for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = 0.25f + 0.01f * static_cast<float>(i % 97);
    host().images["a.exr"] = std::make_unique<FakeImage>(kWidth, kHeight, rgb);
    host().images["small.exr"] = std::make_unique<FakeImage>(8, 4, std::vector<float>(3 * 8 * 4, 0.5f));
    host().sky = std::make_unique<FakeSky>();
    host().sky->onRender = [](float* out, std::uint32_t width, std::uint32_t height) {
      for (std::size_t i = 0; i < std::size_t{3} * width * height; ++i) out[i] = static_cast<float>(i % 31);
    };
    blocksBefore_ = host().liveBlocks();
  }
  void TearDown() override {
    host().reset();
    EXPECT_EQ(host().liveBlocks(), blocksBefore_) << "host memory was lost";
  }

  struct Destroy {
    void operator()(IPainter* painter) const { destroyAVX2Painter(painter); }
  };
  using Painter = std::unique_ptr<IPainter, Destroy>;

  static Painter makePainter(const std::function<void(IPainter&)>& setUp) {
    Painter painter(createAVX2Painter());
    painter->setScene(host().scene());
    painter->setSize(kWidth, kHeight);
    setUp(*painter);
    return painter;
  }

  static bool sameBytes(const EnvImage& a, const EnvImage& b) {
    return a.pixels.size() == b.pixels.size() &&
           std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size() * sizeof(Rgb)) == 0;
  }

  /// Cancels a paint at each question that it asks, one after the other, and paints anew after each.
  /// @return how many questions there were.
  static std::int64_t cancelEverywhere(const std::function<void(IPainter&)>& setUp) {
    const auto fresh = makePainter(setUp)->paint();
    const Painter painter = makePainter(setUp);
    const auto before = painter->paint();
    for (std::int64_t n = 1;; ++n) {
      host().cancelAt(n);
      const auto cancelled = painter->paint();
      const std::int64_t questions = host().questions();
      host().cancelAt(0);
      if (questions < n) {
        EXPECT_TRUE(cancelled && sameBytes(*cancelled, *fresh)) << "nobody cancelled it";
        return questions;
      }
      EXPECT_FALSE(cancelled) << "at question " << n;
      const auto next = painter->paint();
      EXPECT_TRUE(next && sameBytes(*next, *fresh)) << "after one cancelled at question " << n;
      EXPECT_TRUE(sameBytes(*before, *fresh)) << "the map painted before, at question " << n;
      if (HasFailure()) return questions;
    }
  }

 private:
  std::int64_t blocksBefore_ = 0;
};

void addPins(IPainter& painter) {
  EXPECT_TRUE(
      painter.addCirclePin({.azimuth = 0.5f, .elevation = 0.2f, .radius = 0.6f}, ColorBrush(2, 1, 0)));
  EXPECT_TRUE(painter.addCirclePin({.azimuth = -1, .radius = 0.4f}, BackgroundBrush(30, 20)));
  EXPECT_TRUE(painter.addCirclePin({.azimuth = 1, .radius = 0.4f}, ImageBrush("small.exr")));
}

TEST_F(CancelTest, AnImageBackgroundAtEachRowOfEachStep) {
  // Conversion, blur on the plane, the copy for the fill that shows the background, rotation, pins.
  const auto setUp = [](IPainter& painter) {
    ImageBrush image("a.exr");
    image.setMapSettingsOn(true);
    image.setBlurAmount(40);
    image.setTiltAngles(40, 20);
    ASSERT_TRUE(painter.setBackground(image));
    addPins(painter);
  };
  EXPECT_GE(cancelEverywhere(setUp), 3 * kHeight);
}

TEST_F(CancelTest, ABlurOnTheSphereNearAndWide) {
  for (const float blur : {4.0f, 60.0f}) {
    const auto setUp = [blur](IPainter& painter) {
      ImageBrush image("small.exr");
      image.setMapSettingsOn(true);
      image.setBlurOnSphere(true);
      image.setBlurAmount(blur);
      image.setTiltAngles(90, 0);
      ASSERT_TRUE(painter.setBackground(image));
    };
    EXPECT_GE(cancelEverywhere(setUp), 3 * kHeight);
  }
}

TEST_F(CancelTest, AColorSoBrightThatABlurNeedsRoomAboveIt) {
  host().images["a.exr"]->rgb.assign(3 * kWidth * kHeight, 3e38f);
  const auto setUp = [](IPainter& painter) {
    ImageBrush image("a.exr");
    image.setMapSettingsOn(true);
    image.setBlurAmount(40);
    ASSERT_TRUE(painter.setBackground(image));
  };
  EXPECT_GE(cancelEverywhere(setUp), 4 * kHeight);
}

TEST_F(CancelTest, TheSkyAndItsPins) {
  const auto setUp = [](IPainter& painter) {
    ASSERT_TRUE(painter.setBackground(SunSkyBrush()));
    addPins(painter);
  };
  EXPECT_GE(cancelEverywhere(setUp), 2 * kHeight);
}

TEST_F(CancelTest, AKeptBackgroundStaysWhereThePinsWereCancelled) {
  const Painter painter = makePainter([](IPainter& p) {
    p.setOptions({.smoothing = 1, .keepBackground = 1});
    ASSERT_TRUE(p.setBackground(ImageBrush("a.exr")));
    addPins(p);
  });
  const auto fresh = painter->paint();
  ASSERT_TRUE(painter->isValid());
  host().cancelAt(1);
  EXPECT_FALSE(painter->paint());
  EXPECT_TRUE(painter->isValid());
  host().cancelAt(0);
  EXPECT_TRUE(sameBytes(*painter->paint(), *fresh));
}

TEST_F(CancelTest, ABackgroundThatWasNotFinishedIsNotKept) {
  const Painter painter = makePainter([](IPainter& p) {
    p.setOptions({.smoothing = 1, .keepBackground = 1});
    ASSERT_TRUE(p.setBackground(ImageBrush("a.exr")));
  });
  host().cancelAt(kHeight / 2);
  EXPECT_FALSE(painter->paint());
  EXPECT_FALSE(painter->isValid());
}

TEST_F(CancelTest, AnImageThatIsNotLoadedThenIsNoFailure) {
  const Painter painter = makePainter([](IPainter& p) {
    ASSERT_TRUE(p.setBackground(ImageBrush("none.exr")));
    ASSERT_TRUE(p.addCirclePin({.radius = 0.5f}, ImageBrush("small.exr")));
  });
  host().cancelAt(1);
  EXPECT_FALSE(painter->paint());
  EXPECT_THAT(host().log(), IsEmpty());
  EXPECT_THAT(host().fallbacks(), IsEmpty());
}

TEST_F(CancelTest, AFillsImageIsLoadedByTheNextPaint) {
  auto small = std::move(host().images["small.exr"]);
  host().images.erase("small.exr");
  const Painter painter = makePainter([](IPainter& p) {
    ASSERT_TRUE(p.setBackground(ColorBrush(1, 1, 1)));
    ASSERT_TRUE(p.addCirclePin({.radius = 3.2f}, ImageBrush("small.exr")));
  });
  host().cancelAt(1);
  EXPECT_FALSE(painter->paint());
  host().cancelAt(0);
  host().images["small.exr"] = std::move(small);
  // Look-ups of the fake image answer (u, v, 0): red alone would be the fill of a missing one.
  const auto map = painter->paint();
  EXPECT_GT(map->pixels[kWidth / 2].g + map->pixels[kWidth * kHeight / 2].g, 0.0f);
  EXPECT_THAT(host().fallbacks(), IsEmpty());
}

TEST_F(CancelTest, IsAskedOnceARow) {
  const Painter painter = makePainter([](IPainter& p) { ASSERT_TRUE(p.setBackground(ColorBrush(1, 1, 1))); });
  host().cancelAt(0);
  ASSERT_TRUE(painter->paint());
  EXPECT_EQ(host().questions(), kHeight);
}

TEST_F(CancelTest, HearsWhichPinsAndBackgroundsAreNotWhatWasAskedFor) {
  const Painter painter = makePainter([](IPainter& p) {
    ASSERT_TRUE(p.setBackground(ImageBrush("none.exr")));
    ASSERT_TRUE(p.addCirclePin({.radius = 0.5f}, ColorBrush(1, 1, 1)));
    ASSERT_TRUE(p.addCirclePin({.radius = 0.5f}, ImageBrush("none.exr")));
  });
  ASSERT_TRUE(painter->paint());
  EXPECT_THAT(host().fallbacks(), ElementsAre(-1, 1));
  host().sky.reset();
  EXPECT_FALSE(painter->setBackground(SunSkyBrush()));
  EXPECT_THAT(host().fallbacks(), ElementsAre(-1, 1, -1));
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
