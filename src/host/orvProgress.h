#pragma once

class orvScene;

extern "C" {

/// Starts a phase of work: its name (copied) and the amount done so far, 0 to 1. Thread-safe.
void orv_progress_set(orvScene* scene, const char* text, float amount);

/// Advances the current phase by `amount`. Callable from many threads at once.
void orv_progress_add(orvScene* scene, float amount);

}  // extern "C"
