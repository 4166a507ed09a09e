#include "backgrounds/tilt.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cmath>

#include "backgrounds/AlignedFloats.h"
#include "painter/parallel_rows.h"
#include "shapes/sphere_geometry.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Output column x takes input column x + columns, around the seam.
void shiftColumns(BlockedMap& map, std::uint32_t columns) {
  const std::size_t width = map.width();
  const std::size_t plane = map.paddedWidth() + std::size_t{8};
  tbb::enumerable_thread_specific<AlignedFloats> scratches([=] { return AlignedFloats(3 * plane); });
  forEachRow(map.height(), 1, [&](std::uint32_t y) {
    // Unpack the row into planes that go on from its start for eight pixels.
    float* const red = scratches.local().data();
    float* const planes[3] = {red, red + plane, red + 2 * plane};
    const std::span<Block> row = map.row(y);
    for (std::size_t block = 0; block < row.size(); ++block) {
      store(planes[0] + 8 * block, load(row[block].r));
      store(planes[1] + 8 * block, load(row[block].g));
      store(planes[2] + 8 * block, load(row[block].b));
    }
    for (float* p : planes)
      for (std::size_t x = width; x < width + 8; ++x) p[x] = p[x - width];

    for (std::size_t block = 0; block < row.size(); ++block) {
      const std::size_t from = (8 * block + columns) % width;
      store(row[block].r, loadUnaligned(planes[0] + from));
      store(row[block].g, loadUnaligned(planes[1] + from));
      store(row[block].b, loadUnaligned(planes[2] + from));
    }
  });
}

/// A map's pixels interleaved, a pixel's right neighbour beside it: each row has its first pixel again at its
/// end, and below the last row stands the first one. So the four neighbours of a position are two runs of six
/// floats.
class InterleavedMap {
 public:
  explicit InterleavedMap(const BlockedMap& map)
      : stride_(strideOf(map)), pixels_(stride_ * (map.height() + std::size_t{1})) {
    const std::size_t width = map.width();
    forEachRow(map.height() + 1, 1, [&](std::uint32_t y) {
      float* out = pixels_.data() + y * stride_;
      const std::span<const Block> row = map.row(y % map.height());
      for (std::size_t block = 0; block < row.size(); ++block) {
        Float8 a, b, c;
        interleave(load(row[block].r), load(row[block].g), load(row[block].b), a, b, c);
        store(out + 24 * block, a);
        store(out + 24 * block + 8, b);
        store(out + 24 * block + 16, c);
      }
      std::copy_n(out, 3, out + 3 * width);
    });
  }

  /// Floats from a pixel to the one below it.
  std::size_t stride() const { return stride_; }
  /// A pixel; eight floats from there are readable.
  const float* pixel(int x, int y) const {
    return pixels_.data() + static_cast<std::size_t>(y) * stride_ + 3 * static_cast<std::size_t>(x);
  }

 private:
  /// An odd number of cache lines, so that rows of powers of two do not fall on the same cache sets.
  static std::size_t strideOf(const BlockedMap& map) {
    const std::size_t floats = 3 * std::max<std::size_t>(map.paddedWidth(), map.width() + std::size_t{2});
    const std::size_t lines = (floats + 15) / 16;
    return 16 * (lines | 1);
  }

  std::size_t stride_;
  AlignedFloats pixels_;
};

/// Where eight pixels are looked up: the upper left neighbour, and the weights of the right and lower ones.
struct Positions {
  alignas(32) int x[8];
  alignas(32) int y[8];
  Float8 fx;
  Float8 fy;
};

/// Four floats from each of eight addresses, turned into four planes.
inline void loadPlanes(const float* const (&from)[8], std::ptrdiff_t offset, Float8 (&planes)[4]) {
  __m256 rows[4];
  for (int i = 0; i < 4; ++i)
    rows[i] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(from[i] + offset)),
                                   _mm_loadu_ps(from[i + 4] + offset), 1);
  const __m256 low01 = _mm256_unpacklo_ps(rows[0], rows[1]);
  const __m256 low23 = _mm256_unpacklo_ps(rows[2], rows[3]);
  const __m256 high01 = _mm256_unpackhi_ps(rows[0], rows[1]);
  const __m256 high23 = _mm256_unpackhi_ps(rows[2], rows[3]);
  planes[0].v = _mm256_shuffle_ps(low01, low23, _MM_SHUFFLE(1, 0, 1, 0));
  planes[1].v = _mm256_shuffle_ps(low01, low23, _MM_SHUFFLE(3, 2, 3, 2));
  planes[2].v = _mm256_shuffle_ps(high01, high23, _MM_SHUFFLE(1, 0, 1, 0));
  planes[3].v = _mm256_shuffle_ps(high01, high23, _MM_SHUFFLE(3, 2, 3, 2));
}

inline Float8 lerp(Float8 a, Float8 b, Float8 t) { return fma(b - a, t, a); }

/// The colours halfway between eight pixels and their right neighbours, by `fx`.
inline void blendRow(const float* const (&from)[8], std::ptrdiff_t offset, Float8 fx, Float8 (&rgb)[3]) {
  // The left pixel's three channels and the right one's red, then the right one's green and blue.
  Float8 first[4], rest[4];
  loadPlanes(from, offset, first);
  loadPlanes(from, offset + 4, rest);
  rgb[0] = lerp(first[0], first[3], fx);
  rgb[1] = lerp(first[1], rest[0], fx);
  rgb[2] = lerp(first[2], rest[1], fx);
}

inline void sample(const InterleavedMap& source, const Positions& at, Block& out) {
  const float* from[8];
  for (int lane = 0; lane < 8; ++lane) from[lane] = source.pixel(at.x[lane], at.y[lane]);
  Float8 top[3], bottom[3];
  blendRow(from, 0, at.fx, top);
  blendRow(from, static_cast<std::ptrdiff_t>(source.stride()), at.fx, bottom);
  store(out.r, lerp(top[0], bottom[0], at.fy));
  store(out.g, lerp(top[1], bottom[1], at.fy));
  store(out.b, lerp(top[2], bottom[2], at.fy));
}

/// The largest float that is not above n - 1: indices made of it stay inside an axis of n pixels.
inline float lastIndex(std::uint32_t n) {
  const auto last = static_cast<float>(n - 1);
  return static_cast<double>(last) > static_cast<double>(n - 1) ? std::nextafter(last, 0.0f) : last;
}

/// The inverse of the settings' rotation, and its part that depends on the column alone.
class Rotation {
 public:
  Rotation(const BlockedMap& map, const TiltSettings& settings)
      : width_(map.width()),
        height_(map.height()),
        lastColumn_(lastIndex(width_)),
        lastRow_(lastIndex(height_)),
        columns_(3 * std::size_t{map.paddedWidth()}) {
    const Quaternion turn = quaternionFromAxis({0, 0, 1}, -double{settings.azimuth()});
    const Quaternion lean = quaternionFromAxis({0, 1, 0}, -double{settings.tilt()});
    const Matrix3 m = rotationMatrix(lean * turn);
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t j = 0; j < 3; ++j) m_[i][j] = static_cast<float>(m[i][j]);

    // Padding columns are the first ones again.
    const float step = 1.0f / static_cast<float>(width_);
    for (std::uint32_t x = 0; x < map.paddedWidth(); x += 8) {
      alignas(32) float column[8];
      for (std::uint32_t lane = 0; lane < 8; ++lane) column[lane] = static_cast<float>((x + lane) % width_);
      // phi = x / width * 2 pi: the pixel's left edge.
      const SinCos8 phi = sinCos(load(column) * splat(step) * splat(6.283185f));
      for (std::size_t j = 0; j < 3; ++j)
        store(&columns_[3 * x + 8 * j], fma(splat(m_[0][j]), phi.cos, splat(m_[1][j]) * phi.sin));
    }
  }

  /// Where the pixels of block `block` of row y are looked up:
  ///   d = (sin theta cos phi, sin theta sin phi, cos theta),  d' = m^T d,
  ///   u = atan2(d'.y, d'.x) / 2 pi in [0, 1),  v = arccos(d'.z) / pi.
  void positions(std::size_t block, const SinCos8& theta, Positions& out) const {
    const float* column = &columns_[24 * block];
    Float8 d[3];
    for (std::size_t j = 0; j < 3; ++j)
      d[j] = fma(theta.sin, load(column + 8 * j), splat(m_[2][j]) * theta.cos);
    const Float8 one = splat(1.0f);
    const Float8 z = min(max(d[2], -one), one);
    Float8 u = atan2(d[1], d[0]) * splat(kInvTwoPi);
    u = u + keep(u < zero8(), one);
    u = u - keep(u >= one, one);
    const Float8 v = arccos(z) * splat(kInvPi);

    const Float8 x = clamp01(u) * splat(lastColumn_);
    const Float8 y = clamp01(v) * splat(lastRow_);
    const Int8 x0 = toIntTruncated(x);
    const Int8 y0 = toIntTruncated(y);
    store(out.x, x0);
    store(out.y, y0);
    out.fx = x - toFloat(x0);
    out.fy = y - toFloat(y0);
  }

  /// The sine and cosine of a row's polar angle, at its centre.
  SinCos8 polarAngle(std::uint32_t y) const {
    const float step = 1.0f / static_cast<float>(height_);
    return sinCos(splat((static_cast<float>(y) + 0.5f) * step * kPi));
  }

 private:
  std::uint32_t width_;
  std::uint32_t height_;
  float lastColumn_;
  float lastRow_;
  float m_[3][3];
  AlignedFloats columns_;
};

void rotateSphere(BlockedMap& map, const TiltSettings& settings) {
  const Rotation rotation(map, settings);
  const InterleavedMap source(map);

  // Tiles, so that what neighbouring rows look up stays in the caches.
  constexpr std::uint32_t kTileRows = 64, kTileBlocks = 8;
  const auto blocks = static_cast<std::uint32_t>(map.blocksPerRow());
  const std::uint32_t tilesAcross = (blocks + kTileBlocks - 1) / kTileBlocks;
  const std::uint32_t tilesDown = map.height() / kTileRows + (map.height() % kTileRows != 0);
  forEachRow(tilesAcross * tilesDown, 1, [&](std::uint32_t tile) {
    const std::uint32_t firstRow = tile / tilesAcross * kTileRows;
    const std::uint32_t firstBlock = tile % tilesAcross * kTileBlocks;
    const std::uint32_t count = std::min(kTileBlocks, blocks - firstBlock);
    for (std::uint32_t y = firstRow; y < std::min(firstRow + kTileRows, map.height()); ++y) {
      const SinCos8 theta = rotation.polarAngle(y);
      Positions positions[kTileBlocks];
      for (std::uint32_t i = 0; i < count; ++i) rotation.positions(firstBlock + i, theta, positions[i]);
      for (std::uint32_t i = 0; i < count; ++i) sample(source, positions[i], map.row(y)[firstBlock + i]);
    }
  });
}

}  // namespace

void tilt(BlockedMap& map, const TiltSettings& settings) {
  if (map.empty()) return;
  if (settings.azimuthOnly())
    shiftColumns(map, settings.columns(map.width()));
  else
    rotateSphere(map, settings);
}

}  // namespace orv::hdri::blockedAVX2
