#pragma once

#include <cstdint>
#include <memory>
#include <utility>

class orvNode;
class orvScene;

namespace orv::hdri {

struct BrushOwner;

/// What a brush paints with.
enum class BrushKind : std::uint32_t { color = 2, gradient = 3, sunSky = 4, image = 5, background = 6 };

/// How a fill is merged into the map; d is the map, s the fill, w the weight, per channel.
enum class BlendMode : std::uint32_t {
  add = 0,       ///< d + w s
  multiply = 1,  ///< d (w s + 1)
  mix = 2,       ///< d + (s - d) w
  screen = 3,    ///< 1 - (1 - w s) (1 - d)
};

/// Colour correction of a brush, applied in the order saturation, hue, scale, gamma.
struct Adjustments {
  float brightness = 1;  ///< multiplier; also scales the tint
  float gamma = 1;       ///< each channel becomes c^(1/gamma); values not above 0 count as 1
  float hueShift = 0;    ///< fraction of a full turn, used clamped to [0, 1]
  float saturation = 0;  ///< -1 grey, 0 unchanged, 1 strongest; used clamped to [-1, 1]
  float tintRed = 1;
  float tintGreen = 1;
  float tintBlue = 1;

  friend constexpr bool operator==(const Adjustments& a, const Adjustments& b) {
    return a.brightness == b.brightness && a.gamma == b.gamma && a.hueShift == b.hueShift &&
           a.saturation == b.saturation && a.tintRed == b.tintRed && a.tintGreen == b.tintGreen &&
           a.tintBlue == b.tintBlue;
  }
  friend constexpr bool operator!=(const Adjustments& a, const Adjustments& b) { return !(a == b); }
};

/// An adjustment and the name that host nodes know it by.
struct AdjustmentParameter {
  const char* name;
  float Adjustments::*value;
};
inline constexpr AdjustmentParameter kAdjustmentParameters[] = {
    {"brightness", &Adjustments::brightness}, {"gamma", &Adjustments::gamma},
    {"hueShift", &Adjustments::hueShift},     {"saturation", &Adjustments::saturation},
    {"tintRed", &Adjustments::tintRed},       {"tintGreen", &Adjustments::tintGreen},
    {"tintBlue", &Adjustments::tintBlue}};

/// Describes how the whole sphere (a background) or the inside of one pin (a fill) is painted. A value object
/// that host and painter share through shared pointers. Used on the set-up thread.
class Brush : public std::enable_shared_from_this<Brush> {
 public:
  virtual ~Brush();

  virtual BrushKind kind() const = 0;

  virtual void attachHook() {}

  /// The brush's own override flag, or else its owner's while that is alive.
  virtual bool isOverridden() const;

  /// Whether both describe the same paint. The blur, rotation and size take part only when `mapSettingsOn` is
  /// set, the blend mode only when it is clear. A NaN equals nothing.
  virtual bool equals(const Brush& other) const;

  virtual void detachHook() {}

  /// A new brush of the same values, without an owner and without a host node.
  virtual std::shared_ptr<Brush> clone() const = 0;

  /// The map size that the brush was set up for: width, height.
  virtual std::pair<std::uint32_t, std::uint32_t> size() const;

  /// Stores a new map size and tells the owner and its listener when it differs.
  /// @return true. @throws std::bad_weak_ptr when there is a live owner and no shared pointer holds the
  /// brush.
  virtual bool setSize(std::uint32_t width, std::uint32_t height);

  /// Writes the brush into its host parameter node, which is made on the first call.
  /// @return the node, owned by the host; null, and nothing written, when none could be made.
  virtual orvNode* hostNode(orvScene* scene);

  BlendMode mode() const { return static_cast<BlendMode>(mode_); }
  void setMode(BlendMode mode) { mode_ = static_cast<std::uint32_t>(mode); }
  const Adjustments& adjustments() const { return adjustments_; }
  Adjustments& adjustments() { return adjustments_; }
  float brightness() const { return adjustments_.brightness; }

  bool enabled() const { return enabled_ != 0; }
  void setEnabled(bool enabled) { enabled_ = enabled ? 1 : 0; }
  void setOverride(bool on) { override_ = on ? 1 : 0; }
  const std::weak_ptr<BrushOwner>& owner() const { return owner_; }
  void setOwner(std::weak_ptr<BrushOwner> owner) { owner_ = std::move(owner); }
  bool mapSettingsOn() const { return mapSettingsOn_ != 0; }
  void setMapSettingsOn(bool on) { mapSettingsOn_ = on ? 1 : 0; }

  /// Blur amount, percent-like: sigma is half of it, in hundredths of the map's width.
  float blurAmount() const { return blurAmount_; }
  /// Azimuth, then tilt of the sphere's rotation, degrees.
  float tiltAngle1() const { return tiltAngle1_; }
  float tiltAngle2() const { return tiltAngle2_; }
  void setBlurAmount(float amount) { blurAmount_ = amount; }
  /// Whether the blur is a Gaussian on the sphere, which keeps the light, with the amount's sigma at the
  /// equator. Off: along the map's columns and rows.
  bool blurOnSphere() const { return blurOnSphere_ != 0; }
  void setBlurOnSphere(bool on) { blurOnSphere_ = on ? 1 : 0; }
  void setTiltAngles(float azimuthDegrees, float tiltDegrees) {
    tiltAngle1_ = azimuthDegrees;
    tiltAngle2_ = tiltDegrees;
  }

 protected:
  Brush() = default;
  Brush(const Brush&) = delete;
  Brush& operator=(const Brush&) = delete;

  /// Copies what a clone shares: everything but the owner.
  void copyBaseTo(Brush& clone) const;

  /// The brush's host node, made under `typeName` when `node` is null, with the base values written into it;
  /// null when there is none.
  orvNode* exportBase(orvNode*& node, orvScene* scene, const char* typeName) const;

 private:
  std::uint8_t enabled_ = 1;
  std::uint8_t override_ = 0;
  std::weak_ptr<BrushOwner> owner_;
  std::uint32_t width_ = 4000;
  std::uint32_t height_ = 2000;
  std::uint32_t mode_ = 0;
  std::uint8_t mapSettingsOn_ = 0;
  Adjustments adjustments_;
  float blurAmount_ = 0;
  float tiltAngle1_ = 0;
  float tiltAngle2_ = 0;
  std::uint8_t blurOnSphere_ = 0;
};

}  // namespace orv::hdri
