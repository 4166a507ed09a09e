#pragma once

#include <string>

#include "orvrender/images/ImageModule.h"

namespace orv::host {

/// What `ImageModule::write` does.
std::string writePicture(const PictureToWrite& picture);

}  // namespace orv::host
