#include "option_values.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "scene/map_file.h"
#include "scene/nearest_name.h"
#include "scene/scene_names.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

constexpr float kMostStops = 64.0f;

/// The number that is all of `text`; NaN for none.
float readNumber(const std::string& text) {
  float number = NAN;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + (text.starts_with('+') ? 1 : 0), end, number);
  return error == std::errc() && rest == end ? number : NAN;
}

std::vector<std::string_view> layoutNames() {
  std::vector<std::string_view> names;
  names.reserve(scene::kNames<scene::Layout>.size());
  for (const scene::NameRow& row : scene::kNames<scene::Layout>) names.push_back(row.name);
  return names;
}

std::vector<std::string_view> compressionNames() {
  std::vector<std::string_view> names;
  for (const scene::MapFormat& format : scene::mapFormats())
    for (const std::string_view name : format.compressions)
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  return names;
}

std::vector<std::string_view> formatNames() {
  std::vector<std::string_view> names = scene::mapEndings();
  for (std::string_view& name : names) name.remove_prefix(1);
  return names;
}

/// Why `text` is none of `names`, which `what` calls one of.
std::string noneOf(const std::string& text, const std::vector<std::string_view>& names,
                   const std::string& what) {
  return "\"" + text + "\" is not a " + what + scene::suggestion(text, names) +
         "; allowed: " + scene::listOf(names);
}

}  // namespace

std::string readSize(const std::string& text, std::optional<scene::MapSize>& size) {
  const char* end = text.data() + text.size();
  scene::MapSize read;
  const auto [x, widthError] = std::from_chars(text.data(), end, read.width);
  const bool hasWidth = widthError == std::errc() && x != end && (*x == 'x' || *x == 'X');
  const auto [rest, heightError] = std::from_chars(hasWidth ? x + 1 : end, end, read.height);
  const auto inRange = [](int side) { return side >= 1 && side <= scene::kMaxSide; };
  if (!hasWidth || heightError != std::errc() || rest != end || !inRange(read.width) || !inRange(read.height))
    return "\"" + text + "\" is not a size; allowed: WIDTHxHEIGHT, each from 1 to 65536, such as 4096x2048";
  if (std::int64_t{read.width} * read.height > scene::kMaxPixels)
    return "\"" + text + "\" is more than " + std::to_string(scene::kMaxPixels) + " pixels";
  size = read;
  return {};
}

std::string readExposure(const std::string& text, std::optional<float>& stops) {
  const float number = readNumber(text);
  stops.reset();
  if (text == "auto") return {};
  // Written so that a NaN is refused.
  if (!(std::abs(number) <= kMostStops))
    return "\"" + text + "\" is not an exposure; allowed: a number of stops from -64 to 64, auto";
  stops = number;
  return {};
}

std::string readLimit(const std::string& text, std::optional<float>& limit) {
  const float number = readNumber(text);
  if (!(number > 0 && std::isfinite(number)))
    return "\"" + text + "\" is not a limit; allowed: a number above 0";
  limit = number;
  return {};
}

std::string readPixels(const std::string& text, std::uint64_t& pixels) {
  const char* const end = text.data() + text.size();
  std::uint64_t number = 0;
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || number == 0)
    return "\"" + text + "\" is not a number of pixels; allowed: a whole number above 0";
  pixels = number;
  return {};
}

std::string readAzimuth(const std::string& text, float& azimuth) {
  const float number = readNumber(text);
  if (!(std::abs(number) <= 360))
    return "\"" + text + "\" is not a longitude; allowed: degrees from -360 to 360";
  azimuth = number;
  return {};
}

std::string readShard(const std::string& text, Shard& shard) {
  const char* const end = text.data() + text.size();
  Shard read;
  const auto [slash, numberError] = std::from_chars(text.data(), end, read.number);
  const bool hasSlash = numberError == std::errc() && slash != end && *slash == '/';
  const auto [rest, countError] = std::from_chars(hasSlash ? slash + 1 : end, end, read.count);
  constexpr std::size_t kMost = 1'000'000;
  if (!hasSlash || countError != std::errc() || rest != end || read.number < 1 || read.number > read.count ||
      read.count > kMost)
    return "\"" + text + "\" is not a part; allowed: I/N, I from 1 to N, such as 2/4";
  shard = read;
  return {};
}

std::string readThreads(const std::string& text, int& threads) {
  const char* const end = text.data() + text.size();
  int number = 0;
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || number < 1 || number > 1024)
    return "\"" + text + "\" is not a number of threads; allowed: 1 to 1024";
  threads = number;
  return {};
}

std::string readLayout(const std::string& text, scene::Layout& layout) {
  for (const scene::NameRow& row : scene::kNames<scene::Layout>) {
    if (row.name != text) continue;
    layout = static_cast<scene::Layout>(row.value);
    return {};
  }
  return noneOf(text, layoutNames(), "layout");
}

std::string readCompression(const std::string& text, std::string& compression) {
  const std::vector<std::string_view> names = compressionNames();
  if (std::find(names.begin(), names.end(), text) == names.end()) return noneOf(text, names, "compression");
  compression = text;
  return {};
}

std::string readFormat(const std::string& text, const scene::MapFormat*& format) {
  format = scene::mapFormatOf(text.starts_with('.') ? text : "." + text);
  return format ? std::string() : noneOf(text, formatNames(), "format");
}

std::string readUsd(const std::string& text, std::string& path) {
  if (!text.ends_with(".usda") && !text.ends_with(".usd"))
    return "\"" + text + "\" has no ending of a USD layer; allowed: .usda, .usd";
  path = text;
  return {};
}

std::string endingsText(bool previews) {
  std::vector<std::string_view> endings;
  for (const scene::MapFormat& format : scene::mapFormats())
    if (format.preview == previews) endings.push_back(format.endings[0]);
  if (!previews || endings.size() < 2) return scene::listOf(endings);
  const std::string_view last = endings.back();
  endings.pop_back();
  return scene::listOf(endings).append(" and ").append(last);
}

std::string compressionsText() {
  std::string text;
  for (const scene::MapFormat& format : scene::mapFormats()) {
    if (format.compressions.empty()) continue;
    text.append(text.empty() ? "" : "; ").append(format.name).append(": ");
    text.append(scene::listOf(format.compressions));
  }
  return text;
}

ValueKind valueKind(std::string_view name) {
  if (name == "LAYOUT") return {.words = layoutNames()};
  if (name == "COMPRESSION") return {.words = compressionNames()};
  if (name == "FORMAT") return {.words = formatNames()};
  if (name == "SCENE") return {.endings = {".json"}, .isFile = true};
  if (name == "JOBS") return {.endings = {".jsonl"}, .isFile = true};
  if (name == "LIBRARY") return {.endings = {".so"}, .isFile = true};
  if (name == "LAYER") return {.endings = {".usda", ".usd"}, .isFile = true};
  return {.isFile = name == "FILE" || name == "OUT" || name == "SHEET"};
}

}  // namespace orvpaint
