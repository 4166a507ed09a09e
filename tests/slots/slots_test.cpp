// Every virtual operation answers at the place that interfaces.h has for it.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "backgrounds/ColorBackground.h"
#include "backgrounds/PaintContext.h"
#include "fills/GradientFill.h"
#include "hdri/ColorBrush.h"
#include "hdri/GradientBrush.h"
#include "hdri/IPainter.h"
#include "host/BrushOwner.h"
#include "shapes/CirclePinShape.h"
#include "shapes/LinearFalloff.h"
#include "slots/interfaces.h"
#include "slots/slots.h"
#include "support/fake_host/FakeHost.h"
#include "support/one_block.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

class Slots : public testing::Test {
 protected:
  void SetUp() override { FakeHost::instance().reset(); }
};

TEST_F(Slots, OfThePainter) {
  namespace at = slots::painter;
  FakeHost& host = FakeHost::instance();
  host.images["a"] = std::make_unique<FakeImage>(6, 3);
  void* const painter = createAVX2Painter();
  const auto is = [&](std::size_t slot) { return slots::call<bool>(painter, slot); };
  const std::string path = "a";
  const ColorBrush grey(0.5f, 0.5f, 0.5f);
  const PainterOptions keep = {.smoothing = 0, .keepBackground = 1};
  const RectPinParams rect = {.azimuth = 2, .halfWidth = 0.3f, .halfHeight = 0.3f};
  const CirclePinParams circle = {.radius = 1};

  slots::call<void>(painter, at::setScene, host.scene());
  EXPECT_TRUE((slots::call<bool, const std::string&>(painter, at::setSizeFromImage, path)));
  slots::call<void>(painter, at::setSize, std::int32_t{8}, std::int32_t{4});
  slots::call<void, const PainterOptions&>(painter, at::setOptions, keep);
  EXPECT_FALSE(is(at::hasBackground));
  EXPECT_TRUE((slots::call<bool, const Brush&>(painter, at::setBackground, grey)));
  EXPECT_TRUE(is(at::hasBackground));
  EXPECT_TRUE(is(at::reserved));
  EXPECT_TRUE((slots::call<bool, const RectPinParams&, const Brush&>(painter, at::addRectPin, rect, grey)));
  EXPECT_TRUE(
      (slots::call<bool, const CirclePinParams&, const Brush&>(painter, at::addCirclePin, circle, grey)));
  EXPECT_FALSE(is(at::isValid));
  const auto map = slots::call<std::shared_ptr<EnvImage>>(painter, at::paint);
  ASSERT_TRUE(map);
  EXPECT_EQ(map->width, 8);
  // The middle lies in the circle alone, which adds its grey to the background's.
  EXPECT_EQ(map->pixels[1 * 8 + 4].r, 1.0f);
  EXPECT_TRUE(is(at::isValid));
  slots::call<void>(painter, at::clear);
  // The background is kept, as the options say.
  EXPECT_TRUE(is(at::hasBackground));
  EXPECT_EQ(slots::call<PainterType>(painter, at::getType), PainterType::avx2);
  const std::int64_t live = host.liveBlocks();
  slots::call<void>(painter, 1);
  EXPECT_LT(host.liveBlocks(), live);
}

struct Listener final : BrushChangeListener {
  void brushChanged(const std::shared_ptr<Brush>& brush) override { heard = brush; }
  std::shared_ptr<Brush> heard;
};

TEST_F(Slots, OfBrushes) {
  namespace at = slots::brush;
  const auto brush = std::make_shared<ColorBrush>(1.0f, 2.0f, 3.0f);
  void* const object = brush.get();
  EXPECT_EQ(slots::call<BrushKind>(object, at::kind), BrushKind::color);
  slots::call<void>(object, at::attachHook);
  slots::call<void>(object, at::detachHook);
  EXPECT_FALSE(slots::call<bool>(object, at::isOverridden));
  brush->setOverride(true);
  EXPECT_TRUE(slots::call<bool>(object, at::isOverridden));
  EXPECT_TRUE((slots::call<bool, const Brush&>(object, at::equals, *brush)));
  EXPECT_FALSE((slots::call<bool, const Brush&>(object, at::equals, GradientBrush())));
  EXPECT_TRUE(slots::call<std::shared_ptr<Brush>>(object, at::clone)->equals(*brush));
  EXPECT_TRUE(slots::call<bool>(object, at::setSize, std::uint32_t{30}, std::uint32_t{20}));
  EXPECT_EQ((slots::call<std::pair<std::uint32_t, std::uint32_t>>(object, at::size)),
            (std::pair<std::uint32_t, std::uint32_t>(30, 20)));
  orvScene* const scene = FakeHost::instance().scene();
  EXPECT_EQ(slots::call<orvNode*>(object, at::hostNode, scene), nullptr);
  const auto owner = std::make_shared<BrushOwner>();
  brush->setOwner(owner);
  const orvNode* const node = slots::call<orvNode*>(object, at::hostNode, scene);
  EXPECT_EQ(node, FakeHost::instance().nodes.at(0).get());
}

TEST_F(Slots, OfBrushListeners) {
  Listener listener;
  const std::shared_ptr<Brush> brush = std::make_shared<ColorBrush>(1.0f, 2.0f, 3.0f);
  BrushChangeListener& base = listener;
  slots::call<void, const std::shared_ptr<Brush>&>(&base, slots::listener::brushChanged, brush);
  EXPECT_EQ(listener.heard, brush);
}

TEST_F(Slots, OfImages) {
  namespace at = slots::image;
  FakeImage fake(3, 2, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18});
  orvImage* const image = &fake;
  float rgb[3] = {};
  slots::call<void>(image, at::getPixel, std::int32_t{1}, std::int32_t{1}, static_cast<float*>(rgb));
  EXPECT_EQ(rgb[2], 15.0f);
  slots::call<void>(image, at::setFilterMode, orvFilter_mode::anisotropic);
  EXPECT_EQ(slots::call<orvFilter_mode>(image, at::filterMode), orvFilter_mode::anisotropic);
  EXPECT_EQ(slots::call<std::uint32_t>(image, at::width), 3u);
  EXPECT_EQ(slots::call<std::uint32_t>(image, at::height), 2u);
  EXPECT_FALSE(slots::call<bool>(image, at::hasAlpha));
  EXPECT_EQ(slots::call<const float*>(image, at::pixels), fake.rgb.data());
  EXPECT_STREQ(slots::call<const char*>(image, at::path), "");
  // The fake's two look-ups differ in blue.
  orvImage_lookup lookup;
  lookup.u = 0.25f;
  slots::call<void, orvImage_lookup&>(image, at::lookup, lookup);
  EXPECT_EQ(lookup.rgba[2], 0.0f);
  slots::call<void, orvImage_lookup&>(image, at::lookupFiltered, lookup);
  EXPECT_EQ(lookup.rgba[2], 1.0f);
  EXPECT_EQ(slots::call<std::uint64_t>(image, at::memory), 72u);
  EXPECT_EQ(slots::call<orvTexture_profile>(image, at::profile), orvTexture_profile::environment);
  EXPECT_EQ(slots::call<std::uint32_t>(image, at::mipLevels), 1u);
}

TEST_F(Slots, OfSkies) {
  namespace at = slots::sky;
  FakeSky fake;
  fake.onRender = [](float* rgb, std::uint32_t width, std::uint32_t height) {
    rgb[0] = static_cast<float>(10 * width + height);
  };
  orvSky* const sky = &fake;
  float pixel[3] = {};
  const void* const description = &fake;
  slots::call<void>(sky, at::render, description, static_cast<float*>(pixel), std::uint32_t{4},
                    std::uint32_t{2});
  EXPECT_EQ(pixel[0], 42.0f);
  EXPECT_EQ(fake.lastDescription, description);
  const double direction[3] = {0, -1, 0};
  slots::call<void>(sky, at::setSunDirection, static_cast<const double*>(direction));
  EXPECT_EQ(fake.direction.size(), 3u);
  slots::call<void>(sky, at::useOwnSun);
  EXPECT_EQ(fake.direction.size(), 0u);
}

TEST_F(Slots, OfNodesAndTheirFactory) {
  FakeHost& host = FakeHost::instance();
  orvScene_api* const api = orv_get_scene_api(host.scene());
  slots::call<void>(api, slots::sceneApi::beginNode, "kind", std::uint32_t{7}, std::uint32_t{0});
  auto* const node = slots::call<orvNode*>(api, slots::sceneApi::takeNode);
  FakeNode& fake = *host.nodes.at(0);
  ASSERT_EQ(node, &fake);
  EXPECT_EQ(fake.typeName, "kind");
  namespace at = slots::node;
  fake.animated["a"] = true;
  EXPECT_TRUE(slots::call<bool>(node, at::isParameterAnimated, "a"));
  slots::call<void>(node, at::setUint, "u", std::uint32_t{3});
  slots::call<void>(node, at::setFloat, "f", 2.5f);
  slots::call<void>(node, at::setText, "t", "text");
  EXPECT_EQ(fake.uints["u"], 3u);
  EXPECT_EQ(fake.floats["f"], 2.5f);
  EXPECT_EQ(fake.texts["t"], "text");
  EXPECT_EQ(slots::call<orvFloat_array*>(node, at::floatArray, "values"), &fake.arrays["values"]);
}

TEST_F(Slots, OfShapes) {
  namespace at = slots::shape;
  PinShape* const shape =
      new (std::nothrow) CirclePinShape({.azimuth = 0.5f, .elevation = 0.25f, .radius = 0.25f}, 0.01f);
  float lowest = 0;
  float highest = 0;
  slots::call<void, float&, float&>(shape, at::latitudeRange, lowest, highest);
  EXPECT_NEAR(lowest, 0.0f, 1e-6f);
  EXPECT_NEAR(highest, 0.5f, 1e-6f);
  AzimuthSpans spans;
  slots::call<void, float, AzimuthSpans&>(shape, at::azimuthSpans, 0.25f, spans);
  EXPECT_EQ(spans.size(), 1u);
  OneBlock block{};
  for (float& azimuth : block.azimuth) azimuth = 0.5f;
  for (int i = 0; i < 8; ++i) {
    block.elevation[i] = 0.25f;
    block.sinElevation[i] = 0.24740396f;
    block.cosElevation[i] = 0.96891242f;
  }
  slots::call<void, const PixelBatch&>(shape, at::evaluate, block.batch());
  EXPECT_EQ(block.mask[3], 0xFFFFFFFFu);
  const auto extent =
      slots::call<std::optional<AzimuthExtent>>(shape, at::cosFromCentreExtent, std::uint32_t{0});
  ASSERT_TRUE(extent);
  EXPECT_EQ(extent->centre, 0.5f);
  slots::call<void>(shape, at::destroy);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(Slots, OfFalloffs) {
  FalloffCurve* const curve = new (std::nothrow) LinearFalloff(1.0f);
  OneBlock block{};
  for (int i = 0; i < 8; ++i) {
    block.mask[i] = 0xFFFFFFFFu;
    block.weight[i] = 1;
    block.u[i] = 0.75f;
  }
  slots::call<void, const PixelBatch&>(curve, slots::falloff::evaluate, block.batch());
  EXPECT_NEAR(block.weight[0], 0.25f, 1e-6f);
  slots::call<void>(curve, slots::falloff::destroy);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(Slots, OfFills) {
  namespace at = slots::fill;
  PinFill* const fill = new (std::nothrow) GradientFill(GradientBrush(), true);
  const PaintContext context;
  const ColorBackground background(ColorBrush(0, 0, 0));
  EXPECT_TRUE((slots::call<bool, const PaintContext&, const BackgroundSource&>(fill, at::prepare, context,
                                                                               background)));
  EXPECT_EQ(slots::call<std::uint32_t>(fill, at::requirements), kNeedsCoordinates);
  OneBlock block{};
  for (float& weight : block.weight) weight = 0.5f;
  FillScratch scratch;
  const auto shading =
      slots::call<Shading, const PixelBatch&, FillScratch&>(fill, at::shade, block.batch(), scratch);
  // A gradient without stops is white.
  EXPECT_EQ(shading.color->g[0], 1.0f);
  EXPECT_EQ(shading.weight[0], 0.5f);
  slots::call<void>(fill, at::release);
  slots::call<void>(fill, at::destroy);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

TEST_F(Slots, OfBackgrounds) {
  namespace at = slots::source;
  BackgroundSource* const source = new (std::nothrow) ColorBackground(ColorBrush(1, 2, 3));
  const PaintContext context;
  EXPECT_TRUE((slots::call<bool, const PaintContext&>(source, at::prepare, context)));
  EXPECT_TRUE(slots::call<bool>(source, at::canSample));
  Block blocks[2] = {};
  alignas(32) const float places[16] = {};
  slots::call<void>(source, at::sampleBlock, std::span<Block>(blocks, 1), static_cast<const float*>(places),
                    static_cast<const float*>(places));
  EXPECT_EQ(blocks[0].g[7], 2.0f);
  EXPECT_EQ(blocks[1].g[7], 0.0f);
  slots::call<void>(source, at::fillRow, std::uint32_t{0}, 0.5f, std::span<Block>(blocks));
  EXPECT_EQ(blocks[1].b[0], 3.0f);
  slots::call<void>(source, at::destroy);
  EXPECT_EQ(FakeHost::instance().liveBlocks(), 0);
}

}  // namespace
