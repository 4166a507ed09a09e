#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

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
class SettingError : public std::runtime_error {
 public:
  explicit SettingError(const std::string& finding) : std::runtime_error(finding), finding_(finding) {}
  SettingError(std::string path, std::string finding)
      : std::runtime_error(path + ": " + finding), path_(std::move(path)), finding_(std::move(finding)) {}

  /// The setting's; empty where none is meant.
  const std::string& path() const noexcept { return path_; }
  const std::string& finding() const noexcept { return finding_; }

 private:
  std::string path_;
  std::string finding_;
};

/// Splits `PATH=VALUE`, the value as text. @throws SettingError.
std::pair<std::string, std::string> splitSetting(std::string_view text);

/// The JSON value that is all of `text`. What is no JSON is text itself, so that quotes can be left out, but
/// for what starts like an array, an object or a quoted text. @throws SettingError that names `path`.
JsonValue settingValue(std::string_view text, const std::string& path);

/// Changes a document. Keys and objects that are missing are added; the reader tells whether they may be
/// there.
/// @param number of the setting, which the values that it brings keep as their place (`kFromSetting`).
/// @throws SettingError when the path does not lead anywhere.
void apply(const Setting& setting, JsonValue& document, std::uint32_t number = 0);

/// What stands at a path of a document, written as a setting's; null when nothing does.
const JsonValue* valueAt(std::string_view path, const JsonValue& document);

}  // namespace orv::scene
