#include "scene/read_scene.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

#include "scene/ObjectReader.h"

namespace orv::scene {
namespace {

/// The file's bytes, and at most one more than a scene may have, so that devices without an end are no trap.
std::string readBytes(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  std::string bytes;
  char buffer[65536];
  std::size_t n = sizeof buffer;
  while (file && n == sizeof buffer && bytes.size() <= kMaxSceneBytes) {
    n = std::fread(buffer, 1, sizeof buffer, file.get());
    bytes.append(buffer, n);
  }
  if (!file || std::ferror(file.get())) throw FileError(path + ": cannot be read: " + std::strerror(errno));
  return bytes;
}

}  // namespace

bool looksLikeScene(const std::string& path) {
  if (std::filesystem::path(path).extension() == ".json") return true;
  std::ifstream file(path, std::ios::binary);
  char buffer[256] = {};
  file.read(buffer, sizeof buffer);
  const std::string_view start(buffer, static_cast<std::size_t>(file.gcount()));
  const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != std::string_view::npos &&
         (start[first] == '{' || start.substr(first, 2) == "//" || start.substr(first, 2) == "/*");
}

Scene readScene(const std::string& path) { return parseScene(readBytes(path), path); }

Scene parseScene(std::string_view text, const std::string& fileName) {
  Problems problems(fileName);
  JsonValue document;
  Scene scene;
  const JsonPath root;
  if (parseJson(text, document, problems))
    ObjectReader(problems).readObject(kSceneKeys, {document, root}, scene);
  problems.throwIfAny();
  return scene;
}

}  // namespace orv::scene
