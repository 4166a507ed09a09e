#pragma once

#include <string>

namespace orv::host {

/// Throws ImageError unless the JPEG file holds all of what its header claims: every scan, with every
/// coefficient in full, of as many pixels as it says, up to its end. The decoder of pictures fills in what is
/// missing. @param path of a file whose size has been checked.
void checkJpeg(const std::string& path);

}  // namespace orv::host
