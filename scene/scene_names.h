#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "hdri/Brush.h"
#include "hdri/PinParams.h"

namespace orv::scene {

/// Names that a scene file gives to the values of an enumeration, in the order in which messages list them.
template <typename Value, std::size_t n>
struct NameTable {
  std::array<std::string_view, n> names;
  std::array<Value, n> values;

  std::string_view nameOf(Value value) const {
    for (std::size_t i = 0; i < n; ++i)
      if (values[i] == value) return names[i];
    return {};
  }
};

inline constexpr NameTable<hdri::BrushKind, 5> kBrushTypes{
    {"color", "gradient", "sunSky", "image", "background"},
    {hdri::BrushKind::color, hdri::BrushKind::gradient, hdri::BrushKind::sunSky, hdri::BrushKind::image,
     hdri::BrushKind::background}};

inline constexpr NameTable<hdri::BlendMode, 4> kModes{
    {"add", "multiply", "mix", "screen"},
    {hdri::BlendMode::add, hdri::BlendMode::multiply, hdri::BlendMode::mix, hdri::BlendMode::screen}};

enum class PinShapeKind { circle, rect };

inline constexpr NameTable<PinShapeKind, 2> kShapes{{"circle", "rect"},
                                                    {PinShapeKind::circle, PinShapeKind::rect}};

inline constexpr NameTable<hdri::Falloff, 7> kCircleFalloffs{
    {"cosine", "linear", "quadratic", "smoothEdge", "gaussianEdge", "outline", "solid"},
    {hdri::Falloff::circleCosine, hdri::Falloff::circleLinear, hdri::Falloff::circleQuadratic,
     hdri::Falloff::circleSmoothEdge, hdri::Falloff::circleGaussianEdge, hdri::Falloff::outline,
     hdri::Falloff::solid}};

inline constexpr NameTable<hdri::Falloff, 8> kRectFalloffs{
    {"cosine", "linear", "quadratic", "boxEdge", "boxProduct", "boxGaussian", "outline", "solid"},
    {hdri::Falloff::rectCosine, hdri::Falloff::rectLinear, hdri::Falloff::rectQuadratic,
     hdri::Falloff::rectBoxEdge, hdri::Falloff::rectBoxProduct, hdri::Falloff::rectBoxGaussian,
     hdri::Falloff::outline, hdri::Falloff::solid}};

}  // namespace orv::scene
