#pragma once

#include <string_view>

#include "hdri/EnvImage.h"

namespace orv::scene {

/// Height of a line of text in pixels of scale 1.
inline constexpr int kTextRows = 8;

/// The pixels that a line of text is wide.
int textWidth(std::string_view text, int scale);

/// Draws a line of text in letters of 5 x 8 squares, each `scale` pixels wide, from its top left corner on.
/// What lies outside the picture is cut off; what is no printable ASCII is shown as a question mark.
void drawText(hdri::EnvImage& picture, std::string_view text, int left, int top, int scale,
              const hdri::Rgb& color);

}  // namespace orv::scene
