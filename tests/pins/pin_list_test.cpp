#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "fills/PinFill.h"
#include "hdri/BackgroundBrush.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/ImageBrush.h"
#include "hdri/SunSkyBrush.h"
#include "pins/Pin.h"
#include "pins/fill_factory.h"
#include "shapes/PinShape.h"
#include "support/fake_host/FakeHost.h"
#include "support/one_block.h"

namespace orv::hdri::blockedAVX2 {
namespace {

using testing::ElementsAre;

/// Says when it goes.
class LoggingShape final : public PinShape {
 public:
  explicit LoggingShape(std::vector<std::string>& log) : PinShape(nullptr), log_(log) {}
  ~LoggingShape() override { log_.emplace_back("shape"); }
  void latitudeRange(float&, float&) const override {}
  void azimuthSpans(float, AzimuthSpans&) const override {}
  void evaluate(const PixelBatch&) const override {}

 private:
  std::vector<std::string>& log_;
};

class LoggingFill final : public PinFill {
 public:
  explicit LoggingFill(std::vector<std::string>& log) : PinFill(ColorBrush(0.0f, 0.0f, 0.0f)), log_(log) {}
  ~LoggingFill() override { log_.emplace_back("fill"); }
  Shading shade(const PixelBatch&, FillScratch&) const override { return {}; }

 private:
  std::vector<std::string>& log_;
};

TEST(Pin, DestroysItsFillBeforeItsShape) {
  std::vector<std::string> log;
  {
    const Pin pin(std::unique_ptr<PinShape>(new (std::nothrow) LoggingShape(log)),
                  std::unique_ptr<PinFill>(new (std::nothrow) LoggingFill(log)));
  }
  EXPECT_THAT(log, ElementsAre("fill", "shape"));
}

class FillFactory : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
  void TearDown() override { FakeHost::instance().reset(); }
};

TEST_F(FillFactory, MakesAFillForEveryKindThatFillsPins) {
  EXPECT_EQ(makeFill(ColorBrush(0.0f, 0.0f, 0.0f), false)->kind(), BrushKind::color);
  EXPECT_EQ(makeFill(GradientBrush(), false)->kind(), BrushKind::gradient);
  EXPECT_EQ(makeFill(ImageBrush("a.exr"), false)->kind(), BrushKind::image);
  EXPECT_EQ(makeFill(BackgroundBrush(0.0f, 0.0f), false)->kind(), BrushKind::background);
}

TEST_F(FillFactory, MakesNoneForASky) { EXPECT_EQ(makeFill(SunSkyBrush(), true), nullptr); }

TEST_F(FillFactory, MakesNoneForAnUnknownKind) {
  class StrangeBrush final : public Brush {
   public:
    BrushKind kind() const override { return static_cast<BrushKind>(7); }
    std::shared_ptr<Brush> clone() const override { return nullptr; }
  };
  EXPECT_EQ(makeFill(StrangeBrush(), false), nullptr);
}

TEST_F(FillFactory, MakesNoneWithoutMemory) {
  FakeHost& host = FakeHost::instance();
  const std::int64_t live = host.liveBlocks();
  host.failAllocation(1);
  EXPECT_EQ(makeFill(BackgroundBrush(0.0f, 0.0f), false), nullptr);
  EXPECT_EQ(host.liveBlocks(), live);
}

TEST_F(FillFactory, ReplacesByRedThatIsAdded) {
  const std::unique_ptr<PinFill> red = makeRedFill();
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(red->mode(), 0u);
  OneBlock batch{};
  Block color;
  alignas(32) float weight[8];
  shade(*red, batch, color, weight);
  EXPECT_EQ(color.r[0], 1.0f);
  EXPECT_EQ(color.g[0], 0.0f);
  EXPECT_EQ(color.b[0], 0.0f);
}

}  // namespace
}  // namespace orv::hdri::blockedAVX2
