#include "scene/SceneDocument.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "scene/ObjectReader.h"
#include "scene/animation.h"

namespace orv::scene {
namespace {

/// Of values that change, where no frame is asked for.
constexpr double kFirstFrame = 1;

/// How much text `check` reads in all, so that a hostile file does not cost much.
constexpr std::size_t kMostCheckedBytes = std::size_t{1} << 26;

/// Of the text of a document that has none, with its key.
constexpr std::size_t kBytesOfValue = 16;

std::size_t countValues(const JsonValue& value) {
  std::size_t count = 1;
  if (const auto* array = std::get_if<JsonArray>(&value.data))
    for (const JsonValue& item : *array) count += countValues(item);
  else if (const auto* object = std::get_if<JsonObject>(&value.data))
    for (const JsonMember& member : *object) count += countValues(member.value);
  return count;
}

/// The file's bytes, and at most one more than a scene may have, so that devices without an end are no trap.
std::string readBytes(const std::string& path) {
  // Standard input has a descriptor of its own here, so that it stays open.
  std::FILE* const opened = path == "-" ? ::fdopen(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3), "rb")
                                        : std::fopen(path.c_str(), "rb");
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(opened, &std::fclose);
  std::string bytes;
  char buffer[65536];
  std::size_t n = sizeof buffer;
  while (file && n == sizeof buffer && bytes.size() <= kMaxSceneBytes) {
    n = std::fread(buffer, 1, sizeof buffer, file.get());
    bytes.append(buffer, n);
  }
  if (!file || std::ferror(file.get()))
    throw FileError(sceneName(path) + ": cannot be read: " + std::strerror(errno));
  return bytes;
}

/// What kind of picture starts with these bytes; empty for none.
std::string_view pictureKind(std::string_view bytes) {
  constexpr std::pair<std::string_view, std::string_view> kStarts[] = {
      {"\x76\x2f\x31\x01", "an EXR"}, {"#?", "an HDR"},           {"PF\n", "a PFM"}, {"Pf\n", "a PFM"},
      {"\x89PNG", "a PNG"},           {"\xFF\xD8\xFF", "a JPEG"}, {"II*", "a TIFF"}, {"MM", "a TIFF"}};
  for (const auto& [start, kind] : kStarts)
    if (bytes.starts_with(start)) return kind;
  return {};
}

}  // namespace

SceneDocument::SceneDocument(std::string_view text, const std::string& fileName)
    : fileName_(fileName), bytes_(text.size()), problems_(fileName) {
  if (!parseJson(text, document_, problems_)) problems_.throwIfAny();
}

SceneDocument::SceneDocument(JsonValue document, std::string fileName)
    : fileName_(std::move(fileName)), problems_(fileName_), document_(std::move(document)) {}

std::string sceneName(const std::string& path) { return path == "-" ? "standard input" : path; }

std::string readSceneText(const std::string& path) {
  std::string bytes = readBytes(path);
  const std::string_view kind = pictureKind(bytes);
  if (!kind.empty())
    throw SceneErrors(
        {sceneName(path) + ": scene: " + std::string(kind) + " picture found; allowed: a scene, which can " +
         "show it: {\"version\": 1, \"background\": {\"type\": \"image\", \"path\": " + quotedText(path) +
         "}}"});
  return bytes;
}

SceneDocument SceneDocument::load(const std::string& path) { return {readSceneText(path), sceneName(path)}; }

void SceneDocument::set(const Setting& setting) {
  try {
    apply(setting, document_);
  } catch (const SettingError& error) {
    throw SceneErrors({fileName_ + ": " + error.what()});
  }
}

Scene SceneDocument::read(std::optional<double> frame) const {
  Problems problems = problems_;
  Scene scene;
  const JsonPath root;
  if (!isAnimated(document_)) {
    ObjectReader(problems).readObject(kSceneKeys, {document_, root}, scene);
    problems.throwIfAny();
    return scene;
  }
  if (frame) problems.setFileName(fileName_ + ": frame " + numberText(*frame));
  JsonValue still = document_;
  resolveAnimations(still, frame.value_or(kFirstFrame), problems);
  problems.throwIfAny();
  ObjectReader(problems).readObject(kSceneKeys, {still, root}, scene);
  problems.throwIfAny();
  return scene;
}

void SceneDocument::check() const {
  std::vector<double> frames = keyFrames(document_);
  const std::size_t bytes = bytes_ > 0 ? bytes_ : kBytesOfValue * countValues(document_);
  frames.resize(std::min(frames.size(), kMostCheckedBytes / std::max<std::size_t>(bytes, 1)));
  read();
  for (const double frame : frames) read(frame);
}

std::string SceneDocument::folder() const { return std::filesystem::path(fileName_).parent_path().string(); }

}  // namespace orv::scene
