#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "hdri/Brush.h"
#include "hdri/PinParams.h"

namespace orv::scene {

/// A value of an enumeration as a scene file names it.
struct NameRow {
  std::string_view name;
  unsigned uses = ~0u;      ///< where it may stand: bits such as `kOfCircle`
  std::uint32_t value = 0;  ///< the enumerator; the table fills it in
};

enum class PinShape { circle, rect };

/// Uses of a falloff.
inline constexpr unsigned kOfCircle = 1;
inline constexpr unsigned kOfRect = 2;
/// Uses of a type of brush.
inline constexpr unsigned kAsBackground = 1;
inline constexpr unsigned kAsFill = 2;

// The tables of names. They are switches without a `default:`, so that an enumerator without a row does not
// compile. Messages list names in the order of the enumerators' values.

constexpr NameRow nameRow(PinShape shape) {
  switch (shape) {
    case PinShape::circle:
      return {"circle"};
    case PinShape::rect:
      return {"rect"};
  }
  return {};
}

constexpr NameRow nameRow(hdri::BrushKind kind) {
  switch (kind) {
    case hdri::BrushKind::color:
      return {"color", kAsBackground | kAsFill};
    case hdri::BrushKind::gradient:
      return {"gradient", kAsBackground | kAsFill};
    case hdri::BrushKind::sunSky:
      return {"sunSky", kAsBackground};
    case hdri::BrushKind::image:
      return {"image", kAsBackground | kAsFill};
    case hdri::BrushKind::background:
      return {"background", kAsFill};
  }
  return {};
}

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

/// All rows of an enumeration. None of them has values above 512.
template <typename Value>
inline constexpr auto kNames = [] {
  constexpr auto isNamed = [](std::uint32_t v) { return !nameRow(static_cast<Value>(v)).name.empty(); };
  constexpr std::size_t count = [&] {
    std::size_t n = 0;
    for (std::uint32_t v = 0; v <= 512; ++v) n += isNamed(v) ? 1 : 0;
    return n;
  }();
  std::array<NameRow, count> rows{};
  std::size_t i = 0;
  for (std::uint32_t v = 0; v <= 512; ++v) {
    if (!isNamed(v)) continue;
    rows[i] = nameRow(static_cast<Value>(v));
    rows[i++].value = v;
  }
  return rows;
}();

/// The name of a value; empty when it may not stand in any of `uses`.
template <typename Value>
constexpr std::string_view nameOf(Value value, unsigned uses = ~0u) {
  const NameRow row = nameRow(value);
  return (row.uses & uses) != 0 ? row.name : std::string_view();
}

}  // namespace orv::scene
