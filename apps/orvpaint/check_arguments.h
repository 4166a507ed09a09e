#pragma once

#include <string>

#include "commands.h"

namespace orvpaint {

// What a call says beyond what its options can check alone: what is wrong, or nothing.

std::string checkMaps(const MapArguments& arguments);
std::string checkPreview(const PreviewArguments& arguments);

/// What is wrong with the name of a map's file, whose format is `otherwise` where its ending names none.
std::string checkOutput(const std::string& path, const orv::scene::MapFormat* otherwise);

/// A map is not written to a terminal. @throws orv::scene::SettingError when `path` is one of ours.
void refuseTerminal(const std::string& path);

}  // namespace orvpaint
