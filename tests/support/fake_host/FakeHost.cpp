#include "support/fake_host/FakeHost.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sstream>

#include "host/orvLog.h"
#include "host/orvMemory.h"
#include "host/orvPaint.h"
#include "host/orvProgress.h"

struct FakeHost::State {
  mutable std::mutex mutex;
  std::vector<std::string> calls;
  std::vector<std::string> callsAndSteps;
  std::vector<float> progressAmounts;
  std::vector<std::string> log;
  std::vector<std::int32_t> fallbacks;
  std::atomic<std::int64_t> liveBlocks{0};
  std::atomic<std::int64_t> totalAllocations{0};
  std::atomic<std::int64_t> failAt{0};
  std::atomic<std::int64_t> questions{0};
  std::atomic<std::int64_t> cancelAt{0};
  std::atomic<std::size_t> lastBytes{0};
  std::atomic<std::size_t> lastAlignment{0};
  int sceneStorage = 0;
};

struct FakeHostAccess {
  static FakeHost::State& state() { return *FakeHost::instance().state_; }
  /// Counts an allocation. @return false when it is to fail.
  static bool admit() {
    State& s = state();
    ++s.totalAllocations;
    std::int64_t n = s.failAt.load();
    while (n > 0 && !s.failAt.compare_exchange_weak(n, n - 1)) {
    }
    if (n == 1) return false;
    ++s.liveBlocks;
    return true;
  }
  using State = FakeHost::State;
};

namespace {

/// Makes the two-call node creation of the fake scene.
class FakeSceneApi final : public orvScene_api {
 public:
  void begin_node(const char* typeName, std::uint32_t id, std::uint32_t flags) override {
    std::ostringstream text;
    text << "begin_node(\"" << typeName << "\", " << id << ", " << flags << ")";
    FakeHost::instance().record(text.str());
    begun_ = typeName;
  }
  orvNode* take_node() override {
    FakeHost& host = FakeHost::instance();
    host.record("take_node()");
    if (!host.giveNodes) return nullptr;
    host.nodes.push_back(std::make_unique<FakeNode>(begun_));
    return host.nodes.back().get();
  }

 private:
  std::string begun_;
};

const char* nameOf(const orvScene* scene) {
  if (!scene) return "null";
  return scene == FakeHost::instance().scene() ? "scene" : "other scene";
}

}  // namespace

FakeImage::FakeImage(std::uint32_t width, std::uint32_t height, std::vector<float> pixels)
    : rgb(std::move(pixels)),
      onLookup([](orvImage_lookup& l) {
        l.rgba[0] = l.u;
        l.rgba[1] = l.v;
        l.rgba[2] = 0;
        l.rgba[3] = 1;
      }),
      onLookupFiltered([](orvImage_lookup& l) {
        l.rgba[0] = l.u;
        l.rgba[1] = l.v;
        l.rgba[2] = 1;
        l.rgba[3] = 1;
      }),
      width_(width),
      height_(height) {
  if (rgb.empty()) rgb.resize(std::size_t{3} * width * height);
}

void FakeImage::get_pixel(std::int32_t x, std::int32_t y, float out[3]) const {
  const std::size_t i = 3 * (static_cast<std::size_t>(y) * width_ + static_cast<std::size_t>(x));
  for (std::size_t c = 0; c < 3; ++c) out[c] = rgb.at(i + c);
}

void FakeImage::set_filter_mode(orvFilter_mode mode) {
  mode_ = mode;
  FakeHost::instance().record("set_filter_mode(" + std::to_string(static_cast<unsigned>(mode)) + ")");
}

void FakeImage::lookup(orvImage_lookup& lookup) const { onLookup(lookup); }
void FakeImage::lookup_filtered(orvImage_lookup& lookup) const { onLookupFiltered(lookup); }

void FakeSky::render(const void* description, float* out, std::uint32_t width, std::uint32_t height) {
  FakeHost::instance().record("render(" + std::to_string(width) + ", " + std::to_string(height) + ")");
  lastDescription = description;
  if (onRender) onRender(out, width, height);
}

void FakeSky::set_sun_direction(const double* d) {
  FakeHost::instance().record("set_sun_direction");
  direction.assign(d, d + 3);
}

void FakeSky::use_own_sun() {
  FakeHost::instance().record("use_own_sun()");
  direction.clear();
}

FakeNode::~FakeNode() {
  for (auto& [name, array] : arrays) orv_free(array.data);
}

bool FakeNode::is_parameter_animated(const char* name) const {
  ++animationQuestions;
  const auto it = animated.find(name);
  return it != animated.end() && it->second;
}
void FakeNode::set_parameter(const char* name, std::uint32_t value) {
  order.emplace_back(name);
  uints[name] = value;
}
void FakeNode::set_parameter(const char* name, float value) {
  order.emplace_back(name);
  floats[name] = value;
}
void FakeNode::set_parameter(const char* name, const char* text) {
  order.emplace_back(name);
  texts[name] = text;
}
orvFloat_array& FakeNode::float_array(const char* name) {
  order.emplace_back(name);
  return arrays[name];
}

FakeHost::FakeHost() : state_(std::make_unique<State>()) {}
FakeHost::~FakeHost() = default;

FakeHost& FakeHost::instance() {
  static FakeHost host;
  return host;
}

void FakeHost::reset() {
  images.clear();
  sky.reset();
  nodes.clear();
  giveNodes = true;
  const std::lock_guard lock(state_->mutex);
  state_->calls.clear();
  state_->callsAndSteps.clear();
  state_->progressAmounts.clear();
  state_->log.clear();
  state_->fallbacks.clear();
  state_->failAt = 0;
  cancelAt(0);
}

std::vector<std::string> FakeHost::calls() const {
  const std::lock_guard lock(state_->mutex);
  return state_->calls;
}

std::vector<std::string> FakeHost::callsAndSteps() const {
  const std::lock_guard lock(state_->mutex);
  return state_->callsAndSteps;
}

std::vector<float> FakeHost::progressAmounts() const {
  const std::lock_guard lock(state_->mutex);
  return state_->progressAmounts;
}

std::vector<std::string> FakeHost::log() const {
  const std::lock_guard lock(state_->mutex);
  return state_->log;
}

orvScene* FakeHost::scene() { return reinterpret_cast<orvScene*>(&state_->sceneStorage); }
std::int64_t FakeHost::liveBlocks() const { return state_->liveBlocks; }
std::int64_t FakeHost::totalAllocations() const { return state_->totalAllocations; }
std::pair<std::size_t, std::size_t> FakeHost::lastAligned() const {
  return {state_->lastBytes, state_->lastAlignment};
}
void FakeHost::cancelAt(std::int64_t n) {
  state_->questions = 0;
  state_->cancelAt = n;
}
std::int64_t FakeHost::questions() const { return state_->questions; }
std::vector<std::int32_t> FakeHost::fallbacks() const {
  const std::lock_guard lock(state_->mutex);
  return state_->fallbacks;
}
void FakeHost::failAllocation(std::int64_t n) { state_->failAt = n; }

void FakeHost::record(std::string call) {
  const std::lock_guard lock(state_->mutex);
  state_->callsAndSteps.push_back(call);
  state_->calls.push_back(std::move(call));
}

extern "C" {

void* orv_malloc_aligned(std::size_t bytes, std::size_t alignment) {
  if (!FakeHostAccess::admit()) return nullptr;
  FakeHostAccess::state().lastBytes = bytes;
  FakeHostAccess::state().lastAlignment = alignment;
  return std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment + alignment);
}

void orv_free_aligned(void* storage) {
  if (storage) --FakeHostAccess::state().liveBlocks;
  std::free(storage);
}

void* orv_malloc(std::size_t bytes) { return FakeHostAccess::admit() ? std::malloc(bytes) : nullptr; }

void orv_free(void* storage) {
  if (storage) --FakeHostAccess::state().liveBlocks;
  std::free(storage);
}

void orv_critical(const char* format, ...) {
  char line[4096];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  const std::lock_guard lock(FakeHostAccess::state().mutex);
  FakeHostAccess::state().log.emplace_back(line);
}

void orv_progress_set(orvScene* scene, const char* text, float amount) {
  std::ostringstream call;
  call << "orv_progress_set(" << nameOf(scene) << ", \"" << text << "\", " << amount << ")";
  FakeHost::instance().record(call.str());
}

void orv_progress_add(orvScene* scene, float amount) {
  std::ostringstream step;
  step << "orv_progress_add(" << nameOf(scene) << ", " << amount << ")";
  const std::lock_guard lock(FakeHostAccess::state().mutex);
  FakeHostAccess::state().callsAndSteps.push_back(step.str());
  FakeHostAccess::state().progressAmounts.push_back(amount);
}

bool orv_cancelled(orvScene*) {
  auto& state = FakeHostAccess::state();
  const std::int64_t question = ++state.questions;
  return state.cancelAt > 0 && question >= state.cancelAt;
}

void orv_fallback(orvScene*, std::int32_t pin) {
  const std::lock_guard lock(FakeHostAccess::state().mutex);
  FakeHostAccess::state().fallbacks.push_back(pin);
}

orvImage* orv_image_load(orvScene* scene, const char* path, orvTexture_profile profile, bool cached,
                         const void* options) {
  std::ostringstream call;
  call << "orv_image_load(" << nameOf(scene) << ", \"" << path << "\", " << static_cast<unsigned>(profile)
       << ", " << std::boolalpha << cached << ", " << (options ? "options" : "null") << ")";
  FakeHost& host = FakeHost::instance();
  host.record(call.str());
  const auto it = host.images.find(path);
  return it == host.images.end() ? nullptr : it->second.get();
}

void orv_image_free(orvScene* scene, orvImage*, bool discard) {
  FakeHost::instance().record(std::string("orv_image_free(") + nameOf(scene) + ", image, " +
                              (discard ? "true" : "false") + ")");
}

void orv_image_free_mode(orvScene* scene, bool keep, bool discardAll) {
  FakeHost::instance().record(std::string("orv_image_free_mode(") + nameOf(scene) + ", " +
                              (keep ? "true" : "false") + ", " + (discardAll ? "true" : "false") + ")");
}

orvSky* orv_get_sky(orvScene* scene) {
  FakeHost::instance().record(std::string("orv_get_sky(") + nameOf(scene) + ")");
  return FakeHost::instance().sky.get();
}

orvScene_api* orv_get_scene_api(orvScene* scene) {
  static FakeSceneApi api;
  FakeHost::instance().record(std::string("orv_get_scene_api(") + nameOf(scene) + ")");
  return &api;
}

}  // extern "C"
