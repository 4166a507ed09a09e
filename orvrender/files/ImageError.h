#pragma once

#include <stdexcept>

namespace orv::host {

/// Why an image could not be loaded: the finding and the remedy, to stand behind its path.
class ImageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace orv::host
