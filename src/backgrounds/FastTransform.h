#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simd/Complex4.h"

namespace orv::hdri::blockedAVX2 {

/// The discrete Fourier transform of lines whose length is a product of 2, 3 and 5, four lines at a time and
/// in place:  Z(m) = sum over x of z(x) exp(-2 pi i m x / length),  and back (not divided by the length).
///
/// Forward, each step takes a block apart into as many as its radix, by the frequency modulo the radix
/// (decimation in frequency; Gentleman and Sande 1966); back, the steps are undone one by one. So frequencies
/// lie in an order of their own, and nothing is sorted. Blocks that do not fit the nearest cache are finished
/// one after the other. Const operations are callable from many threads.
class FastTransform {
 public:
  /// Whether a length is a product of 2, 3 and 5.
  static bool fits(std::uint32_t length);
  /// The length from `least` (at least 1) on whose transform takes the least time.
  static std::uint32_t lengthFor(std::uint32_t least);

  /// @param length at least 1, a product of 2, 3 and 5.
  explicit FastTransform(std::uint32_t length);

  std::uint32_t length() const { return length_; }
  /// Where frequency m = 0 ... length - 1 lies after `forward`.
  std::uint32_t slot(std::uint32_t m) const;

  void forward(Complex4* z) const;
  void back(Complex4* z) const;
  /// Forward, each frequency times a real number, and back. @param spectrum the number at the frequency's
  /// slot.
  void filter(Complex4* z, const double* spectrum) const;

 private:
  /// A step: blocks of `length` points become `radix` times as many of `next`.
  struct Level {
    std::uint32_t radix;
    std::uint32_t length;
    std::uint32_t next;
    std::vector<Root> twiddles;  // exp(-2 pi i p k / length) for p below `next`, k = 1 ... radix - 1
  };
  /// A step of all blocks among `points`, and its reverse.
  static void forwardStep(const Level& level, Complex4* z, std::size_t points);
  static void backStep(const Level& level, Complex4* z, std::size_t points);
  // The steps from level `first` on of the block z.
  void forwardFrom(std::size_t first, Complex4* z) const;
  void backFrom(std::size_t first, Complex4* z) const;
  void filterFrom(std::size_t first, Complex4* z, const double* spectrum) const;
  /// Whether the blocks of a level are too large for the nearest cache.
  bool isFar(std::size_t level) const;

  std::uint32_t length_;
  std::vector<Level> levels_;
};

}  // namespace orv::hdri::blockedAVX2
