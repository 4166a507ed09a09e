#include "scene/sweep.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <utility>

namespace orv::scene {
namespace {

/// The number that is all of `text`, if it is one.
std::optional<double> numberOf(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  std::size_t depth = 0;
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (quoted && text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && (text[i] == '[' || text[i] == '{')) {
      ++depth;
    } else if (!quoted && depth > 0 && (text[i] == ']' || text[i] == '}')) {
      --depth;
    } else if (!quoted && depth == 0 && text[i] == separator) {
      parts.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  parts.push_back(text.substr(std::min(start, text.size())));
  return parts;
}

/// Without the noise in the last digits that adding steps up makes.
double rounded(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.12g", number);
  return std::strtod(text, nullptr);
}

std::vector<double> range(const std::string& what, double from, double to, double step) {
  if (step == 0 || (to - from) / step < 0)
    throw SettingError(what + ": a step of " + numberText(step) + " does not lead from " + numberText(from) +
                       " to " + numberText(to));
  const double count = std::floor((to - from) / step * (1 + 1e-12) + 1e-9) + 1;
  if (!(count <= static_cast<double>(kMostMaps)))
    throw SettingError(what + ": more than " + std::to_string(kMostMaps) + " values");
  std::vector<double> values(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = rounded(from + static_cast<double>(i) * step);
  return values;
}

JsonValue numberValue(double number) {
  JsonValue value = settingValue(numberText(number), "number");
  return value;
}

/// An integer at the start of `text`, which is cut off.
std::optional<long> takeInteger(std::string_view& text) {
  long number = 0;
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return number;
}

}  // namespace

Sweep parseSweep(std::string_view text) {
  auto [path, values] = splitSetting(text);
  Sweep sweep{std::move(path), {}};
  const std::vector<std::string_view> ends = split(values, ':');
  std::vector<double> numbers;
  for (const std::string_view end : ends)
    if (const auto number = numberOf(end)) numbers.push_back(*number);
  if ((ends.size() == 2 || ends.size() == 3) && numbers.size() == ends.size()) {
    const double step = ends.size() == 3 ? numbers[2] : numbers[0] <= numbers[1] ? 1.0 : -1.0;
    for (const double value : range(sweep.path, numbers[0], numbers[1], step))
      sweep.values.push_back(numberValue(value));
    return sweep;
  }
  for (const std::string_view value : split(values, ','))
    sweep.values.push_back(settingValue(value, sweep.path));
  return sweep;
}

std::vector<double> parseFrames(std::string_view text) {
  const std::string whole(text);
  std::vector<double> frames;
  for (std::string_view part : split(text, ',')) {
    const std::optional<long> from = takeInteger(part);
    std::optional<long> to = from;
    std::optional<long> step = 1;
    if (from && part.starts_with('-')) {
      part.remove_prefix(1);
      to = takeInteger(part);
      if (to && part.starts_with('x')) {
        part.remove_prefix(1);
        step = takeInteger(part);
      }
    }
    if (!from || !to || !step || *step < 1 || *to < *from || !part.empty())
      throw SettingError("\"" + whole +
                         "\" are no frames; allowed: FROM-TO, FROM-TOxSTEP, such as 1-240 or 1-240x2");
    const std::vector<double> more = range("\"" + whole + "\"", static_cast<double>(*from),
                                           static_cast<double>(*to), static_cast<double>(*step));
    frames.insert(frames.end(), more.begin(), more.end());
    if (frames.size() > kMostMaps)
      throw SettingError("\"" + whole + "\": more than " + std::to_string(kMostMaps) + " frames");
  }
  return frames;
}

std::vector<Job> multiply(const std::vector<Job>& jobs, const std::vector<Sweep>& sweeps,
                          const std::vector<double>& frames) {
  std::size_t count = jobs.size() * std::max<std::size_t>(frames.size(), 1);
  for (const Sweep& sweep : sweeps) {
    count *= sweep.values.size();
    if (count > kMostMaps) break;
  }
  if (count > kMostMaps)
    throw SettingError("more than " + std::to_string(kMostMaps) +
                       " maps in one call; name them by job lines in several files");
  std::vector<Job> all = jobs;
  for (const Sweep& sweep : sweeps) {
    std::vector<Job> more;
    more.reserve(all.size() * sweep.values.size());
    for (const Job& job : all) {
      for (const JsonValue& value : sweep.values) {
        more.push_back(job);
        more.back().set.push_back({sweep.path, value});
      }
    }
    all = std::move(more);
  }
  if (frames.empty()) return all;
  std::vector<Job> more;
  more.reserve(all.size() * frames.size());
  for (const Job& job : all) {
    for (const double frame : frames) {
      more.push_back(job);
      more.back().frame = frame;
    }
  }
  return more;
}

}  // namespace orv::scene
