#include "scene/usd_file.h"

#include <filesystem>
#include <system_error>

#include "scene/SceneErrors.h"
#include "scene/layout.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;

/// A path between the signs that USD puts around it: one each, or three where it holds one itself.
std::string assetText(const std::string& path) {
  if (path.find('@') == std::string::npos) return "@" + path + "@";
  std::string text;
  for (std::size_t at = 0; at < path.size(); ++at) {
    if (path.compare(at, 3, "@@@") == 0) text += '\\';
    text += path[at];
  }
  return "@@@" + text + "@@@";
}

/// The path from the layer's folder to the map; absolute where there is none.
std::string pathFromLayer(const std::string& layer, const std::string& map) {
  std::error_code error;
  const fs::path target = fs::absolute(map, error);
  const fs::path path = fs::relative(target, fs::absolute(layer, error).parent_path(), error);
  if (error || path.empty()) return target.generic_string();
  // Without a dot in front, USD looks for it in other folders as well.
  const std::string text = path.generic_string();
  return text.starts_with("../") ? text : "./" + text;
}

}  // namespace

std::string domeLightText(const std::string& asset, Layout layout) {
  // A dome light has +y up and reads a picture as OpenEXR does: its centre lies along +z, its left quarter
  // along +x. First our middle is turned to +x, then +y to +z.
  const std::string turn = std::to_string(90 - 90 * quarterTurns(layout));
  return "#usda 1.0\n"
         "(\n"
         "    defaultPrim = \"Environment\"\n"
         "    upAxis = \"Z\"\n"
         ")\n"
         "\n"
         "def DomeLight \"Environment\"\n"
         "{\n"
         "    asset inputs:texture:file = " +
         assetText(asset) +
         "\n"
         "    token inputs:texture:format = \"latlong\"\n"
         "    float xformOp:rotateX = 90\n"
         "    float xformOp:rotateY = " +
         turn +
         "\n"
         "    uniform token[] xformOpOrder = [\"xformOp:rotateX\", \"xformOp:rotateY\"]\n"
         "}\n";
}

void writeDomeLight(OutputFile& file, const std::string& mapPath, Layout layout) {
  const std::string text = domeLightText(pathFromLayer(file.path(), mapPath), layout);
  file.write(text.data(), text.size(), 0);
  file.finish();
}

}  // namespace orv::scene
