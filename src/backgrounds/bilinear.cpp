#include "backgrounds/bilinear.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// The two neighbours of eight coordinates along one axis, and the weight of the second.
struct Neighbours {
  alignas(32) int first[kLanes];
  alignas(32) int second[kLanes];
  Float8 fraction;
};

/// x = u (n - 1); the neighbour past the last wraps to the first, which only happens with weight 0.
Neighbours neighbours(Float8 u, std::uint32_t n) {
  const Float8 last = splat(static_cast<float>(n - 1));
  const Float8 x = clamp01(u) * last;
  const Int8 lastIndex = splat(static_cast<int>(n - 1));
  const Int8 count = splat(static_cast<int>(n));
  // x is not negative, so truncation is the floor.
  Int8 x0 = toIntTruncated(x);
  Neighbours out;
  out.fraction = x - toFloat(x0);
  const auto wrap = [&](Int8 i) {
    const Int8 beyond = floatToBits(Float8{(i > lastIndex).v});
    return i - (count & beyond);
  };
  x0 = wrap(x0);
  store(out.first, x0);
  store(out.second, wrap(x0 + splat(1)));
  return out;
}

inline Float8 lerp(Float8 a, Float8 b, Float8 t) { return fma(b - a, t, a); }

}  // namespace

void sampleBilinear(const BlockedMap& map, Float8 u, Float8 v, Block& out) {
  const Neighbours x = neighbours(u, map.width());
  const Neighbours y = neighbours(v, map.height());

  // Gather the four corners of each lane.
  Block corners[4];
  for (int lane = 0; lane < kLanes; ++lane) {
    const auto x0 = static_cast<std::size_t>(x.first[lane]);
    const auto x1 = static_cast<std::size_t>(x.second[lane]);
    const Block* top = map.row(static_cast<std::uint32_t>(y.first[lane])).data();
    const Block* bottom = map.row(static_cast<std::uint32_t>(y.second[lane])).data();
    const Block* const blocks[4] = {top + x0 / 8, top + x1 / 8, bottom + x0 / 8, bottom + x1 / 8};
    const std::size_t lanes[4] = {x0 % 8, x1 % 8, x0 % 8, x1 % 8};
    for (int i = 0; i < 4; ++i) {
      corners[i].r[lane] = blocks[i]->r[lanes[i]];
      corners[i].g[lane] = blocks[i]->g[lanes[i]];
      corners[i].b[lane] = blocks[i]->b[lanes[i]];
    }
  }

  const auto blend = [&](float(Block::*plane)[8]) {
    const Float8 top = lerp(load(corners[0].*plane), load(corners[1].*plane), x.fraction);
    const Float8 bottom = lerp(load(corners[2].*plane), load(corners[3].*plane), x.fraction);
    store(out.*plane, lerp(top, bottom, y.fraction));
  };
  blend(&Block::r);
  blend(&Block::g);
  blend(&Block::b);
}

}  // namespace orv::hdri::blockedAVX2
