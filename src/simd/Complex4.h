#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/Double4.h"

namespace orv::hdri::blockedAVX2 {

/// Complex numbers of four independent lines.
struct Complex4 {
  Double4 re;
  Double4 im;
};

/// A number that is the same for all lines.
struct Root {
  double re;
  double im;
};

inline Complex4 splat(const Root& root) { return {splat(root.re), splat(root.im)}; }

inline Complex4 operator+(Complex4 a, Complex4 b) { return {a.re + b.re, a.im + b.im}; }
inline Complex4 operator-(Complex4 a, Complex4 b) { return {a.re - b.re, a.im - b.im}; }
inline Complex4 operator*(Double4 a, Complex4 b) { return {a * b.re, a * b.im}; }
inline Complex4 operator*(Complex4 a, Complex4 b) {
  return {fms(a.re, b.re, a.im * b.im), fma(a.re, b.im, a.im * b.re)};
}
/// a + b c
inline Complex4 fma(Complex4 a, Complex4 b, Complex4 c) {
  return {fnma(b.im, c.im, fma(b.re, c.re, a.re)), fma(b.im, c.re, fma(b.re, c.im, a.im))};
}
/// -i a
inline Complex4 turned(Complex4 a) { return {a.im, zero4() - a.re}; }
/// a - i b
inline Complex4 plusTurned(Complex4 a, Complex4 b) { return {a.re + b.im, a.im - b.re}; }
/// a + i b
inline Complex4 minusTurned(Complex4 a, Complex4 b) { return {a.re - b.im, a.im + b.re}; }
inline Complex4 conjugate(Complex4 a) { return {a.re, zero4() - a.im}; }
/// With real and imaginary parts exchanged before and after, the transform forward is the one back.
inline Complex4 exchanged(Complex4 a) { return {a.im, a.re}; }

}  // namespace orv::hdri::blockedAVX2
