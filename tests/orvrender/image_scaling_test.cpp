// Environment images at another size than their file's: what their pixels are.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"
#include "orvrender/sphere_light.h"

namespace {

struct Size {
  std::uint32_t width;
  std::uint32_t height;
};

class ImageScalingTest : public HostTest {
 protected:
  std::string file(const Size& size, const std::vector<float>& rgb) {
    const std::string path = folder / "image.exr";
    OIIO::ImageSpec spec = floatSpec(static_cast<int>(size.width), static_cast<int>(size.height), 3);
    spec.attribute("compression", "none");
    writeImage("openexr", path, spec, rgb);
    return path;
  }
  const orvImage* loadAt(const std::string& path, const Size& size) {
    orv_image_set_environment_size(scene(), size.width, size.height);
    const orvImage* const image = load(path, orvTexture_profile::environment, false);
    EXPECT_EQ(image->width(), size.width);
    EXPECT_EQ(image->height(), size.height);
    return image;
  }
  std::vector<float> scaled(const Size& from, const std::vector<float>& rgb, const Size& to) {
    const float* const pixels = loadAt(file(from, rgb), to)->pixels();
    return {pixels, pixels + std::size_t{3} * to.width * to.height};
  }
};

/// Channel values from a function of column, row and channel.
std::vector<float> drawn(const Size& size,
                         const std::function<float(std::uint32_t, std::uint32_t, int)>& value) {
  std::vector<float> rgb;
  rgb.reserve(std::size_t{3} * size.width * size.height);
  for (std::uint32_t y = 0; y < size.height; ++y)
    for (std::uint32_t x = 0; x < size.width; ++x)
      for (int c = 0; c < 3; ++c) rgb.push_back(value(x, y, c));
  return rgb;
}

/// Grainy light between 1/4096 and 4096.
float grain(std::uint32_t x, std::uint32_t y, int c) {
  std::uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ static_cast<std::uint32_t>(c) * 0xC2B2AE3Du;
  h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
  h ^= h >> 12;
  return std::exp2(24.0f * static_cast<float>(h & 0xFFFF) / 65536.0f - 12.0f);
}

void expectLight(const float* rgb, const Size& size, const std::array<double, 3>& light, double relative) {
  const auto found = meanLight(rgb, size.width, size.height);
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(found[c], light[c], relative * light[c])
        << size.width << " x " << size.height << ", channel " << c;
}

/// The mean of an image's light. The lossy examples hold values a little below 0, which are none.
std::array<double, 3> lightOf(const orvImage& image) {
  std::vector<float> rgb(image.pixels(), image.pixels() + std::size_t{3} * image.width() * image.height());
  for (float& value : rgb) value = std::max(value, 0.0f);
  return meanLight(rgb.data(), image.width(), image.height());
}

std::string example(const std::string& name) { return ORVHDRI_SOURCE_DIR "/examples/" + name + ".exr"; }

TEST_F(ImageScalingTest, SmallerPicturesKeepTheirLight) {
  for (const char* name : {"venice", "forest", "studio"}) {
    const orvImage* const own = load(example(name));
    const auto light = lightOf(*own);
    for (const Size size :
         {Size{256, 128}, {64, 32}, {333, 77}, {509, 255}, {2, 1}, {1, 1}, {512, 3}, {7, 256}})
      expectLight(loadAt(example(name), size)->pixels(), size, light, 1e-4);
    orv_image_set_environment_size(scene(), 0, 0);
  }
}

TEST_F(ImageScalingTest, LargerPicturesKeepTheirLight) {
  for (const char* name : {"venice", "forest", "studio"}) {
    const orvImage* const own = load(example(name));
    const auto light = lightOf(*own);
    for (const Size size : {Size{1024, 512}, {1000, 500}, {2048, 1024}, {513, 257}, {1000, 100}, {100, 1000}})
      expectLight(loadAt(example(name), size)->pixels(), size, light, 2e-3);
    orv_image_set_environment_size(scene(), 0, 0);
  }
}

TEST_F(ImageScalingTest, AMuchSmallerImageKeepsItsLight) {
  // Grain, and on it a sun in each channel: in both polar rows and between.
  const Size from{4096, 2048};
  std::vector<float> rgb = drawn(from, grain);
  rgb[0] = 1e5f;
  rgb[3 * (1234u * 4096 + 2047) + 1] = 1e5f;
  rgb[3 * (2047u * 4096 + 4095) + 2] = 1e5f;
  const auto light = meanLight(rgb.data(), from.width, from.height);
  const std::string path = file(from, rgb);
  for (const Size size : {Size{2048, 1024}, {64, 32}, {1000, 499}, {333, 77}, {4095, 2047}, {16, 8}})
    expectLight(loadAt(path, size)->pixels(), size, light, 1e-4);
}

TEST_F(ImageScalingTest, ASunOfOnePixelKeepsItsLightAnywhere) {
  const Size from{97, 41};
  for (const Size to : {Size{64, 32}, {13, 7}, {96, 40}}) {
    for (std::uint32_t y = 0; y < from.height; ++y) {
      const std::uint32_t places[3] = {y * 31 % from.width, 0, from.width - 1};
      const std::vector<float> rgb = drawn(from, [&](std::uint32_t x, std::uint32_t row, int c) {
        return row == y && x == places[c] ? 1e5f : 0.0f;
      });
      const auto light = meanLight(rgb.data(), from.width, from.height);
      expectLight(scaled(from, rgb, to).data(), to, light, 1e-5);
    }
  }
}

TEST_F(ImageScalingTest, ASmallerPixelIsTheMeanOfWhatItCovers) {
  // Each source pixel's part in a target pixel: its columns' overlap times its bands' difference of sines.
  const Size from{23, 11}, to{9, 4};
  const std::vector<float> rgb = drawn(from, grain);
  const std::vector<float> found = scaled(from, rgb, to);
  for (std::uint32_t ty = 0; ty < to.height; ++ty)
    for (std::uint32_t tx = 0; tx < to.width; ++tx) {
      double sum = 0, area = 0;
      for (std::uint32_t y = 0; y < from.height; ++y)
        for (std::uint32_t x = 0; x < from.width; ++x) {
          const double left = std::max(double(x) / from.width, double(tx) / to.width);
          const double right = std::min((x + 1.0) / from.width, (tx + 1.0) / to.width);
          const double top = std::max(double(y) / from.height, double(ty) / to.height);
          const double bottom = std::min((y + 1.0) / from.height, (ty + 1.0) / to.height);
          if (right <= left || bottom <= top) continue;
          const double part =
              (right - left) * (std::cos(std::numbers::pi * top) - std::cos(std::numbers::pi * bottom));
          sum += part * static_cast<double>(rgb[3 * (y * from.width + x)]);
          area += part;
        }
      EXPECT_NEAR(found[3 * (ty * to.width + tx)], sum / area, 1e-6 * sum / area) << tx << ", " << ty;
    }
}

TEST_F(ImageScalingTest, OneColorStaysThatColor) {
  const Size from{37, 19};
  const float color[3] = {0.3f, 0.0f, 70000.1f};
  const auto rgb = drawn(from, [&](std::uint32_t, std::uint32_t, int c) { return color[c]; });
  for (const Size to : {Size{36, 18}, {2, 1}, {100, 50}, {38, 20}, {10, 50}, {100, 5}}) {
    const std::vector<float> found = scaled(from, rgb, to);
    for (std::size_t i = 0; i < found.size(); ++i)
      ASSERT_NEAR(found[i], color[i % 3], 1e-6f * color[i % 3])
          << to.width << " x " << to.height << ": " << i;
  }
}

TEST_F(ImageScalingTest, ALargerPixelLiesBetweenItsNeighbours) {
  // Alternate suns and black: any overshoot shows.
  const Size from{16, 8}, to{56, 28};
  const auto rgb = drawn(from, [](std::uint32_t x, std::uint32_t y, int c) {
    return grain(x, y, c) > 1.0f ? 1e5f * grain(y, x, c) : 0.0f;
  });
  const std::vector<float> found = scaled(from, rgb, to);
  for (std::uint32_t y = 0; y < to.height; ++y)
    for (std::uint32_t x = 0; x < to.width; ++x)
      for (std::size_t c = 0; c < 3; ++c) {
        float least = std::numeric_limits<float>::max(), most = 0;
        // The neighbours reach one pixel on from those that the cell touches, over the pole as well.
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            int row = static_cast<int>(y * 8 / 28) + dy, column = static_cast<int>(x * 16 / 56) + dx;
            if (row < 0 || row > 7) {
              row = std::clamp(row, 0, 7);
              column += 8;
            }
            const float value = rgb[3 * static_cast<std::size_t>(row * 16 + (column + 16) % 16) + c];
            least = std::min(least, value);
            most = std::max(most, value);
          }
        const float value = found[3 * (y * to.width + x) + c];
        EXPECT_GE(value, least) << x << ", " << y;
        EXPECT_LE(value, most) << x << ", " << y;
      }
}

TEST_F(ImageScalingTest, APixelOfLightSpreadsSmoothly) {
  // Between it and black runs 1 - 3 t^2 + 2 t^3, whose means over [0, 1/2] and [1/2, 1] are 13/16 and 3/16.
  const auto rgb = drawn({8, 1}, [](std::uint32_t x, std::uint32_t, int) { return x == 0 ? 16.0f : 0.0f; });
  const std::vector<float> found = scaled({8, 1}, rgb, {16, 1});
  std::vector<float> red;
  for (std::size_t i = 0; i < found.size(); i += 3) red.push_back(found[i]);
  const std::vector<float> expected{13, 13, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3};
  EXPECT_THAT(red, testing::Pointwise(testing::FloatNear(1e-5f), expected));
}

TEST_F(ImageScalingTest, ARampStaysARamp) {
  // Away from its ends, where the slopes are those of the ramp.
  const auto rgb = drawn({32, 1}, [](std::uint32_t x, std::uint32_t, int) { return static_cast<float>(x); });
  const std::vector<float> found = scaled({32, 1}, rgb, {80, 1});
  for (std::size_t x = 10; x < 70; ++x)
    EXPECT_NEAR(found[3 * x], (static_cast<double>(x) + 0.5) * 32 / 80 - 0.5, 1e-5) << x;
}

TEST_F(ImageScalingTest, ColumnsWrap) {
  // Eight columns to the right before scaling are 2, 8 and 16 after it.
  const Size from{64, 6};
  const auto shifted = [&](std::uint32_t by) {
    return drawn(from,
                 [=](std::uint32_t x, std::uint32_t y, int c) { return grain((x + 64 - by) % 64, y, c); });
  };
  for (const Size to : {Size{16, 3}, {64, 12}, {128, 6}, {128, 4}, {16, 12}}) {
    const std::vector<float> still = scaled(from, shifted(0), to);
    const std::vector<float> moved = scaled(from, shifted(8), to);
    const std::uint32_t by = 8 * to.width / 64;
    for (std::uint32_t y = 0; y < to.height; ++y)
      for (std::uint32_t x = 0; x < 3 * to.width; ++x)
        ASSERT_EQ(moved[y * 3 * to.width + (x + 3 * by) % (3 * to.width)], still[y * 3 * to.width + x])
            << to.width << " x " << to.height << ": " << x / 3 << ", " << y;
  }
}

TEST_F(ImageScalingTest, UpsideDownIsTheSameFromThePoles) {
  const Size from{12, 9};
  const auto upright = drawn(from, grain);
  const auto turned = drawn(from, [](std::uint32_t x, std::uint32_t y, int c) { return grain(x, 8 - y, c); });
  for (const Size to : {Size{12, 4}, {12, 20}}) {
    const std::vector<float> a = scaled(from, upright, to), b = scaled(from, turned, to);
    for (std::uint32_t y = 0; y < to.height; ++y)
      for (std::size_t i = 0; i < 36; ++i) {
        const float value = a[36 * y + i];
        EXPECT_NEAR(b[36 * (to.height - 1 - y) + i], value, 1e-5f * value) << y << ", " << i;
      }
  }
}

/// The mean over the first quarter of `rows` rows, by solid angle, of 3 t^2 - 2 t^3, which rises from 0
/// beyond the pole to 1 in the first row.
double overThePole(int rows) {
  double sum = 0, weights = 0;
  constexpr int kSteps = 10000;
  for (int i = 0; i < kSteps; ++i) {
    const double y = 0.5 * (i + 0.5) / kSteps;  // in rows
    const double t = y + 0.5, weight = std::sin(std::numbers::pi * y / rows);
    sum += weight * (3 * t * t - 2 * t * t * t);
    weights += weight;
  }
  return sum / weights;
}

TEST_F(ImageScalingTest, OverThePoleLiesTheOtherSide) {
  const auto rgb = drawn({8, 4}, [](std::uint32_t x, std::uint32_t, int) { return x < 4 ? 1.0f : 0.0f; });
  const std::vector<float> found = scaled({8, 4}, rgb, {8, 8});
  const double near = overThePole(4);
  ASSERT_LT(near, 0.9);
  for (const std::size_t row : {0u, 7u})
    for (std::size_t x = 0; x < 8; ++x)
      EXPECT_NEAR(found[3 * (row * 8 + x)], x < 4 ? near : 1 - near, 1e-6) << row << ", " << x;
  EXPECT_EQ(found[3 * (1 * 8 + 2)], 1.0f);
}

TEST_F(ImageScalingTest, HalfATurnOfOddColumnsLiesBetweenTwo) {
  // Half a turn from the first of three columns: between the others, 0 and 6.
  const auto rgb = drawn({3, 2}, [](std::uint32_t x, std::uint32_t, int) { return x == 2 ? 6.0f : 0.0f; });
  const std::vector<float> found = scaled({3, 2}, rgb, {3, 4});
  EXPECT_NEAR(found[0], 3 * (1 - overThePole(2)), 1e-6);
}

TEST_F(ImageScalingTest, ValuesBelowZeroAreNoLight) {
  const auto below =
      drawn({12, 6}, [](std::uint32_t x, std::uint32_t y, int) { return (x + y) % 2 ? 2.0f : -1.0f; });
  const auto black =
      drawn({12, 6}, [](std::uint32_t x, std::uint32_t y, int) { return (x + y) % 2 ? 2.0f : 0.0f; });
  for (const Size to : {Size{5, 3}, {12, 3}, {5, 6}, {24, 12}, {12, 13}, {25, 6}, {25, 2}})
    EXPECT_EQ(scaled({12, 6}, below, to), scaled({12, 6}, black, to)) << to.width << " x " << to.height;
}

TEST_F(ImageScalingTest, OnePixelFillsEverySize) {
  for (const Size to : {Size{2, 1}, {1, 2}, {5, 3}, {64, 32}}) {
    const std::vector<float> found = scaled({1, 1}, {0.1f, 2, 30000}, to);
    for (std::size_t i = 0; i < found.size(); i += 3)
      ASSERT_THAT(std::vector<float>(&found[i], &found[i] + 3), testing::ElementsAre(0.1f, 2, 30000));
  }
}

TEST_F(ImageScalingTest, OneColumnStaysTheSameAllAround) {
  const auto rgb = drawn({1, 7}, grain);
  for (const std::uint32_t height : {3u, 7u, 20u}) {
    const std::vector<float> found = scaled({1, 7}, rgb, {4, height});
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::size_t i = 3; i < 12; ++i) EXPECT_EQ(found[12 * y + i], found[12 * y + i % 3]) << y;
  }
  // With its own rows a column keeps their values.
  EXPECT_EQ(scaled({1, 7}, rgb, {4, 7})[12 * 6 + 5], rgb[3 * 6 + 2]);
}

TEST_F(ImageScalingTest, OneRowKeepsItsMean) {
  const auto rgb = drawn({9, 1}, grain);
  const auto light = meanLight(rgb.data(), 9, 1);
  for (const Size to : {Size{4, 1}, {9, 3}, {20, 1}, {31, 5}, {3, 7}})
    expectLight(scaled({9, 1}, rgb, to).data(), to, light, 1e-5);
}

TEST_F(ImageScalingTest, ThreadsChangeNoBit) {
  const Size from{700, 300};
  const std::string path = file(from, drawn(from, grain));
  for (const Size to : {Size{333, 77}, {1000, 500}}) {
    std::vector<float> first;
    for (const std::size_t threads : {1u, 2u, 7u}) {
      const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
      const float* const pixels = loadAt(path, to)->pixels();
      const std::vector<float> found(pixels, pixels + std::size_t{3} * to.width * to.height);
      if (first.empty()) first = found;
      EXPECT_TRUE(found == first) << threads << " threads";
    }
  }
}

TEST_F(ImageScalingTest, TheLargestValuesStayFinite) {
  constexpr float kMost = std::numeric_limits<float>::max();
  const std::vector<float> rgb(3 * 31 * 17, kMost);
  for (const Size to : {Size{7, 5}, {62, 40}, {7, 40}, {62, 5}})
    for (const float value : scaled({31, 17}, rgb, to)) ASSERT_NEAR(value, kMost, 1e-6f * kMost);
}

}  // namespace
