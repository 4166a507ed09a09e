#include "shapes/AzimuthSpans.h"

#include <cmath>

#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {

void AzimuthSpans::push(std::vector<AzimuthSpan>& spans, AzimuthSpan span) {
  const std::size_t capacity = spans.capacity();
  if (spans.size() == capacity) spans.reserve(std::max(capacity + 1, capacity + capacity / 2));
  spans.push_back(span);
}

void AzimuthSpans::reset() {
  spans_.clear();
  push(spans_, {-kPi, kPi});
}

void AzimuthSpans::addInterval(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) return;
  if (a >= -kPi && b <= kPi) {
    push(spans_, {a, b});
    return;
  }
  if (a < -kPi) {
    a += kTwoPi;
  } else {
    b -= kTwoPi;
  }
  push(spans_, {-kPi, b});
  push(spans_, {a, kPi});
}

void AzimuthSpans::intersect(float a, float b) {
  if (std::isnan(a) || std::isnan(b)) {
    spans_.clear();
    return;
  }
  if (b - a >= kTwoPi) return;

  scratch_.clear();
  const auto keepWithin = [this](float low, float high) {
    for (const AzimuthSpan& span : spans_) {
      const AzimuthSpan part{std::max(low, span.begin), std::min(high, span.end)};
      if (part.end - part.begin > 0) push(scratch_, part);
    }
  };
  if (a >= -kPi && b <= kPi) {
    keepWithin(a, b);
  } else {
    if (a < -kPi) {
      a += kTwoPi;
    } else {
      b -= kTwoPi;
    }
    keepWithin(-kPi, b);
    keepWithin(a, kPi);
  }
  spans_.swap(scratch_);
}

}  // namespace orv::hdri::blockedAVX2
