#include "pins/PassPlan.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>

#include "fills/PinFill.h"
#include "shapes/PinShape.h"
#include "shapes/trigonometry.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// All tables of a paint together hold at most this many floats (32 MB). Pins beyond compute, to the same
/// bits.
constexpr std::size_t kMostTableFloats = std::size_t{1} << 23;

/// A row or column as an integer in [0, limit]; `otherwise` for what is not a number.
std::int32_t limited(float value, std::int32_t limit, std::int32_t otherwise) {
  if (std::isnan(value)) return otherwise;
  return static_cast<std::int32_t>(std::clamp(static_cast<double>(value), 0.0, static_cast<double>(limit)));
}

/// Blocks that hold an extent, with a block to spare on either side for rounding.
BlockRange blocksOfExtent(const PassPlan& plan, const AzimuthExtent& extent) {
  const auto blocks = static_cast<std::int64_t>(plan.blocks());
  const double perRadian = plan.width() / 6.283185307179586;
  const double first = std::floor((extent.centre - extent.half + 3.141592653589793) * perRadian / 8) - 1;
  const double end = std::ceil((extent.centre + extent.half + 3.141592653589793) * perRadian / 8) + 1;
  const bool wide = !(end - first < static_cast<double>(blocks)) || !(std::abs(first) < 1e9);
  if (extent.half >= kPi || wide) return {0, plan.blocks()};
  // An extent over the seam starts in the row and ends beyond it.
  const auto start = static_cast<std::int64_t>(first);
  const auto wrapped = static_cast<std::uint32_t>((start % blocks + blocks) % blocks);
  return {wrapped, wrapped + static_cast<std::uint32_t>(end - first)};
}

}  // namespace

RowRange rowsOf(const PinShape& shape, std::int32_t height) {
  float lowest, highest;
  shape.latitudeRange(lowest, highest);
  // One row fewer than the rows' latitudes count with: pins keep the extent they have always had.
  const float rows = static_cast<float>(height - 1);
  const float first = std::floor((kHalfPi - highest) * kInvPi * rows);
  const float last = std::ceil((kHalfPi - lowest) * kInvPi * rows);
  return {limited(first, height, height), std::min(limited(last, height, 0), height - 1)};
}

PassPlan::PassPlan(std::int32_t width, std::int32_t height, const PinList& pins, std::uint32_t needs)
    : width_(static_cast<std::uint32_t>(width)), blocks_(blocksFor(width_)) {
  pins_.reserve(pins.size());
  for (const std::unique_ptr<Pin>& pin : pins) {
    pins_.push_back({pin->shape.get(), &pin->shape->curve(), pin->fill.get(),
                     needs | pin->fill->requirements(), rowsOf(*pin->shape, height), nullptr, 0, 0});
  }
  if (pins_.empty() || blocks_ == 0) return;
  fillColumns();
  planTables();
  buckets_ = RowBuckets(pins_, height);
}

/// longitude = ((x + 1/2) / width - 1/2) 2 pi
void PassPlan::fillColumns() {
  const std::size_t columns = 8 * std::size_t{blocks_};
  columns_ = AlignedFloats(3 * columns);
  const Float8 invWidth = splat(1.0f / static_cast<float>(width_));
  for (std::size_t x = 0; x < columns; x += 8) {
    const Float8 column = laneIndex() + splat(static_cast<float>(x));
    const Float8 azimuth = ((column + splat(0.5f)) * invWidth - splat(0.5f)) * splat(kTwoPi);
    const SinCos8 direction = sinCos(azimuth);
    store(columns_.data() + x, azimuth);
    store(columns_.data() + columns + x, direction.sin);
    store(columns_.data() + 2 * columns + x, direction.cos);
  }
}

void PassPlan::planTables() {
  struct Request {
    PlannedPin* pin;
    float centre;
    BlockRange range;
  };
  std::vector<Request> requests;
  std::size_t floats = 0;
  for (PlannedPin& pin : pins_) {
    if (pin.rows.first > pin.rows.last) continue;
    const std::optional<AzimuthExtent> extent = pin.shape->cosFromCentreExtent(pin.needs);
    if (!extent) continue;
    const BlockRange range = blocksOfExtent(*this, *extent);
    const std::size_t more = 8 * std::size_t{range.end - range.first};
    if (floats + more > kMostTableFloats) break;
    floats += more;
    requests.push_back({&pin, extent->centre, range});
  }
  if (floats == 0) return;

  try {
    tables_ = AlignedFloats(floats);
  } catch (const std::bad_alloc&) {
    return;  // pins compute what they do not find
  }
  float* next = tables_.data();
  for (const Request& request : requests) {
    PlannedPin& pin = *request.pin;
    pin.tableFirst = request.range.first;
    pin.tableBlocks = request.range.end - request.range.first;
    fillTable(pin, request.centre, next);
    pin.cosFromCentre = next;
    next += 8 * std::size_t{pin.tableBlocks};
  }
}

void PassPlan::fillTable(const PlannedPin& pin, float centre, float* table) const {
  const Float8 centreAzimuth = splat(centre);
  for (std::uint32_t i = 0; i < pin.tableBlocks; ++i) {
    const std::size_t block = (pin.tableFirst + i) % blocks_;
    store(table + 8 * std::size_t{i}, cos(load(azimuth() + 8 * block) - centreAzimuth));
  }
}

const float* PassPlan::cosFromCentre(const PlannedPin& pin, std::uint32_t first, std::uint32_t count) const {
  if (!pin.cosFromCentre) return nullptr;
  const std::uint32_t offset =
      first >= pin.tableFirst ? first - pin.tableFirst : first + blocks_ - pin.tableFirst;
  if (offset + count > pin.tableBlocks) return nullptr;
  return pin.cosFromCentre + 8 * std::size_t{offset};
}

BlockRange PassPlan::blocksOf(const AzimuthSpan& span) const {
  if (std::isnan(span.begin) || std::isnan(span.end)) return {0, 0};
  const auto columns = static_cast<std::int32_t>(width_);
  const float width = static_cast<float>(width_);
  const float begin = std::floor((kPi + span.begin) * kInvTwoPi * width);
  const float end = std::ceil((kPi + span.end) * kInvTwoPi * width);
  return {static_cast<std::uint32_t>(limited(begin, columns, columns)) / 8,
          blocksFor(static_cast<std::uint32_t>(limited(end, columns, 0)))};
}

}  // namespace orv::hdri::blockedAVX2
