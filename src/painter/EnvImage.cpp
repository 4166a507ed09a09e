#include "hdri/EnvImage.h"

#include "painter/BlockedMap.h"

namespace orv::hdri {

EnvImage::EnvImage(std::int32_t w, std::int32_t h, std::pmr::memory_resource* memory)
    : width(w),
      height(h),
      pixels(static_cast<std::size_t>(blockedAVX2::checkedPixelCount(w, h)), PixelAllocator<Rgb>(memory)) {}

}  // namespace orv::hdri
