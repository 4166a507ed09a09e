#pragma once

#include <string>
#include <string_view>

#include "scene/Scene.h"
#include "scene/SceneErrors.h"

namespace orv::scene {

/// Reads a scene file: JSON (UTF-8) with `//` and `/* */` comments.
///
/// Reading is strict: an unknown key, a key given twice, a wrong type, a number that is not finite or out of
/// range and a missing key are errors, and all errors of a scene come together. Files are limited to 16 MiB,
/// 2^20 values and 64 levels of nesting.
/// @param path UTF-8.
/// @throws FileError when the file can not be read; SceneErrors with everything that is wrong in it.
Scene readScene(const std::string& path);

/// Reads a scene from its text. @param fileName what messages call it.
/// @throws SceneErrors with everything that is wrong in it.
Scene parseScene(std::string_view text, const std::string& fileName);

/// Whether the file at `path` is meant as a scene, not as a picture: it is named .json, or starts with a
/// brace after spaces and comments, as no picture does; or it is
/// standard input (`-`) or a pipe, where pictures can not be read. False for a file that can not be read.
bool looksLikeScene(const std::string& path);

}  // namespace orv::scene
