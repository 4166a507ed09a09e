#pragma once

#include <string>

#include "orvrender/images/ImageModule.h"

namespace orv::host {

/// What `ImageModule::read` does.
FilePixels readPicture(const std::string& path, const FileFacts& file, orvTexture_profile profile,
                       const ImageLimits& limits);

}  // namespace orv::host
