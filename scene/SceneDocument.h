#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "scene/Problems.h"
#include "scene/Scene.h"
#include "scene/SceneErrors.h"
#include "scene/Setting.h"
#include "scene/json_tree.h"

namespace orv::scene {

/// The document of a scene before it is read: it can be changed by settings, and it may move from frame to
/// frame. The reader checks what comes of it. Copies are cheap beside a paint; const use from many threads.
class SceneDocument {
 public:
  /// @param fileName what messages call it. @throws SceneErrors when the text has no document.
  SceneDocument(std::string_view text, const std::string& fileName);

  /// A document that a program has made.
  SceneDocument(JsonValue document, std::string fileName);

  /// Reads a file (UTF-8); `-` is standard input. @throws FileError, SceneErrors.
  static SceneDocument load(const std::string& path);

  /// Changes the document. @throws SceneErrors when the setting's path does not lead anywhere.
  void set(const Setting& setting);

  /// The scene at a frame.
  /// @param frame that of values that change with time; without one it is frame 1.
  /// @throws SceneErrors with everything that is wrong in it.
  Scene read(std::optional<double> frame = {}) const;

  /// Reads the scene at the keys of the values that change with time, where they reach their limits; of very
  /// large scenes at the first of them.
  /// @throws SceneErrors with everything that is wrong in any of them.
  void check() const;

  /// Gives a problem the place of what its path leads to, where that stands in the text.
  void locate(Problem& problem) const;

  const JsonValue& document() const { return document_; }
  const std::string& fileName() const { return fileName_; }
  /// The folder that the paths of pictures are relative to: the file's.
  std::string folder() const;

 private:
  [[noreturn]] void fail(const Problems& problems) const;

  std::string fileName_;
  std::shared_ptr<const std::string> text_;  ///< empty: there is none
  Problems problems_;                        ///< of the text
  JsonValue document_;
  std::vector<std::string> settings_;  ///< their paths
};

/// What messages call the scene at a path: `<stdin>` of `-`.
std::string sceneName(const std::string& path);

/// The text of a scene's file; `-` is standard input.
/// @throws FileError when it can not be read; SceneErrors when it is a picture.
std::string readSceneText(const std::string& path);

}  // namespace orv::scene
