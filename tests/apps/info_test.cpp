#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <numbers>

#include "apps/Program.h"

namespace {

using ::testing::HasSubstr;
using Json = nlohmann::json;

TEST(Info, DescribesAScene) {
  const Outcome run = orvpaint({"info", ORVHDRI_SOURCE_DIR "/examples/venice.json"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("2048 x 1024"));
  EXPECT_THAT(run.out, HasSubstr("image \"venice.exr\""));
}

TEST(Info, NamesPinsAndMissingImages) {
  const TestFolder folder;
  const std::string scene =
      folder.put("s.json", R"({"version": 1, "background": {"type": "image", "path": "none.exr"},
    "pins": [{"name": "rim", "shape": "circle", "azimuth": 150, "elevation": -20, "radius": 12,
              "fill": {"type": "color", "color": [1, 2, 3], "mode": "add"}}]})");
  const Outcome run = orvpaint({"info", scene});
  EXPECT_EQ(run.status, 1) << run.err;
  EXPECT_THAT(run.out, HasSubstr("\"none.exr\" (not found)"));
  EXPECT_THAT(run.out, HasSubstr("no shares     a picture is missing\n"));
  EXPECT_THAT(run.out, HasSubstr("pins[0] \"rim\" circle at 150/-20, radius 12, solid, add color [1, 2, 3]"));
}

TEST(Info, ControlCharactersAreShownAsEscapes) {
  const TestFolder folder;
  const std::string scene = folder.put("a\x1b]0;b\nc.json", R"({"version": 1,
    "background": {"type": "image", "path": "\u001b[2Jn\u009bone.exr"},
    "pins": [{"name": "rim\u001b[31m\u007f", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": 1,
              "fill": {"type": "color", "color": [1, 2, 3]}}]})");
  for (const char* const command : {"info", "check"}) {
    const Outcome run = orvpaint({command, scene});
    EXPECT_EQ(run.status, command == std::string("info") ? 1 : 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr(R"(a\x1b]0;b\nc.json)"));
    for (const char c : run.out) EXPECT_TRUE(c == '\n' || (c >= 0x20 && c != 0x7f)) << run.out;
  }
  const Outcome missing = orvpaint({"info", folder / "\x9b\xc2\x9b\xc3\xa9.exr"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.err, HasSubstr("\\x9b\\u009b\xc3\xa9.exr: there is no such file"));
}

TEST(Info, APictureAboveTheLimitIsAFailure) {
  const std::string map = ORVHDRI_SOURCE_DIR "/examples/venice.exr";
  const Outcome refused = orvpaint({"info", map, "--max-image-pixels", "131071"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.err, HasSubstr("its image is 512 x 256, above the limits of 65536 a side and 131071"));
  EXPECT_EQ(orvpaint({"info", map, "--max-image-pixels", "131072"}).status, 0);
  EXPECT_EQ(orvpaint({"info", map, "--max-image-pixels", "-1"}).status, 2);
}

TEST(Info, AMissingFileIsAFailure) {
  const Outcome run = orvpaint({"info", "/nonexistent.exr"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr("/nonexistent.exr"));
}

TEST(Info, ATextNamedExrIsAFailure) {
  const TestFolder folder;
  const std::string path = folder.put("a.exr", "This is no picture.");
  const Outcome run = orvpaint({"info", path});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, HasSubstr(path));
}

/// A PFM of these pixels, one grey each, the bottom row first as the format has it.
std::string pfm(int width, int height, const std::vector<float>& greys) {
  std::string bytes = "PF\n" + std::to_string(width) + " " + std::to_string(height) + "\n-1.0\n";
  for (const float grey : greys)
    for (int c = 0; c < 3; ++c) bytes.append(reinterpret_cast<const char*>(&grey), sizeof grey);
  return bytes;
}

TEST(Info, TellsTheLightOfAMap) {
  const TestFolder folder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  const std::string map = folder.put("m.pfm", pfm(4, 2, {2, 2, nan, infinity, 2, 2, 2, -2}));
  const Outcome run = orvpaint({"info", map});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("size          4 x 2\n"));
  EXPECT_THAT(run.out, HasSubstr("layout        native\n"));
  EXPECT_THAT(run.out, HasSubstr("min           [-2, -2, -2]\n"));
  EXPECT_THAT(run.out, HasSubstr("max           [65504, 65504, 65504]\n"));
  EXPECT_THAT(run.out, HasSubstr("pixels        1 NaN, 1 infinite, 1 negative\n"));
  EXPECT_THAT(run.out, HasSubstr("brightest     luminance 65504 at longitude 135, latitude -45, "));
  EXPECT_THAT(run.out, HasSubstr("% of the light within 5 degrees\n"));
  EXPECT_THAT(run.out, HasSubstr("range         14.9993 stops\n")) << "log2(65504 / 2)";
}

TEST(Info, IrradianceOfAMapOfOneColorIsPiTimesIt) {
  const TestFolder folder;
  const Outcome run =
      orvpaint({"info", "--json", folder.put("m.pfm", pfm(8, 4, std::vector<float>(32, 0.5f)))});
  const Json json = Json::parse(run.out);
  EXPECT_EQ(json.at("kind"), "map");
  EXPECT_EQ(json.at("size"), Json({8, 4}));
  for (const char* const axis : {"+X", "-X", "+Y", "-Y", "+Z", "-Z"})
    for (const Json& channel : json.at("irradiance").at(axis))
      EXPECT_NEAR(channel.get<double>(), 0.5 * std::numbers::pi, 1e-12) << axis;
  EXPECT_EQ(json.at("stops"), 0);
}

TEST(Info, TellsWhatEachPinAdds) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", R"({"version": 1, "size": [512, 256],
    "background": {"type": "color", "color": [1, 1, 1]},
    "pins": [{"name": "key", "shape": "circle", "azimuth": 20, "elevation": 10, "radius": 60,
              "fill": {"type": "color", "color": [3, 3, 3], "mode": "add"}},
             {"shape": "rect", "azimuth": 180, "elevation": 0, "halfWidth": 45, "halfHeight": 45, "enabled": false,
              "fill": {"type": "color", "color": [3, 3, 3], "mode": "add"}}]})");
  const Outcome text = orvpaint({"info", scene});
  EXPECT_EQ(text.status, 0) << text.err;
  // 2 pi (1 - cos 60) = pi, of which 3 pi of light beside the background's 4 pi.
  EXPECT_THAT(text.out,
              HasSubstr("pins[0] \"key\" circle at 20/10, radius 60, solid, add color [3, 3, 3], 3.14159 "
                        "sr, 42.9 % of the light\n"));
  EXPECT_THAT(text.out, HasSubstr("background    color [1, 1, 1], 57.1 % of the light\n"));
  // A sixth of the sphere, as the side of a cube.
  EXPECT_THAT(text.out, HasSubstr("add color [3, 3, 3], 2.0944 sr (disabled)\n"));
  const Json json = Json::parse(orvpaint({"info", "--json", scene}).out);
  EXPECT_NEAR(json.at("pins").at(0).at("share").get<double>(), 3.0 / 7, 1e-3);
  EXPECT_NEAR(json.at("pins").at(0).at("solidAngle").get<double>(), std::numbers::pi, 1e-6);
  EXPECT_EQ(json.at("pins").at(1).at("share"), 0);
  EXPECT_NEAR(json.at("background").at("share").get<double>(), 4.0 / 7, 1e-3);
  EXPECT_NEAR(json.at("mean").at(0).get<double>(), 7.0 / 4, 2e-3);
}

TEST(Info, TellsWhereTheSunIsAndWhen) {
  const Json json = Json::parse(orvpaint({"info", "--json", ORVHDRI_SOURCE_DIR "/examples/noon.json"}).out);
  EXPECT_EQ(json.at("sun").at("hours"), 13.5);
  EXPECT_EQ(json.at("sun").at("latitude"), 43.7);
  EXPECT_EQ(json.at("sun").at("fixed"), false);
  const TestFolder folder;
  const std::string map = folder / "noon.exr";
  ASSERT_EQ(
      orvpaint({"paint", ORVHDRI_SOURCE_DIR "/examples/noon.json", "--size", "720x360", "-o", map}).status,
      0);
  const Json painted = Json::parse(orvpaint({"info", "--json", map}).out);
  EXPECT_NEAR(json.at("sun").at("azimuth").get<double>(), painted.at("brightest").at("azimuth").get<double>(),
              1.0);
  EXPECT_NEAR(json.at("sun").at("elevation").get<double>(),
              painted.at("brightest").at("elevation").get<double>(), 1.0);
  const Outcome text = orvpaint({"info", ORVHDRI_SOURCE_DIR "/examples/noon.json"});
  EXPECT_THAT(text.out, HasSubstr(", day 190, 13:30, UTC+2, latitude 43.7, longitude 7.3\n"));
}

TEST(Info, TheSunMovesWithTheRotationOfTheSky) {
  const TestFolder folder;
  const std::string scene =
      folder.put("s.json", R"({"version": 1, "size": [720, 360], "background": {"type": "sunSky",
      "sun": {"azimuth": 70, "elevation": 30}, "rotation": {"azimuth": 25, "tilt": 40}}})");
  const std::string map = folder / "s.exr";
  ASSERT_EQ(orvpaint({"paint", scene, "-o", map}).status, 0);
  const Json sun = Json::parse(orvpaint({"info", "--json", scene}).out).at("sun");
  const Json painted = Json::parse(orvpaint({"info", "--json", map}).out).at("brightest");
  EXPECT_EQ(sun.at("fixed"), true);
  EXPECT_NEAR(sun.at("azimuth").get<double>(), painted.at("azimuth").get<double>(), 1.0);
  EXPECT_NEAR(sun.at("elevation").get<double>(), painted.at("elevation").get<double>(), 1.0);
}

TEST(Info, TellsTheSizeOfPictures) {
  const Outcome run = orvpaint({"info", ORVHDRI_SOURCE_DIR "/examples/venice.json"});
  EXPECT_THAT(run.out, HasSubstr("image \"venice.exr\" (512 x 256)"));
  const Json json = Json::parse(orvpaint({"info", "--json", ORVHDRI_SOURCE_DIR "/examples/venice.json"}).out);
  EXPECT_EQ(json.at("images").at(0).at("size"), Json({512, 256}));
  EXPECT_EQ(json.at("images").at(0).at("place"), "background.path");
}

TEST(Info, SeveralFilesComeOneAfterAnother) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kColorScene);
  const std::string broken = folder.put("b.json", "{");
  const std::string map = folder.put("m.pfm", pfm(2, 1, {1, 1}));
  const Outcome run = orvpaint({"info", "--json", scene, broken, folder / "none.exr", map});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("b.json:1:2: "));
  EXPECT_THAT(run.err, HasSubstr("none.exr"));
  std::istringstream lines(run.out);
  std::vector<std::string> kinds;
  for (std::string line; std::getline(lines, line);) kinds.push_back(Json::parse(line).at("kind"));
  EXPECT_THAT(kinds, ::testing::ElementsAre("scene", "map"));
  EXPECT_THAT(orvpaint({"info", scene, map}).out, HasSubstr("\n\nmap           "));
}

TEST(Info, SaysThatNoPaintIsPossibleWithoutThePainter) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kColorScene);
  Program program({"info", scene});
  program.prepared([] { ::setenv("ORVHDRI_PAINTER", "/nonexistent/painter.so", 1); });
  const Outcome run = program.run();
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("no shares     "));
  EXPECT_THAT(run.out, HasSubstr("/nonexistent/painter.so"));
}

}  // namespace
