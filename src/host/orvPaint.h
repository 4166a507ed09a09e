#pragma once

#include <cstdint>

class orvScene;

// What a host may tell and hear of a paint. Both operations may be missing: a painter uses them when they
// come from the program or library from which `orv_progress_set` comes, and does without them otherwise.

extern "C" {

/// Whether the paint under way for `scene` (null without one) is to stop: its rows end, and `paint` gives no
/// map. Asked about once a row, from many threads at once; so it has to answer within nanoseconds. Once yes,
/// it stays yes until `paint` has returned; until then the host may leave images unloaded and the sky
/// unfinished.
bool orv_cancelled(orvScene* scene);

/// Tells that a plain color is painted in place of what was asked for, after a line in the log: the missing
/// image or sky is the one that the host was asked for last. @param pin which pin it is, in the order in
/// which they were added since the painter was cleared, from 0; -1: the background.
void orv_fallback(orvScene* scene, std::int32_t pin);

}  // extern "C"
