#pragma once

#include <atomic>
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

/// Places of a failure that are no pin.
constexpr std::int32_t orvFailure_background = -1;
constexpr std::int32_t orvFailure_nowhere = -2;  ///< nothing was painted in its place: of a size, or a load

/// What went wrong, as a line of the log has told it.
struct orvFailure {
  const char* image;   ///< its path or name, as it was asked for; empty: it was no image
  const char* reason;  ///< the finding and the remedy, one line; empty when there was no memory for it
  std::int32_t pin;    ///< that shows a plain color for it, in the order of adding, from 0; or a place above
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

/// The version of this library: the `ORVHDRI_VERSION_STRING` (<hdri/version.h>) that it was built with.
const char* orv_version();

/// Makes a scene; null when there is no memory. Destroyed with its images, nodes and sky by
/// `orv_scene_destroy`.
orvScene* orv_scene_create(const orvScene_options& options);

/// Destroys a scene; null is ignored. No painter may use it any more.
void orv_scene_destroy(orvScene* scene);

/// Sends the log's lines to `listener`; null sends them to standard error, as at the start. Thread-safe.
void orv_log_set_listener(orvLog_listener listener, void* user);

/// Sends a scene's progress to `listener`; null drops it, as at the start. Thread-safe.
void orv_progress_set_listener(orvScene* scene, orvProgress_listener listener, void* user);

/// Lets a program cancel what is under way for a scene, a paint above all: within milliseconds of the flag's
/// being set rows end, files are left unread, and `IPainter::paint` gives null. The flag has to stay set
/// until `paint` has returned; the program clears it before it paints again. Set from anywhere, a signal
/// handler too.
/// @param flag lives until another is set; null, as at the start: nothing is cancelled. Thread-safe, but not
///        while the scene is painted.
void orv_cancel_set_flag(orvScene* scene, const std::atomic<bool>* flag);

/// What went wrong last since the scene was made or `orv_failure_clear`; null: nothing. What is cancelled is
/// no failure. The answer lives until the next failure of the scene, so ask between its paints.
const orvFailure* orv_failure_last(orvScene* scene);

/// Forgets what went wrong. Null is ignored.
void orv_failure_clear(orvScene* scene);

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

/// Gives a scene an image from memory, which brushes and `orv_image_load` find by its name as they find a
/// file by its path: it is scaled, blurred, rotated and filtered as one. It is copied, and stays until it is
/// replaced or removed; its bytes do not count to the scene's budget. Who has loaded an image of that name
/// keeps it as it was. A background that a painter keeps is not prepared again on its own.
/// @param name begins with `memory:` and goes on with anything, such as `memory:studio`.
/// @param rgb width x height linear RGB floats, rows packed from the top; NaN counts as 0 and an infinity as
///        65504 of its sign, as in files.
/// @return false, with a line in the log, without such a name or pixels, above the scene's limits of images,
///         or when there is no memory. Thread-safe.
bool orv_image_add(orvScene* scene, const char* name, const float* rgb, std::uint32_t width,
                   std::uint32_t height);

/// Takes such an image away. @return false when there is none. Thread-safe.
bool orv_image_remove(orvScene* scene, const char* name);

/// Marks a node's parameter as animated, or not. Set-up thread only.
void orv_node_set_animated(class orvNode* node, const char* name, bool animated);

}  // extern "C"
