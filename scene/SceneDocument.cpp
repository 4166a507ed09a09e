#include "scene/SceneDocument.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

#include "scene/ObjectReader.h"
#include "scene/animation.h"
#include "scene/text_place.h"

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

/// The name of the pin that a path leads into; empty for none.
std::string pinOf(std::string_view path, const JsonValue& document) {
  constexpr std::string_view kPins = "pins[";
  const auto* scene = std::get_if<JsonObject>(&document.data);
  std::size_t index = 0;
  if (!scene || !path.starts_with(kPins)) return {};
  std::from_chars(path.data() + kPins.size(), path.data() + path.size(), index);
  for (const JsonMember& member : *scene) {
    const auto* pins = std::get_if<JsonArray>(&member.value.data);
    if (member.key != "pins" || !pins || index >= pins->size()) continue;
    const auto* pin = std::get_if<JsonObject>(&(*pins)[index].data);
    if (!pin) continue;
    for (const JsonMember& each : *pin)
      if (const auto* name = std::get_if<std::string>(&each.value.data); name && each.key == "name")
        return *name;
  }
  return {};
}

}  // namespace

SceneDocument::SceneDocument(std::string_view text, const std::string& fileName)
    : fileName_(fileName), text_(std::make_shared<const std::string>(text)), problems_(fileName) {
  if (!parseJson(*text_, document_, problems_)) fail(problems_);
}

SceneDocument::SceneDocument(JsonValue document, std::string fileName)
    : fileName_(std::move(fileName)),
      text_(std::make_shared<const std::string>()),
      problems_(fileName_),
      document_(std::move(document)) {}

std::string sceneName(const std::string& path) { return path == "-" ? "<stdin>" : path; }

std::string readSceneText(const std::string& path) {
  std::string bytes = readBytes(path);
  const std::string_view kind = pictureKind(bytes);
  if (!kind.empty())
    throw SceneErrors({{sceneName(path), "scene",
                        std::string(kind) + " picture found; allowed: a scene, which can show it: " +
                            "{\"version\": 1, \"background\": {\"type\": \"image\", \"path\": " +
                            quotedText(path) + "}}"}});
  return bytes;
}

SceneDocument SceneDocument::load(const std::string& path) { return {readSceneText(path), sceneName(path)}; }

void SceneDocument::set(const Setting& setting) {
  try {
    apply(setting, document_, static_cast<std::uint32_t>(settings_.size()));
    settings_.push_back(setting.path);
  } catch (const SettingError& error) {
    throw SceneErrors({{fileName_, error.path(), error.finding()}});
  }
}

Scene SceneDocument::read(std::optional<double> frame) const {
  Problems problems = problems_;
  Scene scene;
  const JsonPath root;
  JsonValue still;
  const bool moves = isAnimated(document_);
  if (moves) {
    if (frame) problems.setCause("frame " + numberText(*frame));
    still = document_;
    resolveAnimations(still, frame.value_or(kFirstFrame), problems);
    if (!problems.empty()) fail(problems);
  }
  ObjectReader(problems).readObject(kSceneKeys, {moves ? still : document_, root}, scene);
  if (!problems.empty()) fail(problems);
  return scene;
}

void SceneDocument::check() const {
  std::vector<double> frames = keyFrames(document_);
  const std::size_t bytes = text_->empty() ? kBytesOfValue * countValues(document_) : text_->size();
  frames.resize(std::min(frames.size(), kMostCheckedBytes / std::max<std::size_t>(bytes, 1)));
  read();
  for (const double frame : frames) read(frame);
}

void SceneDocument::locate(Problem& problem) const {
  const JsonValue* const value = valueAt(problem.path, document_);
  if (value && value->offset < kFromSetting) place(problem, PlaceFinder(*text_).at(value->offset));
}

std::string SceneDocument::folder() const { return std::filesystem::path(fileName_).parent_path().string(); }

void SceneDocument::fail(const Problems& problems) const {
  std::vector<Problem> found = problems.told(*text_, settings_);
  for (Problem& problem : found) problem.pin = pinOf(problem.path, document_);
  throw SceneErrors(std::move(found));
}

}  // namespace orv::scene
