#pragma once

#include <string_view>

#include "hdri/EnvImage.h"
#include "scene/scene_names.h"

// Latitude-longitude pictures as renderers read them. Who stands at the centre and looks at our middle column
// sees the same everywhere, and nowhere mirrored: in every layout our middle lies along the renderer's +x and
// our zenith up. docs/renderers.md derives it from the renderers' published formulas.

namespace orv::scene {

/// Quarters of the width by which a layout's columns lie to the left of ours: 0 to 3.
int quarterTurns(Layout layout);

/// What EXR files say of a layout in `orv:orientation`, in the axes of who reads it.
std::string_view orientationText(Layout layout);

/// Our longitude, degrees in [-180, 180), of column `x` of a picture in a layout. Whole numbers are the
/// pixels' samples; `openexr` has the first and the last of them at one longitude.
double columnLongitude(Layout layout, double x, int width);

/// The latitude of row `y`, degrees in [-90, 90]; beyond the poles it stays there. `openexr` has samples on
/// both poles.
double rowLatitude(Layout layout, double y, int height);

/// Whether `toLayout` moves whole columns of a map of this width, so that every value stays as it is.
bool movesWholeColumns(Layout layout, int width);

/// Whether a picture in this layout is what OpenEXR's `envmap` attribute says: y up, samples on the edges, of
/// 2 N x N pixels.
bool isOpenExrEnvmap(Layout layout, int width, int height);

/// Turns a map of ours into a layout. Whole columns are moved in place; where the width does not allow that,
/// and for samples on edges, the map is interpolated linearly, around the seam, and each pole becomes the
/// mean of the row beside it. Parallel; the values do not depend on the threads.
/// @throws std::bad_alloc; the map is then unchanged.
void toLayout(hdri::EnvImage& map, Layout layout);

}  // namespace orv::scene
