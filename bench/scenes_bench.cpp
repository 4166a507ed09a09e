// Scenes whose background is kept: what dragging a light costs.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "bench/interleaved.h"
#include "bench/memory.h"
#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "hdri/SunSkyBrush.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"

namespace {

using namespace orv::hdri;
using namespace orv::hdri::blockedAVX2;

using Host = std::unique_ptr<orvScene, void (*)(orvScene*)>;
Host makeHost() { return Host(orv_scene_create({}), orv_scene_destroy); }

std::unique_ptr<BlockedPainter> makePainter(std::int32_t width) {
  std::unique_ptr<BlockedPainter> painter(new (std::nothrow) BlockedPainter(PainterType::avx2));
  painter->setSize(width, width / 2);
  painter->setOptions({1, 1});
  return painter;
}

/// A painter that keeps what a scene has set up in it.
class KeepingPainter final : public IPainter {
 public:
  explicit KeepingPainter(BlockedPainter& painter) : painter_(painter) {}
  void setScene(orvScene* scene) override {
    if (scene) painter_.setScene(scene);
  }
  void setSize(std::int32_t width, std::int32_t height) override { painter_.setSize(width, height); }
  bool setSizeFromImage(const std::string& path) override { return painter_.setSizeFromImage(path); }
  void setOptions(const PainterOptions& options) override { painter_.setOptions({options.smoothing, 1}); }
  bool setBackground(const Brush& brush) override { return painter_.setBackground(brush); }
  bool addRectPin(const RectPinParams& params, const Brush& fill) override {
    return painter_.addRectPin(params, fill);
  }
  bool addCirclePin(const CirclePinParams& params, const Brush& fill) override {
    return painter_.addCirclePin(params, fill);
  }
  bool reserved() override { return painter_.reserved(); }
  bool hasBackground() const override { return painter_.hasBackground(); }
  bool isValid() const override { return painter_.isValid(); }
  std::shared_ptr<EnvImage> paint() override {
    painted_ = true;
    return painter_.paint();
  }
  /// Before a scene is painted; afterwards what it has set up stays.
  void clear() override {
    if (!painted_) painter_.clear();
  }
  PainterType getType() const override { return painter_.getType(); }

 private:
  BlockedPainter& painter_;
  bool painted_ = false;
};

/// Beside writing the result's bytes again.
void studioKept(benchmark::State& state) {
  const Host host = makeHost();
  const std::string folder = std::string(ORVHDRI_SOURCE_DIR) + "/examples";
  const auto painter = makePainter(4096);
  KeepingPainter keeping(*painter);
  orv::scene::PaintOptions options;
  options.folder = folder;
  options.size = orv::scene::MapSize{4096, 2048};
  orv::scene::paintScene(orv::scene::readScene(folder + "/studio.json"), keeping, host.get(), options);
  const auto plain = makePainter(4096);
  plain->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  bench::compare(
      state, "rewriting the result", [&] { painter->paint(); }, [&] { plain->paint(); });
}

void addLights(BlockedPainter& painter) {
  constexpr float kRadius = 0.0261799f;  // 1.5 degrees
  for (int i = 0; i < 64; ++i) {
    CirclePinParams params;
    params.azimuth = static_cast<float>(std::remainder(2.399963 * i, 6.283185307));
    params.elevation = static_cast<float>(std::asin((2.0 * i + 1) / 64 - 1));
    params.radius = kRadius;
    params.falloffKind = Falloff::circleSmoothEdge;
    painter.addCirclePin(params, ColorBrush(1, 1, 1));
  }
}

void lightsOverColor(benchmark::State& state) {
  const auto painter = makePainter(8192);
  painter->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  addLights(*painter);
  bench::alone(state, "", [&] { painter->paint(); });
}

/// What the kept image takes below the lights, whose own time is what they take over a color; beside `memcpy`
/// of the map, in parallel.
void lightsOverKeptImage(benchmark::State& state) {
  const Host host = makeHost();
  const auto painter = makePainter(8192), lit = makePainter(8192), plain = makePainter(8192);
  painter->setScene(host.get());
  painter->setBackground(SunSkyBrush());
  lit->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  plain->setBackground(ColorBrush(0.1f, 0.2f, 0.3f));
  addLights(*painter);
  addLights(*lit);
  const auto from = painter->paint(), to = painter->paint();
  double lights = 0;
  {
    std::vector<double> with, without;
    for (int i = 0; i < bench::rounds(); ++i) {
      with.push_back(bench::settledMilliseconds([&] { lit->paint(); }));
      without.push_back(bench::settledMilliseconds([&] { plain->paint(); }));
    }
    lights = std::max(bench::median(with) - bench::median(without), 0.0);
  }
  bench::compare(
      state, "memcpy", [&] { painter->paint(); },
      [&] { bench::copyAll(to->pixels.data(), from->pixels.data(), from->pixels.size() * sizeof(Rgb)); });
  state.counters["own_ms"] = std::max(state.counters["own_ms"].value - lights, 0.0);
}

#define ONCE ->UseManualTime()->Iterations(1)

BENCHMARK(studioKept) ONCE;
BENCHMARK(lightsOverColor) ONCE;
BENCHMARK(lightsOverKeptImage) ONCE;

}  // namespace
