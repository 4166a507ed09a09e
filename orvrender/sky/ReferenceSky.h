#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "host/orvSky.h"
#include "orvrender/sky/SkyConditions.h"

namespace orv::host {

class Cancel;
class SkyModel;

/// The reference host's sky. One a scene; used from one thread at a time.
class ReferenceSky final : public orvSky {
 public:
  /// @param cancel the scene's, which outlives the sky; null: nothing is cancelled.
  explicit ReferenceSky(const Cancel* cancel = nullptr);
  ~ReferenceSky();
  ReferenceSky(const ReferenceSky&) = delete;
  ReferenceSky& operator=(const ReferenceSky&) = delete;

  /// Everything comes from the settings of this object: `description` is not looked at, the brush behind it
  /// may be gone. A render that is cancelled leaves pixels as they were. @throws std::bad_alloc.
  void render(const void* description, float* rgb, std::uint32_t width, std::uint32_t height) override;
  /// A direction without length, or with a component that is not finite, leaves the sun to place and time.
  void set_sun_direction(const double* direction) override;
  void use_own_sun() override;

  /// Where a render would put the sun.
  SunPlace sun() const;

  /// The model, or null before the first render.
  const SkyModel* model() const { return model_.get(); }

 private:
  const Cancel* cancel_;
  std::optional<std::array<double, 3>> direction_;  // normalised; none: the sun of place and time
  std::unique_ptr<SkyModel> model_;
};

}  // namespace orv::host
