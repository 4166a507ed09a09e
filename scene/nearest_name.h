#pragma once

#include <span>
#include <string>
#include <string_view>

namespace orv::scene {

/// The name most like `found`, letter case aside, when it is near enough to be a slip of the pen; else empty.
/// Counts inserted, deleted, replaced and swapped letters (optimal string alignment distance).
std::string_view nearestName(std::string_view found, std::span<const std::string_view> names);

/// `names` as "a, b, c".
std::string listOf(std::span<const std::string_view> names);

/// ` (did you mean "x"?)` when one of `names` is near `found`, else nothing.
std::string suggestion(std::string_view found, std::span<const std::string_view> names);

}  // namespace orv::scene
