#include "orvrender/files/read_exr.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string_view>
#include <vector>

#include "orvrender/files/ColorChannels.h"
#include "orvrender/files/ExrInput.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/files/exr_chunks.h"
#include "orvrender/files/image_rows.h"

namespace orv::host {
namespace {

/// The colour of a file, plain or of the first layer that has any; none without. Layers come in the order of
/// their names, which is not that of the channels' names.
std::optional<ColorChannels> colorOf(const ExrInput& input) {
  const std::vector<std::string>& names = input.names();
  if (const auto plain = channelsByName(names, false)) return plain;
  std::vector<int> order(names.size());
  std::iota(order.begin(), order.end(), 0);
  const auto layer = [&](int i) {
    const std::string_view name = names[static_cast<std::size_t>(i)];
    return name.substr(0, name.rfind('.') + 1);
  };
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return layer(a) < layer(b); });
  std::vector<std::string> sorted;
  sorted.reserve(order.size());
  for (const int i : order) sorted.push_back(names[static_cast<std::size_t>(i)]);
  auto found = channelsByName(sorted, true);
  if (!found) return std::nullopt;
  for (int* const channel : {&found->red, &found->green, &found->blue, &found->alpha})
    if (*channel >= 0) *channel = order[static_cast<std::size_t>(*channel)];
  return found;
}

bool isInteger(const ExrInput& input, const ColorChannels& channels) {
  const int all[] = {channels.red, channels.green, channels.blue, channels.alpha};
  return std::any_of(std::begin(all), std::end(all),
                     [&](int c) { return c >= 0 && input.channel(c).type == EXR_PIXEL_UINT; });
}

float load(const std::uint8_t* samples, std::size_t i) {
  float value = 0;
  std::memcpy(&value, samples + i * sizeof value, sizeof value);
  return value;
}

/// What one thread needs to read chunks.
class Worker {
 public:
  Worker(const ExrInput& input, const ColorChannels& channels, Pixels& out)
      : input_(input), channels_(channels), out_(out), chunks_(input) {}

  /// Reads the chunk that starts with row `y`, as much of it as lies in `wanted`.
  void read(std::int64_t y, const Window& wanted) {
    const std::uint8_t* const rows = chunks_.rows(y);
    const std::int64_t end = std::min(y + input_.chunkRows(), wanted.y1);
    for (std::int64_t row = std::max(y, wanted.y0); row < end; ++row)
      unpack(rows + static_cast<std::size_t>(row - y) * input_.rowBytes(), row, wanted);
  }

 private:
  void unpack(const std::uint8_t* bytes, std::int64_t y, const Window& wanted) {
    const auto width = static_cast<std::size_t>(wanted.width());
    const std::int64_t first = (y - input_.display().y0) * out_.width + (wanted.x0 - input_.display().x0);
    floats_.resize(4 * width);
    const std::uint8_t* const red = floatsOf(channels_.red, 0, bytes, wanted);
    // Grey is read once.
    const std::uint8_t* const green =
        channels_.green == channels_.red ? red : floatsOf(channels_.green, 1, bytes, wanted);
    const std::uint8_t* const blue =
        channels_.blue == channels_.red ? red : floatsOf(channels_.blue, 2, bytes, wanted);
    float* const rgb = out_.rgb.get() + 3 * first;
    for (std::size_t x = 0; x < width; ++x) {
      rgb[3 * x] = load(red, x);
      rgb[3 * x + 1] = load(green, x);
      rgb[3 * x + 2] = load(blue, x);
    }
    if (out_.alpha) {
      std::memcpy(out_.alpha.get() + first, floatsOf(channels_.alpha, 3, bytes, wanted),
                  width * sizeof(float));
    }
  }

  /// The samples of a channel in a row as floats, 0 for a missing one, not aligned. @param place of four,
  /// where they may be kept.
  const std::uint8_t* floatsOf(int channel, std::size_t place, const std::uint8_t* bytes,
                               const Window& wanted) {
    const auto width = static_cast<std::size_t>(wanted.width());
    const auto skipped = static_cast<std::size_t>(wanted.x0 - input_.data().x0);
    float* const kept = floats_.data() + place * width;
    if (channel < 0) {
      std::fill_n(kept, width, 0.0f);
    } else {
      const ExrChannel& source = input_.channel(channel);
      const std::uint8_t* const samples = bytes + source.offset;
      if (source.type == EXR_PIXEL_FLOAT) return samples + skipped * sizeof(float);
      halvesToFloats(samples + skipped * sizeof(std::uint16_t), width, kept);
    }
    return reinterpret_cast<const std::uint8_t*>(kept);
  }

  const ExrInput& input_;
  const ColorChannels& channels_;
  Pixels& out_;
  ExrChunkReader chunks_;
  std::vector<float> floats_;
};

void readChunks(const ExrInput& input, const ColorChannels& channels, const Window& wanted, Pixels& out) {
  const std::int64_t chunkRows = input.chunkRows();
  const std::int64_t first = (wanted.y0 - input.data().y0) / chunkRows;
  const std::int64_t end = (wanted.y1 - input.data().y0 + chunkRows - 1) / chunkRows;
  const auto pixels = static_cast<std::uint64_t>(wanted.width() * wanted.height());
  tbb::enumerable_thread_specific<Worker> workers([&] { return Worker(input, channels, out); });
  forEachImageRow(static_cast<std::uint32_t>(end - first), pixels, [&](std::uint32_t chunk) {
    workers.local().read(input.data().y0 + (first + chunk) * chunkRows, wanted);
  });
}

}  // namespace

std::optional<FilePixels> readExr(const std::string& path, const ImageLimits& limits) {
  const ExrInput input(path);
  if (!input.isPlain()) return std::nullopt;
  const std::optional<ColorChannels> channels = colorOf(input);
  if (!channels) {
    throw ImageError("it has no part with flat colour channels R, G, B or Y (it has: " +
                     channelList(input.names()) + "); write one");
  }
  if (isInteger(input, *channels)) return std::nullopt;
  checkSize("image", input.display(), limits);
  checkSize("data window", input.data(), limits);

  input.checkWeight();

  FilePixels read{allocatePixels(input.display(), channels->alpha >= 0), input.isStraight(), 1};
  const Window wanted = intersection(input.data(), input.display());
  if (!covers(input.data(), input.display())) blacken(read.pixels);
  read.firstRow = static_cast<std::uint32_t>(wanted.isEmpty() ? 0 : wanted.y0 - input.display().y0);
  read.endRow = static_cast<std::uint32_t>(wanted.isEmpty() ? 0 : wanted.y1 - input.display().y0);
  if (!wanted.isEmpty()) readChunks(input, *channels, wanted, read.pixels);
  return read;
}

std::optional<FileHeader> describeExr(const std::string& path) {
  const ExrInput input(path);
  if (!input.isPlain()) return std::nullopt;
  return input.header();
}

}  // namespace orv::host
