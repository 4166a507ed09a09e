#pragma once

#include <cstdint>

#include "host/orvSky.h"

namespace orv::host {

/// The reference host's sky. One a scene; used from one thread at a time.
class ReferenceSky final : public orvSky {
 public:
  ReferenceSky();
  ~ReferenceSky();
  ReferenceSky(const ReferenceSky&) = delete;
  ReferenceSky& operator=(const ReferenceSky&) = delete;

  void render(const void* description, float* rgb, std::uint32_t width, std::uint32_t height) override;
  void set_sun_direction(const double* direction) override;
  void use_own_sun() override;
};

}  // namespace orv::host
