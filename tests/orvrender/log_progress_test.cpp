#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/orvLog.h"
#include "host/orvProgress.h"
#include "orvrender/host_fixture.h"
#include "orvrender/orvHost.h"

namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

TEST(Log, ListenerHearsTheLineWithoutItsNewline) {
  const LogLines log;
  orv_critical("Failed to find image '%s' used %d times\n", "a.exr", 3);
  EXPECT_THAT(log.lines(), ElementsAre("Failed to find image 'a.exr' used 3 times"));
}

TEST(Log, ALongLineArrivesWhole) {
  const LogLines log;
  const std::string text(100000, 'x');
  orv_critical("%s\n", text.c_str());
  EXPECT_THAT(log.lines(), ElementsAre(text));
}

TEST(Log, AnArgumentCannotBreakTheLine) {
  const LogLines log;
  orv_critical("%s: no such file\n", "a\nb\x1B[2J");
  EXPECT_THAT(log.lines(), ElementsAre("a\\nb\\x1b[2J: no such file"));
}

TEST(Log, WithoutAListenerTheLineGoesToStandardError) {
  testing::internal::CaptureStderr();
  orv_critical("No skylight api found\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "No skylight api found\n");
}

TEST(Log, AListenerMayLog) {
  static int depth = 0;
  depth = 0;
  const auto listener = [](void* user, const char* line) {
    static_cast<std::vector<std::string>*>(user)->emplace_back(line);
    if (++depth == 1) orv_critical("inner\n");
  };
  std::vector<std::string> lines;
  orv_log_set_listener(listener, &lines);
  orv_critical("outer\n");
  orv_log_set_listener(nullptr, nullptr);
  EXPECT_THAT(lines, ElementsAre("outer", "inner"));
}

TEST(Log, LinesFromManyThreadsArriveWhole) {
  const LogLines log;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i) orv_critical("%s %s\n", "0123456789", "abcdefghij");
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(log.lines(), SizeIs(2000));
  EXPECT_THAT(log.lines(), testing::Each("0123456789 abcdefghij"));
}

class ProgressTest : public testing::Test {
 protected:
  ProgressTest() { orv_progress_set_listener(scene, &ProgressTest::hear, this); }
  ~ProgressTest() override { orv_scene_destroy(scene); }

  static void hear(void* user, const char* text, double amount) {
    static_cast<ProgressTest*>(user)->heard.emplace_back(text, amount);
  }

  orvScene* scene = orv_scene_create({});
  std::vector<std::pair<std::string, double>> heard;
};

TEST_F(ProgressTest, ListenerHearsThePhaseAndTheAmountDoneInIt) {
  orv_progress_set(scene, "Blur", 0.25f);
  orv_progress_add(scene, 0.5f);
  orv_progress_set(scene, "Tilt", 0.0f);
  EXPECT_THAT(heard, ElementsAre(Pair("Blur", 0.25), Pair("Blur", 0.75), Pair("Tilt", 0.0)));
}

TEST_F(ProgressTest, AddingAnAmountThatIsNotFiniteChangesNothing) {
  orv_progress_set(scene, "Blur", 0.5f);
  for (const float amount : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity()}) {
    orv_progress_add(scene, amount);
  }
  orv_progress_add(scene, 0.25f);
  EXPECT_THAT(heard, ElementsAre(Pair("Blur", 0.5), Pair("Blur", 0.75)));
}

TEST_F(ProgressTest, APhaseWithAnAmountThatIsNotFiniteStartsAtZero) {
  orv_progress_set(scene, "Blur", 0.5f);
  orv_progress_set(scene, "Tilt", std::numeric_limits<float>::infinity());
  orv_progress_set(scene, "Sun & Sky", std::numeric_limits<float>::quiet_NaN());
  EXPECT_THAT(heard, ElementsAre(Pair("Blur", 0.5), Pair("Tilt", 0.0), Pair("Sun & Sky", 0.0)));
}

TEST_F(ProgressTest, TheTextIsCopied) {
  std::string text = "Painting Pins";
  orv_progress_set(scene, text.c_str(), 0);
  text.assign(text.size(), '#');
  orv_progress_add(scene, 1);
  EXPECT_EQ(heard.back().first, "Painting Pins");
}

TEST_F(ProgressTest, StepsFromManyThreadsAddUp) {
  constexpr int kThreads = 4;
  constexpr int kSteps = 1024;
  orv_progress_set(scene, "Painting Pins", 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this] {
      for (int i = 0; i < kSteps; ++i) orv_progress_add(scene, 1.0f / (kThreads * kSteps));
    });
  }
  for (std::thread& thread : threads) thread.join();
  // Every step is a power of two, so sums are exact and rise one after the other.
  ASSERT_THAT(heard, SizeIs(1 + kThreads * kSteps));
  EXPECT_EQ(heard.back().second, 1.0);
  for (std::size_t i = 1; i < heard.size(); ++i) ASSERT_LT(heard[i - 1].second, heard[i].second);
}

TEST_F(ProgressTest, WithoutAListenerProgressIsDropped) {
  orv_progress_set_listener(scene, nullptr, nullptr);
  orv_progress_set(scene, "Blur", 0);
  orv_progress_add(scene, 0.5f);
  EXPECT_TRUE(heard.empty());
}

TEST_F(ProgressTest, AListenerThatComesLaterHearsTheWholeAmount) {
  orv_progress_set_listener(scene, nullptr, nullptr);
  orv_progress_set(scene, "Blur", 0.25f);
  orv_progress_add(scene, 0.25f);
  orv_progress_set_listener(scene, &ProgressTest::hear, this);
  orv_progress_add(scene, 0.25f);
  EXPECT_THAT(heard, ElementsAre(Pair("Blur", 0.75)));
}

TEST_F(ProgressTest, ScenesKeepTheirProgressApart) {
  orvScene* const other = orv_scene_create({});
  orv_progress_set(other, "Blur", 0.5f);
  orv_progress_add(nullptr, 0.5f);
  orv_progress_set(nullptr, "Blur", 0.5f);
  orv_scene_destroy(other);
  EXPECT_TRUE(heard.empty());
}

}  // namespace
