#include "MapProgress.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <numeric>

namespace orvpaint {
namespace {

struct Cost {
  std::string_view name;
  double nanoseconds;  ///< about, for a pixel
};

/// The phases of painting, in their order.
constexpr Cost kPainting[] = {
    {"Reading", 0.1},         {"Background", 2}, {"Sun & Sky", 6}, {"Sun & Sky Adjustments", 2},
    {"Image Adjustments", 2}, {"Blur", 8},       {"Tilt", 3},      {"Painting Pins", 1}};

/// Of writing a file of each format.
constexpr Cost kWriting[] = {{"EXR", 80}, {"HDR", 30}, {"PFM", 5}, {"TIFF", 150}, {"PNG", 100}, {"JPEG", 40}};
constexpr double kOtherFormat = 50;

double writingCost(std::string_view format) {
  const auto* const found = std::find_if(std::begin(kWriting), std::end(kWriting),
                                         [&](const Cost& cost) { return cost.name == format; });
  return found == std::end(kWriting) ? kOtherFormat : found->nanoseconds;
}

}  // namespace

MapProgress::MapProgress(std::span<const orv::scene::MapFormat* const> files) {
  for (const Cost& phase : kPainting) costs_.push_back(phase.nanoseconds);
  for (const orv::scene::MapFormat* file : files) costs_.push_back(writingCost(file->name));
  total_ = std::accumulate(costs_.begin(), costs_.end(), 0.0);
}

double MapProgress::at(std::string_view phase, double amount) {
  // Written so that a NaN is none.
  const double part = amount > 0 ? std::min(amount, 1.0) : 0.0;
  std::size_t index = costs_.size();
  if (phase.starts_with("Writing ")) {
    // Files of one name are told apart by their beginning anew.
    if (phase != writing_ || part < writtenPart_) ++file_;
    writing_ = phase;
    writtenPart_ = part;
    index = std::size(kPainting) + file_ - 1;
  } else {
    const auto* const found = std::find_if(std::begin(kPainting), std::end(kPainting),
                                           [&](const Cost& cost) { return cost.name == phase; });
    if (found != std::end(kPainting)) index = static_cast<std::size_t>(found - std::begin(kPainting));
  }
  if (index >= costs_.size()) return done_;
  const auto begin = costs_.begin();
  const double before = std::accumulate(begin, begin + static_cast<std::ptrdiff_t>(index), 0.0);
  done_ = std::max(done_, (before + part * costs_[index]) / total_);
  return done_;
}

}  // namespace orvpaint
