#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "scene/map_file.h"

namespace orvpaint {

/// How far one map is, over its phases from reading to the last file. What a phase's share is comes from how
/// long it takes as a rule; phases that a map does not have are jumped over.
class MapProgress {
 public:
  /// @param files the formats of the files that will be written, in their order.
  explicit MapProgress(std::span<const orv::scene::MapFormat* const> files);

  /// @param phase "Reading", one of the painter's, or "Writing" and a file's name; another moves nothing.
  /// @param amount how much of the phase is done, 0 to 1.
  /// @return how much of the whole is done, 0 to 1; never less than before.
  double at(std::string_view phase, double amount);

 private:
  std::vector<double> costs_;  ///< of the phases of painting, then of each file
  double total_ = 0;
  std::string writing_;     ///< the file's phase
  double writtenPart_ = 0;  ///< of that file
  std::size_t file_ = 0;    ///< its number, from 1; 0: none is written yet
  double done_ = 0;
};

}  // namespace orvpaint
