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
  std::uint64_t maxImagePixels = std::uint64_t{1} << 28;
  /// Most pixels of a size set with `orv_image_set_environment_size`: the map's, which no file claims.
  std::uint64_t maxEnvironmentPixels = std::uint64_t{1} << 29;
  std::uint64_t imageCacheBytes = std::uint64_t{1} << 30;  ///< budget of images kept for the next use
  bool keepBlocks = true;  ///< big blocks that are given back wait for the next request; false for one paint
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

/// Sets the size, columns by rows, in which a scene's environment images are wanted; 0 x 0 (as at the start),
/// or a side of 0: each in its own. Images that are loaded from then on with
/// `orvTexture_profile::environment` have that size, and their pixels are scaled to it when they are first
/// asked for, so that the mean light over the sphere stays. Their look-ups, filtered or not, and `mip_levels`
/// go by the file's own pixels. A painter thus takes a background of the map's size pixel by pixel, and fills
/// of the same file see all of it. Set it after the map's size was taken from an image. A size above the
/// scene's limits counts as 0 x 0, with a line in the log. Null is ignored. Thread-safe.
void orv_image_set_environment_size(orvScene* scene, std::uint32_t width, std::uint32_t height);

/// Where a render of the scene's sky, as its settings are now, would put the sun: longitude and latitude on
/// the map, degrees. @return false, and nothing stored, for a scene without a sky. As the sky, one thread at
/// a time.
bool orv_sky_sun(orvScene* scene, double* azimuth, double* elevation);

/// Marks a node's parameter as animated, or not. Set-up thread only.
void orv_node_set_animated(class orvNode* node, const char* name, bool animated);

}  // extern "C"
