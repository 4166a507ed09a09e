#pragma once

#include <OpenImageIO/imagecache.h>
#include <OpenImageIO/texture.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "orvrender/images/MipPyramid.h"

struct orvImage_lookup;

namespace orv::host {

/// Filtered look-ups into an image by a texture system of its own. Callable from many threads.
class FilteredLookup {
 public:
  /// @param pixels the image; must outlive this. Throws std::bad_alloc.
  explicit FilteredLookup(const Pixels& pixels);
  ~FilteredLookup();
  FilteredLookup(const FilteredLookup&) = delete;
  FilteredLookup& operator=(const FilteredLookup&) = delete;

  /// The image over the footprint: red, green, blue (associated) and alpha, 1 without one.
  /// @param s, t in [0, 1], t downward.
  /// @return false when the texture system finds nothing.
  bool sample(float s, float t, const orvImage_lookup& lookup, float rgba[4]) const;

  std::size_t bytes() const { return pyramid_.bytes(); }

 private:
  struct DestroyCache {
    void operator()(OIIO::ImageCache* cache) const { OIIO::ImageCache::destroy(cache); }
  };
  struct DestroySystem {
    void operator()(OIIO::TextureSystem* system) const;
  };

  OIIO::TextureSystem::Perthread* threadInfo() const;

  MipPyramid pyramid_;
  int channels_;
  std::uint64_t id_;  // of this object, unlike any other's before or after
  std::unique_ptr<OIIO::ImageCache, DestroyCache> cache_;
  std::unique_ptr<OIIO::TextureSystem, DestroySystem> system_;  // uses the cache
  OIIO::TextureSystem::TextureHandle* handle_ = nullptr;
  mutable std::mutex mutex_;
  mutable std::map<std::thread::id, OIIO::TextureSystem::Perthread*> threadInfos_;
};

}  // namespace orv::host
