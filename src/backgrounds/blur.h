#pragma once

#include <cstddef>
#include <span>

#include "backgrounds/BlurSettings.h"
#include "maps/BlockedMap.h"

namespace orv::hdri::blockedAVX2 {

struct PaintContext;

/// Blurs a map in place with the settings' kernel: along the columns, where rows past a pole do not count and
/// the weights that do are brought to a sum of 1, then along the rows, which go on from their other end. Rows
/// have a period of the padded width; the padding lanes must hold the row again from its start, and do
/// afterwards. Progress advances by 1 in all.
///
/// Against double precision the error is below 2e-6 + 4e-9 * radius of the pixel; from a radius of 56 on,
/// where lines are filtered as Fourier transforms, below 5e-7 while values do not exceed 1e8
/// (tests/backgrounds/blur_test.cpp). The bytes do not depend on the number of threads.
/// @throws std::bad_alloc; the map is then unchanged or half blurred.
void blur(BlockedMap& map, const BlurSettings& settings, const PaintContext& context);

/// Makes the padding lanes of a row of `width` pixels hold the row again from its start.
void repeatIntoPadding(std::span<Block> row, std::size_t width);

}  // namespace orv::hdri::blockedAVX2
