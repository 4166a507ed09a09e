#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backgrounds/FastTransform.h"
#include "maps/AlignedArray.h"
#include "simd/Complex4.h"

namespace orv::hdri::blockedAVX2 {

/// The discrete Fourier transform of lines of one length, four at a time, for the frequencies up to a highest
/// one:  Z(m) = sum over x of z(x) exp(-2 pi i m x / length),  and back (not divided by the length).
///
/// The length is parts * partLength: the points x = a + parts * k of part a go through a fast transform of
/// length partLength, and the frequencies that are wanted are summed over the parts (Cooley and Tukey 1965).
/// A part is the shortest product of 2, 3 and 5 that holds the frequencies. A length with so large a prime
/// factor that its parts are many goes through a convolution with a chirp instead (Bluestein 1970).
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
    AlignedArray<Complex4> points;    ///< point x at `slot(x)`
    AlignedArray<Complex4> positive;  ///< Z(0) ... Z(highest)
    AlignedArray<Complex4> negative;  ///< Z(0), Z(-1) ... Z(-highest)
    AlignedArray<Complex4> chirped;
  };

  /// Where point x lies.
  std::size_t slot(std::uint32_t x) const { return slots_[x]; }

  /// points -> positive and negative. The points are used up.
  void forward(Scratch& scratch) const;
  /// positive and negative -> points. Frequencies above the highest count as 0; where the length is twice the
  /// highest frequency, Z(highest) and Z(-highest) are one, and positive holds it.
  void back(Scratch& scratch) const;

 private:
  /// The length of a part; 0 where the frequencies call for a convolution with the chirp.
  static std::uint32_t partLengthFor(std::uint32_t length, std::uint32_t highest);

  void forwardByParts(Scratch& scratch) const;
  void backByParts(Scratch& scratch) const;
  void forwardByChirp(Scratch& scratch) const;
  void backByChirp(Scratch& scratch) const;
  void makeChirp();
  Complex4 chirp(std::uint64_t k) const;
  void convolve(Scratch& scratch) const;

  std::uint32_t length_;
  std::uint32_t highest_;
  FastTransform part_;       // of a part, or of the convolution
  std::uint32_t parts_ = 0;  // 0 where a convolution takes their place
  std::size_t partStride_ = 0;
  std::vector<std::uint32_t> slots_;      // of the points
  std::vector<std::uint32_t> partSlots_;  // of a part's frequencies
  std::vector<Root> roots_;               // exp(-2 pi i j / length)
  std::vector<Root> chirp_;               // exp(-pi i j / length), j below 2 length
  std::vector<Root> chirpSpectrum_;       // of exp(pi i k^2 / length), at the frequencies' slots
};

}  // namespace orv::hdri::blockedAVX2
