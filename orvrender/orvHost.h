#pragma once

#include <cstddef>
#include <cstdint>

class orvScene;

// What a host program asks of the reference host itself, beside the operations that a painter uses.

/// Hears each line of the log, without its newline. Called under a lock, from any thread.
using orvLog_listener = void (*)(void* user, const char* line);

/// Hears of progress: the phase's text (valid during the call) and the amount done in it, 0 to about 1.
/// Called under a lock, from any thread.
using orvProgress_listener = void (*)(void* user, const char* text, double amount);

/// What the memory operations have handed out.
struct orvMemory_counters {
  std::uint64_t liveBlocks;   ///< blocks not given back yet
  std::uint64_t liveBytes;    ///< their bytes
  std::uint64_t totalBlocks;  ///< blocks handed out since the program started
};

/// What a scene is made with.
struct orvScene_options {
  bool sky = true;                     ///< whether `orv_get_sky` finds one
  std::uint32_t maxImageSide = 65536;  ///< larger images are refused before anything is allocated
  std::uint64_t maxImagePixels = std::uint64_t{1} << 29;
  std::uint64_t imageCacheBytes = std::uint64_t{1} << 30;  ///< budget of images kept for the next use
};

extern "C" {

/// Makes a scene; null when there is no memory. Destroyed with its images, nodes and sky by
/// `orv_scene_destroy`.
orvScene* orv_scene_create(const orvScene_options& options);

/// Destroys a scene; null is ignored. No painter may use it any more.
void orv_scene_destroy(orvScene* scene);

/// Sends the log's lines to `listener`; null sends them to standard error, as at the start. Thread-safe.
void orv_log_set_listener(orvLog_listener listener, void* user);

/// Sends a scene's progress to `listener`; null drops it, as at the start. Thread-safe.
void orv_progress_set_listener(orvScene* scene, orvProgress_listener listener, void* user);

/// Counters of the memory operations. Thread-safe.
orvMemory_counters orv_memory_counters();

/// Makes the n-th allocation from now fail (1 is the next); 0 makes none fail. Thread-safe.
void orv_memory_fail_at(std::uint64_t n);

/// Marks a node's parameter as animated, or not. Set-up thread only.
void orv_node_set_animated(class orvNode* node, const char* name, bool animated);

}  // extern "C"
