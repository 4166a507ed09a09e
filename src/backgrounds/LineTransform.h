#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "maps/AlignedArray.h"
#include "simd/Double4.h"

namespace orv::hdri::blockedAVX2 {

/// Complex numbers of four independent lines.
struct Complex4 {
  Double4 re;
  Double4 im;
};

/// The discrete Fourier transform of lines of one length, four at a time, for the frequencies up to a highest
/// one:  Z(m) = sum over x of z(x) exp(-2 pi i m x / length),  and back (not divided by the length).
///
/// The length is parts * partLength: the points x = a + parts * k of part a go through a fast transform of
/// length partLength, and the frequencies that are wanted are summed over the parts (Cooley and Tukey 1965).
/// A part is the shortest product of 2, 3 and 5 that holds the frequencies; a length with a larger prime
/// factor has more parts, which cost their sum.
/// Const operations are callable from many threads.
class LineTransform {
 public:
  /// @param length at least 1. @param highest frequency, at most length / 2.
  LineTransform(std::uint32_t length, std::uint32_t highest);

  std::uint32_t length() const { return length_; }
  std::uint32_t highest() const { return highest_; }

  /// What one thread needs.
  struct Scratch {
    explicit Scratch(const LineTransform& transform);
    AlignedArray<Complex4> points;    ///< `length` of them, at `slot(x)`
    AlignedArray<Complex4> positive;  ///< Z(0) ... Z(highest)
    AlignedArray<Complex4> negative;  ///< Z(0), Z(-1) ... Z(-highest)
    AlignedArray<Complex4> part[2];
  };

  /// Where point x lies.
  std::size_t slot(std::uint32_t x) const {
    return std::size_t{x % parts_} * partLength_ + x / parts_;
  }

  /// points -> positive and negative. `points` stay as they are.
  void forward(Scratch& scratch) const;
  /// positive and negative -> points. Frequencies above the highest count as 0; where the length is twice the
  /// highest frequency, Z(highest) and Z(-highest) are one, and positive holds it.
  void back(Scratch& scratch) const;

 private:
  struct Root {
    double re;
    double im;
  };
  /// The transform of the part at `from`; @return where the result lies, one of the two scratch parts.
  const Complex4* transformPart(const Complex4* from, Scratch& scratch) const;

  std::uint32_t length_;
  std::uint32_t highest_;
  std::uint32_t partLength_ = 1;
  std::uint32_t parts_ = 1;
  std::vector<std::uint32_t> radices_;  // their product is partLength_
  std::vector<Root> roots_;             // exp(-2 pi i j / length)
};

}  // namespace orv::hdri::blockedAVX2
