#include "scene/read_scene.h"

#include <filesystem>
#include <fstream>

#include "scene/SceneDocument.h"

namespace orv::scene {

bool looksLikeScene(const std::string& path) {
  if (path == "-" || std::filesystem::path(path).extension() == ".json") return true;
  std::error_code error;
  if (std::filesystem::is_fifo(path, error)) return true;
  std::ifstream file(path, std::ios::binary);
  char buffer[256] = {};
  file.read(buffer, sizeof buffer);
  const std::string_view start(buffer, static_cast<std::size_t>(file.gcount()));
  const std::size_t first = start.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  return first != std::string_view::npos &&
         (start[first] == '{' || start.substr(first, 2) == "//" || start.substr(first, 2) == "/*");
}

Scene readScene(const std::string& path) { return SceneDocument::load(path).read(); }

Scene parseScene(std::string_view text, const std::string& fileName) {
  return SceneDocument(text, fileName).read();
}

}  // namespace orv::scene
