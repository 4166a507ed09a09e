#include "backgrounds/ColorAdjustment.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orv::hdri::blockedAVX2 {
namespace {

constexpr float kNeutralTolerance = 1e-5f;

bool differs(float value, float neutral) { return std::abs(value - neutral) > kNeutralTolerance; }

/// Loads a block's planes, lets `step` change them and stores them back.
template <typename Step>
void forEachBlock(Block* blocks, std::size_t count, Step step) {
  for (std::size_t i = 0; i < count; ++i) {
    Float8 r = load(blocks[i].r);
    Float8 g = load(blocks[i].g);
    Float8 b = load(blocks[i].b);
    step(r, g, b);
    store(blocks[i].r, r);
    store(blocks[i].g, g);
    store(blocks[i].b, b);
  }
}

/// m = max(r, g, b); c' = max(c - (m - c) s, 0).
inline void saturate(Float8& r, Float8& g, Float8& b, Float8 s) {
  const Float8 m = max(max(r, g), b);
  r = min(max(fnma(m - r, s, r), zero8()), splat(kMost));
  g = min(max(fnma(m - g, s, g), zero8()), splat(kMost));
  b = min(max(fnma(m - b, s, b), zero8()), splat(kMost));
}

/// ((clamp(ramp, 0, 1) - 1) S + 1) V.
inline Float8 channelOfHue(Float8 ramp, Float8 saturation, Float8 value) {
  return limited(fma(clamp01(ramp) - splat(1.0f), saturation, splat(1.0f)) * value);
}

/// To hue, chroma and value by two ordered swaps, around by `shift` (a fraction of a turn), and back.
inline void shiftHue(Float8& r, Float8& g, Float8& b, Float8 shift) {
  // Order green and blue, then red against the larger of them.
  const Mask8 greenBelowBlue = g < b;
  const Float8 px = select(greenBelowBlue, b, g);
  const Float8 py = select(greenBelowBlue, g, b);
  const Float8 pz = select(greenBelowBlue, splat(-1.0f), zero8());
  const Float8 pw = select(greenBelowBlue, splat(2.0f / 3.0f), splat(-1.0f / 3.0f));
  const Mask8 redBelow = r < px;
  const Float8 qx = select(redBelow, px, r);
  const Float8 qz = select(redBelow, pw, pz);
  const Float8 qw = select(redBelow, r, px);

  const Float8 chroma = limited(qx - min(qw, py));
  const Float8 value = qx;
  const Float8 tiny = splat(1e-20f);
  // Of negative colours either may overflow: limited, they can not make a NaN.
  const Float8 saturation = limited(chroma / (value + tiny));
  const Float8 six = splat(6.0f);
  Float8 hue = abs(limited((qw - py) / limited(fma(six, chroma, tiny))) + qz) + shift;
  hue = hue - keep(hue > splat(1.0f), splat(1.0f));

  r = channelOfHue(abs(fma(six, hue, splat(-3.0f))) - splat(1.0f), saturation, value);
  g = channelOfHue(splat(2.0f) - abs(fma(six, hue, splat(-2.0f))), saturation, value);
  b = channelOfHue(splat(2.0f) - abs(fma(six, hue, splat(-4.0f))), saturation, value);
}

/// `power`, inlined into the loops.
[[gnu::always_inline]] inline Float8 raise(Float8 c, Float8 exponent) {
  // c = m 2^e with m in [sqrt(1/2), sqrt(2)). 0x3f3504f3 is sqrt(1/2): adding the gap to 1 carries mantissas
  // at or above it into the exponent.
  const Int8 shifted = floatToBits(c) + splat(0x3f800000 - 0x3f3504f3);
  const Float8 e = toFloat(shiftRight<23>(shifted) - splat(127));
  const Float8 m = bitsToFloat((shifted & splat(0x007fffff)) + splat(0x3f3504f3));

  // ln m = f - f^2 / 2 + f^3 P(f), P in Estrin's scheme.
  const Float8 f = m - splat(1.0f);
  const Float8 f2 = f * f;
  const Float8 f4 = f2 * f2;
  const Float8 p01 = fma(splat(-2.4999993993e-1f), f, splat(3.3333331174e-1f));
  const Float8 p23 = fma(splat(-1.6668057665e-1f), f, splat(2.0000714765e-1f));
  const Float8 p45 = fma(splat(-1.2420140846e-1f), f, splat(1.4249322787e-1f));
  const Float8 p67 = fma(splat(-1.1514610310e-1f), f, splat(1.1676998740e-1f));
  const Float8 p8 = splat(7.0376836292e-2f);
  const Float8 low = fma(p23, f2, p01);
  const Float8 high = fma(fma(p8, f2, p67), f2, p45);
  const Float8 tail = f2 * fma(f, fma(high, f4, low), splat(-0.5f));

  // ln c = e ln2Hi + (f + tail + e ln2Lo). The first product is exact; its product with the exponent is
  // carried in two parts.
  const Float8 ln2Hi = splat(0.6933594f);
  const Float8 ln2Lo = splat(-0.00021219444f);
  const Float8 lnHi = e * ln2Hi;
  const Float8 lnLo = f + fma(e, ln2Lo, tail);
  const Float8 productHi = exponent * lnHi;
  const Float8 productLo = fma(exponent, lnLo, fms(exponent, lnHi, productHi));

  // Powers far out of range stop at n = -127 and 128, with a remainder that stays small.
  const Float8 ratio = (productHi + productLo) * splat(1.442695f);
  const Float8 n = roundNearest(max(min(ratio, splat(128.0f)), splat(-127.0f)));
  Float8 r = fnma(n, ln2Lo, productLo) + fnma(n, ln2Hi, productHi);
  r = max(min(r, splat(0.5f)), splat(-0.5f));

  // e^r after Cephes, in Estrin's scheme.
  const Float8 r2 = r * r;
  const Float8 e01 = fma(splat(1.6666665459e-1f), r, splat(5.0000001201e-1f));
  const Float8 e23 = fma(splat(8.3334519073e-3f), r, splat(4.1665795894e-2f));
  const Float8 e45 = fma(splat(1.9875691500e-4f), r, splat(1.3981999507e-3f));
  const Float8 series = fma(fma(e45, r2, e23), r2, e01);
  const Float8 mantissa = fma(series, r2, r) + splat(1.0f);

  // Times 2^n in the exponent's bits, held between 0 and the largest finite float.
  const Int8 scaled = floatToBits(mantissa) + shiftLeft<23>(toIntNearest(n));
  const Float8 result = bitsToFloat(min(max(scaled, splat(0)), splat(0x7f7fffff)));
  return keep(c >= splat(std::numeric_limits<float>::min()), result);
}

}  // namespace

Float8 power(Float8 c, Float8 exponent) { return raise(c, exponent); }

ColorAdjustment::ColorAdjustment(const Adjustments& a) {
  // Written so that a NaN becomes the neutral value.
  const float gamma = a.gamma > 0.0f ? a.gamma : 1.0f;
  const float hueShift = a.hueShift > 0.0f ? std::min(a.hueShift, 1.0f) : 0.0f;
  const float saturation = a.saturation == a.saturation ? std::clamp(a.saturation, -1.0f, 1.0f) : 0.0f;
  const float tint[3] = {a.tintRed, a.tintGreen, a.tintBlue};

  // Limited so that the product with any logarithm stays finite.
  invGamma_ = splat(std::min(1.0f / gamma, 1e30f));
  hueShift_ = splat(hueShift);
  saturation_ = splat(saturation);
  gammaOn_ = differs(gamma, 1.0f);
  saturationOn_ = differs(saturation, 0.0f);
  hueOn_ = differs(hueShift, 0.0f);
  scaleOn_ = differs(a.brightness, 1.0f);
  for (int i = 0; i < 3; ++i) {
    const float scale = a.brightness * tint[i];
    scale_[i] = splat(limited(scale));
    scaleOn_ = scaleOn_ || differs(scale, 1.0f);
    negates_ = negates_ || scale < 0.0f;
  }
}

void ColorAdjustment::apply(Block* blocks, std::size_t count) const {
  if (saturationOn_) {
    const Float8 s = saturation_;
    forEachBlock(blocks, count, [s](Float8& r, Float8& g, Float8& b) { saturate(r, g, b, s); });
  }
  if (hueOn_) {
    const Float8 shift = hueShift_;
    forEachBlock(blocks, count, [shift](Float8& r, Float8& g, Float8& b) { shiftHue(r, g, b, shift); });
  }
  if (scaleOn_) {
    const Float8 red = scale_[0], green = scale_[1], blue = scale_[2];
    forEachBlock(blocks, count, [=](Float8& r, Float8& g, Float8& b) {
      r = limited(r * red);
      g = limited(g * green);
      b = limited(b * blue);
    });
  }
  if (gammaOn_) {
    const Float8 exponent = invGamma_;
    forEachBlock(blocks, count, [exponent](Float8& r, Float8& g, Float8& b) {
      r = raise(r, exponent);
      g = raise(g, exponent);
      b = raise(b, exponent);
    });
  }
}

}  // namespace orv::hdri::blockedAVX2
