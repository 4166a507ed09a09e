#include "orvrender/sky/ReferenceSky.h"

#include <algorithm>
#include <cstddef>

namespace orv::host {

ReferenceSky::ReferenceSky() = default;
ReferenceSky::~ReferenceSky() = default;

void ReferenceSky::render(const void*, float* rgb, std::uint32_t width, std::uint32_t height) {
  std::fill_n(rgb, std::size_t{3} * width * height, 0.0f);
}

void ReferenceSky::set_sun_direction(const double*) {}

void ReferenceSky::use_own_sun() {}

}  // namespace orv::host
