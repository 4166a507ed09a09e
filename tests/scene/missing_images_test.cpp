#include "scene/missing_images.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "scene/read_scene.h"

namespace orv::scene {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kScene = R"({"version": 1, "sizeFromImage": "size.exr",
  "background": {"type": "image", "path": "sky.exr"},
  "pins": [
    {"shape": "circle", "azimuth": 0, "elevation": 0, "radius": 5, "fill": {"type": "color", "color": [1, 1, 1]}},
    {"name": "key", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": 5,
     "fill": {"type": "image", "path": "/lamps/key.exr"}},
    {"enabled": false, "shape": "circle", "azimuth": 0, "elevation": 0, "radius": 5,
     "fill": {"type": "image", "path": "off.exr"}}]})";

class MissingImages : public testing::Test {
 protected:
  MissingImages() {
    std::string name = (std::filesystem::temp_directory_path() / "orvhdri_missing-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    folder_ = name;
  }
  ~MissingImages() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::string folder_;
};

TEST_F(MissingImages, AreNamedWithTheBrushOrPinThatWantsThem) {
  const std::vector<Problem> missing = missingImages(parseScene(kScene, "s.json"), "s.json", folder_);
  std::vector<std::string> findings;
  for (const Problem& problem : missing) findings.push_back(problem.finding());
  EXPECT_THAT(findings, ElementsAre("s.json: sizeFromImage: there is no file " + folder_ + "/size.exr",
                                    "s.json: background.path: there is no file " + folder_ + "/sky.exr",
                                    "s.json: pins[1] \"key\": fill.path: there is no file /lamps/key.exr"));
}

TEST_F(MissingImages, AreNotThoseThatAreThere) {
  std::ofstream(folder_ + "/sky.exr") << "anything";
  const Scene scene =
      parseScene(R"({"version": 1, "background": {"type": "image", "path": "sky.exr"}})", "s.json");
  EXPECT_THAT(missingImages(scene, "s.json", folder_), IsEmpty());
}

TEST_F(MissingImages, AreNotThoseInMemory) {
  Scene scene = parseScene(R"({"version": 1, "background": {"type": "image", "path": "sky.exr"}})", "s.json");
  std::get<ImageBackground>(scene.background.paint).path = "memory:sky";
  EXPECT_THAT(missingImages(scene, "s.json", folder_), IsEmpty());
  EXPECT_THAT(imageFiles(scene, folder_), IsEmpty());
}

TEST_F(MissingImages, FilesAreAllThatASceneNames) {
  EXPECT_THAT(
      imageFiles(parseScene(kScene, "s.json"), folder_),
      ElementsAre(folder_ + "/size.exr", folder_ + "/sky.exr", "/lamps/key.exr", folder_ + "/off.exr"));
}

}  // namespace
}  // namespace orv::scene
