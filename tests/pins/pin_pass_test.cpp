// The pins pass as a whole: what is painted where, without painting anything twice, and what it leaves
// behind.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace orv::hdri::blockedAVX2 {
namespace {

CirclePinParams circle(float azimuth, float elevation, float radius) {
  CirclePinParams params;
  params.azimuth = azimuth;
  params.elevation = elevation;
  params.radius = radius;
  return params;
}

RectPinParams rect(float azimuth, float elevation, float halfWidth, float halfHeight, float rotation = 0) {
  RectPinParams params;
  params.azimuth = azimuth;
  params.elevation = elevation;
  params.halfWidth = halfWidth;
  params.halfHeight = halfHeight;
  params.rotation = rotation;
  return params;
}

class PinPass : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
  void TearDown() override {
    painter.reset();
    EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
  }

  void newPainter(std::int32_t width, std::int32_t height, bool smoothing = false) {
    painter.reset(new (std::nothrow) BlockedPainter(PainterType::avx2));
    painter->setScene(FakeHost::instance().scene());
    painter->setSize(width, height);
    painter->setOptions({smoothing, 0});
    painter->setBackground(ColorBrush(0, 0, 0));
  }

  static bool sameBytes(const EnvImage& a, const EnvImage& b) {
    return a.pixels.size() == b.pixels.size() &&
           std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size() * sizeof(Rgb)) == 0;
  }

  std::unique_ptr<BlockedPainter> painter;
};

TEST_F(PinPass, WithoutPinsTheMapIsTheBackground) {
  newPainter(20, 10);
  painter->setBackground(ColorBrush(0.25f, 0.5f, 4));
  const auto map = painter->paint();
  for (const Rgb& pixel : map->pixels) EXPECT_EQ(pixel, (Rgb{0.25f, 0.5f, 4}));
}

TEST_F(PinPass, HardCircleCoversThePixelsWithinItsRadius) {
  for (const std::int32_t width : {64, 37}) {
    newPainter(width, 32);
    painter->addCirclePin(circle(2.9f, 0.4f, 0.7f), ColorBrush(2, 3, 4));
    const auto map = painter->paint();
    for (std::int32_t y = 0; y < 32; ++y) {
      const double e = (0.5 - (y + 0.5) / 32) * 3.141592653589793;
      for (std::int32_t x = 0; x < width; ++x) {
        const double a = ((x + 0.5) / width - 0.5) * 2 * 3.141592653589793;
        const double distance =
            std::acos(std::cos(a - 2.9f) * std::cos(e) * std::cos(0.4f) + std::sin(e) * std::sin(0.4f));
        if (std::abs(distance - 0.7f) < 1e-5) continue;
        const Rgb expected = distance < 0.7f ? Rgb{2, 3, 4} : Rgb{0, 0, 0};
        EXPECT_EQ(map->pixels[static_cast<std::size_t>(y * width + x)], expected) << x << ", " << y;
      }
    }
  }
}

TEST_F(PinPass, SpansThatShareABlockBlendItOnce) {
  // Circles about the seam leave a narrow gap in the middle, whose block belongs to both spans.
  for (std::int32_t width = 1; width <= 80; ++width) {
    for (const float radius : {1.6f, 2.6f, 3.0f, 3.1f}) {
      newPainter(width, 16);
      painter->addCirclePin(circle(3.1415927f, 0, radius), ColorBrush(1, 1, 1));
      painter->addCirclePin(circle(0, 0.2f, radius), ColorBrush(1, 1, 1));
      const auto map = painter->paint();
      for (const Rgb& pixel : map->pixels) {
        EXPECT_TRUE(pixel.r == 0 || pixel.r == 1 || pixel.r == 2) << pixel.r << " at width " << width;
      }
    }
  }
}

TEST_F(PinPass, RectanglesOverSeamAndPoleBlendEachBlockOnce) {
  for (std::int32_t width = 1; width <= 40; ++width) {
    newPainter(width, 24);
    painter->addRectPin(rect(3.0f, 0.1f, 1.5f, 1.2f, 0.4f), ColorBrush(1, 1, 1));
    painter->addRectPin(rect(1.0f, 1.4f, 0.8f, 0.6f, 0.7f), ColorBrush(1, 1, 1));
    const auto map = painter->paint();
    for (const Rgb& pixel : map->pixels) {
      EXPECT_TRUE(pixel.r == 0 || pixel.r == 1 || pixel.r == 2) << pixel.r << " at width " << width;
    }
  }
}

TEST_F(PinPass, SpansThatEndAtTheSeamStayWithinTheRow) {
  // For the address sanitizer; the last pixel is covered, whatever the width.
  for (std::int32_t width = 1; width <= 33; ++width) {
    newPainter(width, 9, true);
    painter->addCirclePin(circle(1.7f, 0, 1.45f), ColorBrush(1, 2, 3));
    painter->addCirclePin(circle(0, 0, 3.1415927f), ColorBrush(1, 2, 3));
    painter->addRectPin(rect(3.1415927f, 0, 1.0f, 1.0f), ColorBrush(1, 2, 3));
    const auto map = painter->paint();
    EXPECT_GT(map->pixels[static_cast<std::size_t>(4 * width + width - 1)].r, 0) << "width " << width;
  }
}

TEST_F(PinPass, TablesChangeNoBit) {
  newPainter(300, 40, true);
  painter->addCirclePin(circle(3.0f, 0.4f, 0.7f), ColorBrush(2, 3, 4));
  painter->addCirclePin(circle(-1.0f, 1.2f, 0.9f), ColorBrush(2, 3, 4));
  const auto before = FakeHost::instance().totalAllocations();
  const auto with = painter->paint();
  ASSERT_GE(FakeHost::instance().totalAllocations() - before, 3);
  // The background allocates nothing; the columns are the first allocation, the tables the second.
  FakeHost::instance().failAllocation(2);
  const auto without = painter->paint();
  EXPECT_TRUE(sameBytes(*with, *without));
}

TEST_F(PinPass, PinsBeyondTheTablesBudgetChangeNoBit) {
  // 2100 tables of 4096 floats are more than 32 MB.
  newPainter(4096, 2);
  for (int i = 0; i < 2100; ++i) {
    painter->addCirclePin(circle(0.001f * static_cast<float>(i), 0, 2), ColorBrush(1e-3f, 1e-3f, 1e-3f));
  }
  const auto with = painter->paint();
  FakeHost::instance().failAllocation(2);
  EXPECT_TRUE(sameBytes(*with, *painter->paint()));
}

TEST_F(PinPass, ThousandsOfPinsAreLaidInListOrder) {
  // Mixed over each other, so that the order shows; some over the poles, some without any row.
  newPainter(64, 200, true);
  for (int i = 0; i < 3000; ++i) {
    const float x = static_cast<float>(i);
    ColorBrush brush(std::fmod(0.37f * x, 1.0f), std::fmod(0.73f * x, 1.0f), 0.5f);
    brush.setMode(BlendMode::mix);
    const float elevation =
        i % 50 == 0 ? std::nanf("") : static_cast<float>(std::remainder(0.113 * i, 3.1415927));
    painter->addCirclePin(circle(0.01f * x - 3.0f, elevation, 0.02f + 0.3f * std::fmod(0.11f * x, 1.0f)),
                          brush);
  }
  const auto withBuckets = painter->paint();
  // The columns, the tables, then the buckets.
  FakeHost::instance().failAllocation(3);
  const auto withRangeChecks = painter->paint();
  EXPECT_TRUE(sameBytes(*withBuckets, *withRangeChecks));
}

TEST_F(PinPass, BytesAreEqualWithOneAndSevenThreads) {
  newPainter(333, 100, true);
  painter->addCirclePin(circle(3.0f, 0.4f, 0.7f), ColorBrush(2, 3, 4));
  painter->addRectPin(rect(1.0f, 1.4f, 0.8f, 0.6f, 0.7f), GradientBrush());
  const auto paintWith = [&](std::size_t threads) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    return painter->paint();
  };
  const auto one = paintWith(1);
  EXPECT_TRUE(sameBytes(*one, *paintWith(7)));
}

TEST_F(PinPass, AllocatesNothingPerRowOrBlock) {
  const tbb::global_control oneThread(tbb::global_control::max_allowed_parallelism, 1);
  const auto allocations = [&](std::int32_t width, std::int32_t height) {
    newPainter(width, height, true);
    CirclePinParams cut = circle(3.0f, 0.4f, 0.7f);
    cut.half = 1;
    painter->addCirclePin(cut, ColorBrush(2, 3, 4));
    painter->addCirclePin(circle(0, 0, 1), ColorBrush(2, 3, 4));
    painter->addRectPin(rect(1.0f, 1.4f, 0.8f, 0.6f, 0.7f), GradientBrush());
    const auto before = FakeHost::instance().totalAllocations();
    painter->paint();
    return FakeHost::instance().totalAllocations() - before;
  };
  // Columns, tables and one row buffer.
  EXPECT_EQ(allocations(16, 8), 3);
  EXPECT_EQ(allocations(1024, 512), 3);
}

TEST_F(PinPass, GivesEverythingBackWhenMemoryRunsOut) {
  newPainter(64, 32);
  FakeHost::instance().images["a.exr"] = std::make_unique<FakeImage>(4, 4);
  painter->addRectPin(rect(0, 0, 0.5f, 0.5f), ImageBrush("a.exr"));
  painter->addCirclePin(circle(0, 0, 0.5f), ColorBrush(1, 1, 1));
  const auto live = FakeHost::instance().liveBlocks();
  int failures = 0;
  for (int n = 1; n <= 6; ++n) {
    FakeHost::instance().failAllocation(n);
    const auto count = [](const std::string& name) {
      const auto calls = FakeHost::instance().calls();
      return std::count_if(calls.begin(), calls.end(),
                           [&](const std::string& call) { return call.starts_with(name + "("); });
    };
    const auto loaded = count("orv_image_load");
    const auto freed = count("orv_image_free");
    try {
      painter->paint();
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    FakeHost::instance().failAllocation(0);
    EXPECT_EQ(FakeHost::instance().liveBlocks(), live);
    EXPECT_EQ(count("orv_image_load") - loaded, 1);
    EXPECT_EQ(count("orv_image_free") - freed, 1);
  }
  EXPECT_GE(failures, 2);
}

TEST_F(PinPass, TenThousandHostilePinsAreSurvived) {
  newPainter(40, 20, true);
  const float values[] = {0,     -0.0f,  1e-30f, 1e-5f, 0.01f, 1.5707964f, 3.1415927f, -3.1415927f,
                          1e30f, -1e30f, 1e38f,  -2,    100,   0.5f,       1,          6.2831855f};
  std::uint32_t state = 1;
  const auto next = [&] {
    state = state * 1664525u + 1013904223u;
    return state >> 16;
  };
  const auto value = [&] { return values[next() % std::size(values)]; };
  constexpr std::uint32_t kKinds[] = {0, 16, 17, 18, 19, 20, 32, 33, 34, 35, 36, 37, 256, 512, 4294967295u};
  const auto kind = [&] { return static_cast<Falloff>(kKinds[next() % std::size(kKinds)]); };
  ColorBrush fill(1, 1, 1);
  fill.setMode(BlendMode::mix);
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(
        painter->addCirclePin({value(), value(), value(), value(), next() % 2, kind(), value()}, fill));
    ASSERT_TRUE(painter->addRectPin(
        {value(), value(), value(), value(), value(), next() % 2, value(), kind(), value()}, fill));
  }
  EXPECT_EQ(painter->paint()->pixels.size(), 800u);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
