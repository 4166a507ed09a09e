#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "hdri/Brush.h"
#include "hdri/PinParams.h"

namespace orv::scene {

/// A key that every object of a scene may have: what people say of it, a text that is kept.
inline constexpr std::string_view kCommentKey = "comment";

/// A name that a value of a scene file may be.
struct NameRow {
  std::string_view name;
  unsigned uses = ~0u;      ///< where it may stand, as bits
  std::uint32_t value = 0;  ///< the enumerator; `kNames` fills it in
};

/// Uses of a falloff.
inline constexpr unsigned kOfCircle = 1;
inline constexpr unsigned kOfRect = 2;

/// How a scene reaches the painter: so that it keeps its light at every size, or as written.
enum class Quality { light, plain };

/// How a latitude-longitude picture lies: as ours, or as a renderer reads it (scene/layout.h).
enum class Layout { native, openexr, usd, blender, mitsuba, pbrt, three };

// The tables of names. They are switches without a `default:`, so that an enumerator without a row does not
// compile. Messages list names in the order of the enumerators' values.

constexpr NameRow nameRow(hdri::BlendMode mode) {
  switch (mode) {
    case hdri::BlendMode::add:
      return {"add"};
    case hdri::BlendMode::multiply:
      return {"multiply"};
    case hdri::BlendMode::mix:
      return {"mix"};
    case hdri::BlendMode::screen:
      return {"screen"};
  }
  return {};
}

constexpr NameRow nameRow(hdri::Falloff falloff) {
  switch (falloff) {
    case hdri::Falloff::circleCosine:
      return {"cosine", kOfCircle};
    case hdri::Falloff::circleLinear:
      return {"linear", kOfCircle};
    case hdri::Falloff::circleQuadratic:
      return {"quadratic", kOfCircle};
    case hdri::Falloff::circleSmoothEdge:
      return {"smoothEdge", kOfCircle};
    case hdri::Falloff::circleGaussianEdge:
      return {"gaussianEdge", kOfCircle};
    case hdri::Falloff::rectCosine:
      return {"cosine", kOfRect};
    case hdri::Falloff::rectLinear:
      return {"linear", kOfRect};
    case hdri::Falloff::rectQuadratic:
      return {"quadratic", kOfRect};
    case hdri::Falloff::rectBoxEdge:
      return {"boxEdge", kOfRect};
    case hdri::Falloff::rectBoxProduct:
      return {"boxProduct", kOfRect};
    case hdri::Falloff::rectBoxGaussian:
      return {"boxGaussian", kOfRect};
    case hdri::Falloff::outline:
      return {"outline", kOfCircle | kOfRect};
    case hdri::Falloff::solid:
      return {"solid", kOfCircle | kOfRect};
  }
  return {};
}

constexpr NameRow nameRow(Quality quality) {
  switch (quality) {
    case Quality::light:
      return {"light"};
    case Quality::plain:
      return {"plain"};
  }
  return {};
}

constexpr NameRow nameRow(Layout layout) {
  switch (layout) {
    case Layout::native:
      return {"native"};
    case Layout::openexr:
      return {"openexr"};
    case Layout::usd:
      return {"usd"};
    case Layout::blender:
      return {"blender"};
    case Layout::mitsuba:
      return {"mitsuba"};
    case Layout::pbrt:
      return {"pbrt"};
    case Layout::three:
      return {"three"};
  }
  return {};
}

/// All rows of an enumeration. None of them has values above 512.
template <typename Value>
inline constexpr auto kNames = [] {
  constexpr auto found = [] {
    std::pair<std::array<NameRow, 513>, std::size_t> rows{};
    for (std::uint32_t value = 0; value <= 512; ++value) {
      NameRow row = nameRow(static_cast<Value>(value));
      row.value = value;
      if (!row.name.empty()) rows.first[rows.second++] = row;
    }
    return rows;
  }();
  std::array<NameRow, found.second> rows{};
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = found.first[i];
  return rows;
}();

/// The name of a value; empty when it may not stand in any of `uses`.
template <typename Value>
constexpr std::string_view nameOf(Value value, unsigned uses = ~0u) {
  const NameRow row = nameRow(value);
  return (row.uses & uses) != 0 ? row.name : std::string_view();
}

}  // namespace orv::scene
