#include "scene/read_scene.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "scene/ObjectReader.h"

namespace orv::scene {
namespace {

/// The file's bytes, and at most one more than a scene may have, so that devices without an end are no trap.
std::string readBytes(const std::string& path) {
  const auto fail = [&] { throw FileError(path + ": cannot be read: " + std::strerror(errno)); };
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Closer> file(std::fopen(path.c_str(), "rb"));
  if (!file) fail();
  std::string bytes;
  char buffer[65536];
  while (bytes.size() <= kMaxSceneBytes) {
    const std::size_t n = std::fread(buffer, 1, sizeof buffer, file.get());
    bytes.append(buffer, n);
    if (n < sizeof buffer) break;
  }
  if (std::ferror(file.get())) fail();
  return bytes;
}

}  // namespace

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
