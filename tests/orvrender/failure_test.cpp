// The last failure of a scene, and what its program has cancelled.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "host/orvPaint.h"
#include "host/orvSky.h"
#include "orvrender/host_fixture.h"
#include "orvrender/image_files.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class FailureTest : public HostTest {
 protected:
  const orvFailure* last() { return orv_failure_last(scene()); }
};

TEST_F(FailureTest, ThereIsNoneAtFirst) {
  EXPECT_EQ(last(), nullptr);
  EXPECT_EQ(orv_failure_last(nullptr), nullptr);
  orv_failure_clear(nullptr);
  orv_fallback(nullptr, 0);
}

TEST_F(FailureTest, TellsWhichImageAndWhyAsTheLogDoes) {
  const std::string path = folder / "none.exr";
  EXPECT_EQ(load(path), nullptr);
  ASSERT_TRUE(last());
  EXPECT_EQ(last()->image, path);
  EXPECT_THAT(last()->reason, StartsWith("there is no such file"));
  EXPECT_EQ(last()->pin, orvFailure_nowhere);
  EXPECT_EQ(path + ": " + last()->reason, log.lines().at(0));
}

TEST_F(FailureTest, TellsWhichPinItCost) {
  load(folder / "none.exr");
  orv_fallback(scene(), 3);
  EXPECT_EQ(last()->pin, 3);
  EXPECT_THAT(last()->image, testing::EndsWith("none.exr"));
}

TEST_F(FailureTest, OfAPinWithoutOneIsOneItself) {
  load(folder / "none.exr");
  orv_fallback(scene(), 3);
  orv_fallback(scene(), 4);
  EXPECT_EQ(last()->pin, 4);
  EXPECT_STREQ(last()->image, "");
}

TEST_F(FailureTest, ASceneWithoutASkyIsOne) {
  options.sky = false;
  EXPECT_EQ(orv_get_sky(scene()), nullptr);
  orv_fallback(scene(), orvFailure_background);
  ASSERT_TRUE(last());
  EXPECT_STREQ(last()->image, "");
  EXPECT_THAT(last()->reason, HasSubstr("no sky"));
  EXPECT_EQ(last()->pin, orvFailure_background);
}

TEST_F(FailureTest, IsForgottenOnRequest) {
  load(folder / "none.exr");
  orv_failure_clear(scene());
  EXPECT_EQ(last(), nullptr);
}

class HostCancelTest : public HostTest {
 protected:
  void setFlag() { orv_cancel_set_flag(scene(), &flag); }
  std::atomic<bool> flag{false};
};

TEST_F(HostCancelTest, TheFlagIsWhatAPainterHears) {
  EXPECT_FALSE(orv_cancelled(nullptr));
  EXPECT_FALSE(orv_cancelled(scene()));
  setFlag();
  EXPECT_FALSE(orv_cancelled(scene()));
  flag = true;
  EXPECT_TRUE(orv_cancelled(scene()));
  orv_cancel_set_flag(scene(), nullptr);
  EXPECT_FALSE(orv_cancelled(scene()));
}

TEST_F(HostCancelTest, FilesAreLeftUnreadInSilenceAndReadAgainLater) {
  const std::string exr = folder / "a.exr", hdr = folder / "a.hdr";
  writeImage("openexr", exr, floatSpec(16, 8, 3), std::vector<float>(3 * 16 * 8, 1.0f));
  writeImage("hdr", hdr, floatSpec(16, 8, 3), std::vector<float>(3 * 16 * 8, 1.0f));
  setFlag();
  for (const std::string& path : {exr, hdr}) {
    flag = true;
    EXPECT_EQ(load(path), nullptr);
    flag = false;
    EXPECT_THAT(pixel(*load(path), 15, 7), testing::Each(1.0f));
  }
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(orv_failure_last(scene()), nullptr);
}

TEST_F(HostCancelTest, PixelsThatWereNotScaledAreScaledForTheNextUser) {
  const std::vector<float> rgb(3 * 256 * 256, 2.0f);
  ASSERT_TRUE(orv_image_add(scene(), "memory:a", rgb.data(), 256, 256));
  orv_image_set_environment_size(scene(), 300, 200);
  setFlag();
  orvImage* const first = load("memory:a");
  flag = true;
  EXPECT_EQ(first->pixels(), nullptr);
  orv_image_free(scene(), first, false);
  flag = false;
  const orvImage* const next = load("memory:a");
  ASSERT_NE(next->pixels(), nullptr);
  EXPECT_FLOAT_EQ(next->pixels()[3 * 300 * 200 - 1], 2.0f);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(HostCancelTest, AFileThatWasNotReadAgainIsReadForTheNextUser) {
  options.imageCacheBytes = 0;
  const std::string path = folder / "a.exr";
  writeImage("openexr", path, floatSpec(16, 8, 3), std::vector<float>(3 * 16 * 8, 4.0f));
  setFlag();
  orvImage* const first = load(path);
  orv_image_free(scene(), load(path), false);  // drops the pixels, which the first has not asked for
  flag = true;
  EXPECT_EQ(first->pixels(), nullptr);
  flag = false;
  orv_image_free(scene(), first, false);
  EXPECT_THAT(pixel(*load(path), 0, 0), testing::Each(4.0f));
}

TEST_F(HostCancelTest, ASkyIsRenderedAsEverAfterOneThatWasCancelled) {
  constexpr std::uint32_t kWidth = 64, kHeight = 32;
  const auto render = [](orvScene* of) {
    std::vector<float> rgb(3 * kWidth * kHeight, -1.0f);
    orvSky* const sky = orv_get_sky(of);
    sky->hours = 9;
    sky->render(nullptr, rgb.data(), kWidth, kHeight);
    return rgb;
  };
  setFlag();
  flag = true;
  EXPECT_THAT(render(scene()), testing::Contains(-1.0f));
  flag = false;
  const std::vector<float> after = render(scene());
  orvScene* const other = orv_scene_create({});
  EXPECT_EQ(after, render(other));
  orv_scene_destroy(other);
}

}  // namespace
