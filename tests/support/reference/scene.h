#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "hdri/Brush.h"
#include "hdri/PinParams.h"

/// What both painters are given: a whole scene with its images.
namespace reference {

/// Interleaved RGB pixels, rows packed from the top.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<float> rgb;
};

struct Pin {
  std::variant<orv::hdri::CirclePinParams, orv::hdri::RectPinParams> shape;
  std::shared_ptr<const orv::hdri::Brush> fill;
};

struct Scene {
  int width = 0;
  int height = 0;
  bool smoothing = false;
  std::shared_ptr<const orv::hdri::Brush> background;
  std::vector<Pin> pins;
  std::map<std::string, Image> images;  ///< by path; a path that is not here is a missing file
};

}  // namespace reference
