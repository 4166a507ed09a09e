#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "scene/json_tree.h"

namespace orv::scene {

/// A change of a scene's document: what stands at `path` becomes `value`.
///
/// A path is written as messages write it, `pins[3].fill.stops[1].color`. An item of an array can be named by
/// its name, too: `pins.key.azimuth`, `pins["key.left"].azimuth`.
struct Setting {
  std::string path;
  JsonValue value;
};

/// A setting can not be read or does not fit the document; `what()` is one line without the file's name.
struct SettingError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Splits `PATH=VALUE`, the value as text. @throws SettingError.
std::pair<std::string, std::string> splitSetting(std::string_view text);

/// The JSON value that is all of `text`. What is no JSON is text itself, so that quotes can be left out, but
/// for what starts like an array, an object or a quoted text. @throws SettingError that names `path`.
JsonValue settingValue(std::string_view text, const std::string& path);

/// Changes a document. Keys and objects that are missing are added; the reader tells whether they may be
/// there. @throws SettingError when the path does not lead anywhere.
void apply(const Setting& setting, JsonValue& document);

}  // namespace orv::scene
