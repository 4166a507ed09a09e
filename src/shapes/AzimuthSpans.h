#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace orv::hdri::blockedAVX2 {

/// Longitudes from `begin` to `end`, radians.
struct AzimuthSpan {
  float begin;
  float end;

  friend bool operator==(const AzimuthSpan&, const AzimuthSpan&) = default;
};

/// The longitudes of one row that a pin can touch, ascending and within [-pi, pi]. Kept by the pass from row
/// to row, so that a row allocates nothing once it has grown; one per thread.
class AzimuthSpans {
 public:
  AzimuthSpans() {
    spans_.reserve(kReserved);
    scratch_.reserve(kReserved);
  }

  void clear() { spans_.clear(); }
  /// The whole row alone.
  void reset();
  /// Adds the interval [a, b], at most one turn long; cut in two where it passes -pi or pi.
  void addInterval(float a, float b);
  /// Keeps what lies in the interval [a, b] as well, an interval as for `addInterval`.
  void intersect(float a, float b);

  bool empty() const { return spans_.empty(); }
  std::size_t size() const { return spans_.size(); }
  std::size_t capacity() const { return spans_.capacity(); }
  const AzimuthSpan& operator[](std::size_t i) const { return spans_[i]; }
  auto begin() const { return spans_.begin(); }
  auto end() const { return spans_.end(); }

 private:
  static constexpr std::size_t kReserved = 16;

  static void push(std::vector<AzimuthSpan>& spans, AzimuthSpan span);

  std::vector<AzimuthSpan> spans_;
  std::vector<AzimuthSpan> scratch_;
};

}  // namespace orv::hdri::blockedAVX2
