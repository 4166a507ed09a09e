#pragma once

#include <cstdint>
#include <memory>

namespace orv::hdri {

class Brush;

/// Hears of changes to the brushes of an environment.
class BrushChangeListener {
 public:
  virtual void brushChanged(const std::shared_ptr<Brush>& brush) = 0;

 protected:
  ~BrushChangeListener() = default;
};

/// The host's environment object that holds brushes. Brushes refer to it weakly. Set-up thread only.
struct BrushOwner {
  std::uint8_t override = 0;                ///< all brushes of this environment are overridden
  std::uint8_t changed = 0;                 ///< something was changed since the host last looked
  std::uint8_t needsRepaint = 0;            ///< the map shown is older than the brushes
  std::uint8_t backgroundChanged = 0;       ///< the change concerns the background brush
  std::shared_ptr<Brush> background;        ///< the environment's background brush, if any
  BrushChangeListener* listener = nullptr;  ///< not owned; may be null
};

}  // namespace orv::hdri
