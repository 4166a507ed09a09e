// Any sequence of a painter's calls with any arguments, against a model of what the interface promises: what
// each call returns, whether the background is painted, how many pins there are, the map's size, and that a
// painter with a past paints what a new one paints.
#include <fuzzer/FuzzedDataProvider.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "fuzz/any_brush.h"
#include "painter/BlockedPainter.h"
#include "support/fake_host/FakeHost.h"

namespace {

using namespace orv::hdri;

void require(bool holds) {
  if (!holds) std::abort();
}

std::unique_ptr<FakeImage> picture(std::uint32_t width, std::uint32_t height) {
  auto image = std::make_unique<FakeImage>(width, height);
  for (std::size_t i = 0; i < image->rgb.size(); ++i) image->rgb[i] = static_cast<float>(i % 23) * 0.1f;
  return image;
}

/// What the interface promises of a painter's state.
struct Model {
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool keepBackground = false;
  bool hasBackground = false;
  bool valid = false;
  bool isMap = false;        ///< the background is an image or a sky, not a plain function
  bool isGone = false;       ///< its image is not found
  bool pinShowsIt = false;   ///< a pin shows the background
  bool hasSampling = false;  ///< the map background was painted for such pins
  std::size_t pins = 0;

  bool tooLarge() const { return std::int64_t{width} * height > INT32_MAX; }
};

class Session {
 public:
  explicit Session(FuzzedDataProvider& data) : data_(data), painter_(createAVX2Painter()) {
    require(painter_ != nullptr);
  }
  ~Session() { destroyAVX2Painter(painter_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void run() {
    for (int i = 0; i < 60 && data_.remaining_bytes() > 0; ++i) {
      call();
      checkState();
    }
    compareWithNewPainter();
  }

 private:
  /// Calls the painter, and keeps the call for the new one.
  template <typename Call>
  auto apply(Call call) {
    calls_.push_back([call](IPainter& painter) { call(painter); });
    return call(*painter_);
  }

  void call() {
    switch (data_.ConsumeIntegralInRange(0, 9)) {
      case 0:
        return setSize();
      case 1:
        return setSizeFromImage();
      case 2:
        return setOptions();
      case 3:
        return setBackground();
      case 4:
      case 5:
        return addPin();
      case 6:
        return clear();
      case 7:
        require(painter_->reserved());
        return;
      case 8: {
        orvScene* const scene = data_.ConsumeBool() ? FakeHost::instance().scene() : nullptr;
        return apply([scene](IPainter& p) { p.setScene(scene); });
      }
      default:
        paint();
    }
  }

  void setSize() {
    // Small sizes, none, and those of too many pixels: what lies between takes memory, not care.
    static constexpr std::pair<std::int32_t, std::int32_t> kExtremes[] = {
        {INT_MAX, INT_MAX}, {46341, 46341}, {65536, 32768}, {INT_MAX, 2}, {INT_MIN, 5}, {7, -1},
        {INT_MAX, 0},       {0, INT_MAX},   {-1, -1}};
    std::pair<std::int32_t, std::int32_t> size(data_.ConsumeIntegralInRange(0, 40),
                                               data_.ConsumeIntegralInRange(0, 24));
    if (data_.ConsumeIntegralInRange(0, 5) == 0) size = data_.PickValueInArray(kExtremes);
    apply([size](IPainter& p) { p.setSize(size.first, size.second); });
    sizeChanges(size.first, size.second);
  }

  void sizeChanges(std::int32_t width, std::int32_t height) {
    if (width != model_.width || height != model_.height) model_.valid = false;
    model_.width = std::max(width, 0);
    model_.height = std::max(height, 0);
  }

  void setSizeFromImage() {
    const std::string path = data_.PickValueInArray<const char*>({"a", "b", "gone"});
    require(apply([path](IPainter& p) { return p.setSizeFromImage(path); }) == (path != "gone"));
    if (path == "gone") return;
    const FakeImage& image = *FakeHost::instance().images.at(path);
    sizeChanges(static_cast<std::int32_t>(image.width()), static_cast<std::int32_t>(image.height()));
  }

  void setOptions() {
    const PainterOptions options = {data_.ConsumeIntegral<std::uint8_t>(),
                                    data_.ConsumeIntegral<std::uint8_t>()};
    apply([options](IPainter& p) { p.setOptions(options); });
    model_.keepBackground = options.keepBackground != 0;
  }

  void setBackground() {
    bool ignored = false;
    const std::shared_ptr<Brush> brush = anyBrush(data_, ignored);
    const BrushKind kind = brush->kind();
    const bool hasSky = FakeHost::instance().sky != nullptr;
    const bool installed = kind != BrushKind::background && (kind != BrushKind::sunSky || hasSky);
    require(apply([brush](IPainter& p) { return p.setBackground(*brush); }) == installed);
    model_.valid = false;
    if (kind == BrushKind::background) return;
    model_.hasBackground = true;
    model_.isMap = kind == BrushKind::image || (kind == BrushKind::sunSky && hasSky);
    model_.isGone = kind == BrushKind::image && static_cast<const ImageBrush&>(*brush).path() == "gone";
    model_.hasSampling = false;
  }

  void addPin() {
    bool ignored = false;
    const std::shared_ptr<Brush> brush = anyBrush(data_, ignored);
    const auto falloff = static_cast<Falloff>(data_.PickValueInArray(
        {16u, 17u, 18u, 19u, 20u, 32u, 33u, 34u, 35u, 36u, 37u, 256u, 512u, 0u, 0xFFFFFFFFu}));
    const std::uint32_t half = data_.ConsumeIntegralInRange(0u, 2u);
    float numbers[7];
    for (float& number : numbers) number = anyFloat(data_);
    bool added = false;
    if (data_.ConsumeBool()) {
      const CirclePinParams pin = {numbers[0], numbers[1], numbers[2], numbers[3], half, falloff, numbers[4]};
      added = apply([pin, brush](IPainter& p) { return p.addCirclePin(pin, *brush); });
    } else {
      const RectPinParams pin = {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4],
                                 half,       numbers[5], falloff,    numbers[6]};
      added = apply([pin, brush](IPainter& p) { return p.addRectPin(pin, *brush); });
    }
    require(added == (brush->kind() != BrushKind::sunSky));
    if (!added) return;
    ++model_.pins;
    if (brush->kind() != BrushKind::background) return;
    model_.pinShowsIt = true;
    model_.valid = model_.valid && model_.hasBackground && (!model_.isMap || model_.hasSampling);
  }

  void clear() {
    apply([](IPainter& p) { p.clear(); });
    model_.pins = 0;
    model_.pinShowsIt = false;
    if (model_.keepBackground) return;
    model_.hasBackground = false;
    model_.valid = false;
  }

  void paint() {
    std::shared_ptr<EnvImage> map;
    const bool fails = model_.hasBackground && model_.tooLarge();
    try {
      map = painter_->paint();
      require(!fails);
    } catch (const std::length_error&) {
      require(fails);
      return;
    }
    const bool hasPixels = model_.width > 0 && model_.height > 0;
    require((map != nullptr) == (model_.hasBackground && hasPixels));
    if (map) {
      require(map->width == model_.width && map->height == model_.height);
      require(map->pixels.size() == std::size_t(model_.width) * std::size_t(model_.height));
    }
    if (!model_.hasBackground) return;
    if (!model_.valid || !model_.keepBackground) {
      // A white color takes the place of an image that is gone.
      if (model_.isGone) model_.isMap = model_.isGone = false;
      model_.hasSampling = model_.isMap && model_.pinShowsIt && hasPixels;
    }
    model_.valid = true;
  }

  void checkState() const {
    require(painter_->hasBackground() == model_.hasBackground);
    require(painter_->isValid() == model_.valid);
    require(painter_->getType() == PainterType::avx2);
    const auto& painter = static_cast<const blockedAVX2::BlockedPainter&>(*painter_);
    require(painter.pins().size() == model_.pins);
    require(painter.context().width == model_.width && painter.context().height == model_.height);
  }

  void compareWithNewPainter() {
    if (model_.tooLarge()) return;
    const std::shared_ptr<EnvImage> old = painter_->paint();
    const std::unique_ptr<IPainter, void (*)(IPainter*)> fresh(createAVX2Painter(), destroyAVX2Painter);
    for (const auto& call : calls_) call(*fresh);
    const std::shared_ptr<EnvImage> map = fresh->paint();
    require((old != nullptr) == (map != nullptr));
    if (!map) return;
    require(map->pixels.size() == old->pixels.size() &&
            std::memcmp(map->pixels.data(), old->pixels.data(), map->pixels.size() * sizeof(Rgb)) == 0);
  }

  FuzzedDataProvider& data_;
  IPainter* painter_;
  Model model_;
  std::vector<std::function<void(IPainter&)>> calls_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  FakeHost& host = FakeHost::instance();
  host.reset();
  host.images["a"] = picture(16, 8);
  host.images["b"] = picture(9, 13);
  host.images["b"]->showsPixels = false;
  if (data.ConsumeBool()) {
    host.sky = std::make_unique<FakeSky>();
    host.sky->onRender = [](float* rgb, std::uint32_t width, std::uint32_t height) {
      for (std::size_t i = 0; i < std::size_t{3} * width * height; ++i) rgb[i] = static_cast<float>(i % 7);
    };
  }
  const std::int64_t blocks = host.liveBlocks();
  Session(data).run();
  require(host.liveBlocks() == blocks);
  return 0;
}
