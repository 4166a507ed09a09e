#include "backgrounds/tilt.h"

#include <tbb/enumerable_thread_specific.h>

#include <algorithm>
#include <cmath>

#include "maps/AlignedArray.h"
#include "maps/row_loop.h"
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

/// The inverse of the settings' rotation, and its part that depends on the column alone.
class Rotation {
 public:
  Rotation(const BlockedMap& map, const TiltSettings& settings)
      : width_(map.width()), height_(map.height()), columns_(3 * std::size_t{map.paddedWidth()}) {
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
  void positions(const InterleavedMap& source, std::size_t block, const SinCos8& theta,
                 SamplePositions& out) const {
    const float* column = &columns_[24 * block];
    Float8 d[3];
    for (std::size_t j = 0; j < 3; ++j)
      d[j] = fma(theta.sin, load(column + 8 * j), splat(m_[2][j]) * theta.cos);
    const Float8 one = splat(1.0f);
    const Float8 z = min(max(d[2], -one), one);
    Float8 u = atan2(d[1], d[0]) * splat(kInvTwoPi);
    u = u + keep(u < zero8(), one);
    u = u - keep(u >= one, one);
    source.positions(u, arccos(z) * splat(kInvPi), out);
  }

  /// The sine and cosine of a row's polar angle, at its centre.
  SinCos8 polarAngle(std::uint32_t y) const {
    const float step = 1.0f / static_cast<float>(height_);
    return sinCos(splat((static_cast<float>(y) + 0.5f) * step * kPi));
  }

 private:
  std::uint32_t width_;
  std::uint32_t height_;
  float m_[3][3];
  AlignedFloats columns_;
};

void rotateSphere(BlockedMap& map, const InterleavedMap& source, const TiltSettings& settings) {
  const Rotation rotation(map, settings);
  const bool streaming = map.bytes() >= kStreamingBytes;

  // Tiles, so that what neighbouring rows look up stays in the caches.
  constexpr std::uint32_t kTileRows = 64, kTileBlocks = 8;
  const auto blocks = static_cast<std::uint32_t>(map.blocksPerRow());
  const std::uint32_t tilesAcross = (blocks + kTileBlocks - 1) / kTileBlocks;
  const std::uint32_t tilesDown = map.height() / kTileRows + (map.height() % kTileRows != 0);
  forEachRow(tilesAcross * tilesDown, 1, [&](std::uint32_t tile) {
    const std::uint32_t firstRow = tile / tilesAcross * kTileRows;
    const std::uint32_t firstBlock = tile % tilesAcross * kTileBlocks;
    const std::uint32_t count = std::min(kTileBlocks, blocks - firstBlock);
    // The pixels of a row are on their way from memory while the one above is blended.
    SamplePositions positions[2][kTileBlocks];
    const auto place = [&](std::uint32_t y) {
      const SinCos8 theta = rotation.polarAngle(y);
      for (std::uint32_t i = 0; i < count; ++i) {
        rotation.positions(source, firstBlock + i, theta, positions[y % 2][i]);
        source.fetch(positions[y % 2][i]);
      }
    };
    const std::uint32_t endRow = std::min(firstRow + kTileRows, map.height());
    place(firstRow);
    for (std::uint32_t y = firstRow; y < endRow; ++y) {
      if (y + 1 < endRow) place(y + 1);
      for (std::uint32_t i = 0; i < count; ++i)
        source.sample(positions[y % 2][i], map.row(y)[firstBlock + i], streaming);
    }
    if (streaming) finishStreaming();
  });
}

}  // namespace

void tilt(BlockedMap& map, const InterleavedMap& copy, const TiltSettings& settings) {
  if (map.empty()) return;
  if (settings.azimuthOnly())
    shiftColumns(map, settings.columns(map.width()));
  else if (copy.empty())
    rotateSphere(map, InterleavedMap(map), settings);
  else
    rotateSphere(map, copy, settings);
}

}  // namespace orv::hdri::blockedAVX2
