#include "scene/nearest_name.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orv::scene {
namespace {

/// Longer names are never a slip for one of ours; the limit keeps the table small.
constexpr std::size_t kLongestCompared = 64;

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::size_t distance(std::string_view a, std::string_view b) {
  // d[i][j]: of the first i letters of a and the first j of b.
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      d[i][j] = i + j;
      if (i == 0 || j == 0) continue;
      const bool same = lower(a[i - 1]) == lower(b[j - 1]);
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (same ? 0u : 1u)});
      if (i > 1 && j > 1 && lower(a[i - 1]) == lower(b[j - 2]) && lower(a[i - 2]) == lower(b[j - 1]))
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::string_view nearestName(std::string_view found, std::span<const std::string_view> names) {
  if (found.empty() || found.size() > kLongestCompared) return {};
  std::string_view nearest;
  // One slip in a short name, about one letter in three of a longer one.
  std::size_t best = std::max<std::size_t>(1, found.size() / 3) + 1;
  for (const std::string_view name : names) {
    const std::size_t d = distance(found, name);
    if (d < best && d < name.size()) {
      best = d;
      nearest = name;
    }
  }
  return nearest;
}

std::string listOf(std::span<const std::string_view> names) {
  std::string text;
  for (const std::string_view name : names) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

std::string suggestion(std::string_view found, std::span<const std::string_view> names) {
  const std::string_view nearest = nearestName(found, names);
  if (nearest.empty()) return {};
  return " (did you mean \"" + std::string(nearest) + "\"?)";
}

}  // namespace orv::scene
