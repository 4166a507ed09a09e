#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/orvImage.h"
#include "host/orvNode.h"
#include "host/orvScene.h"
#include "host/orvSky.h"

/// An image of the fake host: pixels that a test wrote.
class FakeImage final : public orvImage {
 public:
  /// @param rgb width x height interleaved pixels; made zero when empty.
  FakeImage(std::uint32_t width, std::uint32_t height, std::vector<float> rgb = {});

  void get_pixel(std::int32_t x, std::int32_t y, float rgb[3]) const override;
  void set_filter_mode(orvFilter_mode mode) override;
  std::uint32_t width() const override { return width_; }
  std::uint32_t height() const override { return height_; }
  bool has_alpha() const override { return false; }
  const float* pixels() const override { return showsPixels ? rgb.data() : nullptr; }
  const char* path() const override { return ""; }
  orvFilter_mode filter_mode() const override { return mode_; }
  void lookup(orvImage_lookup& lookup) const override;
  std::uint64_t memory() const override { return rgb.size() * sizeof(float); }
  orvTexture_profile profile() const override { return orvTexture_profile::environment; }
  std::uint32_t mip_levels() const override { return 1; }
  void lookup_filtered(orvImage_lookup& lookup) const override;

  std::vector<float> rgb;
  bool showsPixels = true;  ///< whether `pixels` gives the array
  /// What look-ups answer: given the record, sets its `rgba`. Default: (u, v, 0, 1).
  std::function<void(orvImage_lookup&)> onLookup;
  /// The same for filtered look-ups. Default: (u, v, 1, 1).
  std::function<void(orvImage_lookup&)> onLookupFiltered;

 private:
  std::uint32_t width_;
  std::uint32_t height_;
  orvFilter_mode mode_ = orvFilter_mode::bilinear;
};

class FakeSky final : public orvSky {
 public:
  void render(const void* description, float* rgb, std::uint32_t width, std::uint32_t height) override;
  void set_sun_direction(const double* direction) override;
  void use_own_sun() override;

  /// Fills the buffer; default: writes nothing.
  std::function<void(float* rgb, std::uint32_t width, std::uint32_t height)> onRender;
  const void* lastDescription = nullptr;
  std::vector<double> direction;  ///< empty: own sun
};

class FakeNode final : public orvNode {
 public:
  explicit FakeNode(std::string type) : typeName(std::move(type)) {}
  ~FakeNode();
  FakeNode(const FakeNode&) = delete;
  FakeNode& operator=(const FakeNode&) = delete;

  bool is_parameter_animated(const char* name) const override;
  void set_parameter(const char* name, std::uint32_t value) override;
  void set_parameter(const char* name, float value) override;
  void set_parameter(const char* name, const char* text) override;
  orvFloat_array& float_array(const char* name) override;

  std::string typeName;
  std::vector<std::string> order;  ///< names in the order in which they were written
  std::map<std::string, std::uint32_t> uints;
  std::map<std::string, float> floats;
  std::map<std::string, std::string> texts;
  std::map<std::string, orvFloat_array> arrays;
  std::map<std::string, bool> animated;
  mutable int animationQuestions = 0;  ///< calls of `is_parameter_animated`
};

/// Stands in for the host: records every call with its arguments, answers with what a test has set up, counts
/// memory and makes allocations fail on demand. One per program; thread-safe where the host's operations are.
///
/// Calls are recorded as text, such as `orv_progress_set(scene, "Blur", 0)`. Memory calls are counted only.
class FakeHost {
 public:
  static FakeHost& instance();

  /// Back to a fresh host. Call in a test's SetUp.
  void reset();

  /// Recorded calls in order; progress_add calls are kept apart, for they come from many threads.
  std::vector<std::string> calls() const;
  /// All calls, progress_add among them, in order of arrival.
  std::vector<std::string> callsAndSteps() const;
  /// Amounts of orv_progress_add, in order of arrival.
  std::vector<float> progressAmounts() const;
  /// Lines of the log.
  std::vector<std::string> log() const;

  /// A scene pointer that tests may hand to a painter; never dereferenced.
  orvScene* scene();
  /// What orv_image_load finds.
  std::map<std::string, std::unique_ptr<FakeImage>> images;
  /// What orv_get_sky finds; null for none.
  std::unique_ptr<FakeSky> sky;
  /// Nodes made so far; with `giveNodes` false, taking a node gives null.
  std::vector<std::unique_ptr<FakeNode>> nodes;
  bool giveNodes = true;

  std::int64_t liveBlocks() const;
  std::int64_t totalAllocations() const;
  /// Bytes and alignment of the newest aligned allocation.
  std::pair<std::size_t, std::size_t> lastAligned() const;
  /// Cancels the paint at the n-th question of it from now (1 is the next), and at each after it; 0: never.
  void cancelAt(std::int64_t n);
  /// How often `orv_cancelled` was asked since.
  std::int64_t questions() const;
  /// Pins of `orv_fallback`, in order.
  std::vector<std::int32_t> fallbacks() const;

  /// Makes the n-th allocation from now fail (1 is the next); 0: none.
  void failAllocation(std::int64_t n);

  void record(std::string call);

 private:
  friend struct FakeHostAccess;
  FakeHost();
  ~FakeHost();
  struct State;
  std::unique_ptr<State> state_;
};
