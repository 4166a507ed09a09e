#pragma once

#include <OpenImageIO/imagecache.h>
#include <OpenImageIO/texture.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "orvrender/images/ImageModule.h"
#include "orvrender/openimageio/MipPyramid.h"

namespace orv::host {

/// Filtered look-ups by a texture system of its own.
class TextureLookup final : public FilteredLookup {
 public:
  /// @param pixels the image; must outlive this. Throws std::bad_alloc.
  explicit TextureLookup(const Pixels& pixels);
  ~TextureLookup() override;
  TextureLookup(const TextureLookup&) = delete;
  TextureLookup& operator=(const TextureLookup&) = delete;

  bool sample(float s, float t, const orvImage_lookup& lookup, float rgba[4]) const override;
  std::size_t bytes() const override { return pyramid_.bytes(); }

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
