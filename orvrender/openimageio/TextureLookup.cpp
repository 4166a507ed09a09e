#include "orvrender/openimageio/TextureLookup.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>

#include "host/orvImage.h"
#include "orvrender/openimageio/PyramidInput.h"

namespace orv::host {
namespace {

std::atomic<std::uint64_t> nextId{1};

/// Footprints beyond the whole image see no more of it.
float footprint(float change) { return std::isfinite(change) ? std::clamp(change, -2.0f, 2.0f) : 0.0f; }

float scale(float width) { return std::isfinite(width) ? std::clamp(width, 0.0f, 1e3f) : 1.0f; }

}  // namespace

TextureLookup::TextureLookup(const Pixels& pixels)
    : pyramid_(pixels),
      channels_(pixels.alpha ? 4 : 3),
      id_(nextId.fetch_add(1)),
      cache_(OIIO::ImageCache::create(false)),
      system_(cache_ ? OIIO::TextureSystem::create(false, cache_.get()) : nullptr) {
  if (!system_) throw std::bad_alloc();
  // Tiles are copies of pixels that stay at hand, so the cache need not hold them all.
  const float megabytes = static_cast<float>(pixels.bytes() + pyramid_.bytes()) / (1 << 20);
  cache_->attribute("max_memory_MB", std::clamp(1.25f * megabytes, 64.0f, 512.0f));

  const OIIO::ustring name("orv:image:" + std::to_string(id_));
  const OIIO::ImageSpec configuration = PyramidInput::configuration(pyramid_);
  if (cache_->add_file(name, &PyramidInput::create, &configuration)) {
    handle_ = system_->get_texture_handle(name, threadInfo());
  }
  if (handle_ && !system_->good(handle_)) handle_ = nullptr;
}

void TextureLookup::DestroySystem::operator()(OIIO::TextureSystem* system) const {
  // TextureSystem::destroy of OpenImageIO 2.4 deletes it as an incomplete type: nothing that it holds is
  // freed.
  void* const storage = dynamic_cast<void*>(system);
  system->~TextureSystem();
  ::operator delete(storage);
}

TextureLookup::~TextureLookup() {
  for (const auto& [thread, info] : threadInfos_) system_->destroy_thread_info(info);
}

bool TextureLookup::sample(float s, float t, const orvImage_lookup& lookup, float rgba[4]) const {
  if (!handle_) return false;
  OIIO::TextureOpt options;
  options.swrap = OIIO::TextureOpt::WrapClamp;
  options.twrap = OIIO::TextureOpt::WrapClamp;
  options.mipmode = OIIO::TextureOpt::MipModeAniso;
  options.interpmode = OIIO::TextureOpt::InterpBilinear;
  options.anisotropic = static_cast<int>(std::clamp(lookup.maxAnisotropy, 1u, 64u));
  options.conservative_filter = lookup.conservative != 0;
  options.swidth = scale(lookup.widthS);
  options.twidth = scale(lookup.widthT);
  rgba[3] = 1;
  return system_->texture(handle_, threadInfo(), options, s, t, footprint(lookup.dsdx),
                          footprint(lookup.dtdx), footprint(lookup.dsdy), footprint(lookup.dtdy), channels_,
                          rgba);
}

OIIO::TextureSystem::Perthread* TextureLookup::threadInfo() const {
  // Each thread remembers what it uses of the images it looked at last.
  struct Entry {
    std::uint64_t id = 0;
    OIIO::TextureSystem::Perthread* info = nullptr;
  };
  constexpr std::size_t kEntries = 16;
  static thread_local Entry entries[kEntries];
  Entry& entry = entries[id_ % kEntries];
  if (entry.id == id_) return entry.info;

  const std::lock_guard lock(mutex_);
  OIIO::TextureSystem::Perthread*& info = threadInfos_[std::this_thread::get_id()];
  if (!info) info = system_->create_thread_info();
  entry = {id_, info};
  return info;
}

}  // namespace orv::host
