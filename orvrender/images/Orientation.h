#pragma once

#include "orvrender/files/Pixels.h"

namespace orv::host {

/// Turns and mirrors an image so that its rows run from the top and its columns from the left.
/// @param orientation how the file stores it, 1 to 8 as in TIFF 6.0 and Exif; any other counts as 1
/// (upright). Throws ImageError when there is no memory.
void reorient(Pixels& pixels, int orientation);

}  // namespace orv::host
