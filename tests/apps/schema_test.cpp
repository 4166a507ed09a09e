#include <gmock/gmock.h>

#include <map>

#include "apps/Program.h"
#include "scene/scene_texts.h"
#include "scene/write_scene.h"

// The schema and the reader hold the same rules: what one takes, the other takes.

namespace {

/// Runs the reader over files; which of them it takes.
std::map<std::string, bool> readerTakes(const std::vector<std::string>& files) {
  std::map<std::string, bool> taken;
  std::vector<std::string> call{"check"};
  call.insert(call.end(), files.begin(), files.end());
  const Outcome run = orvpaint(call);
  for (const std::string& file : files) taken[file] = run.out.find(file + ": good\n") != std::string::npos;
  return taken;
}

/// Runs a draft-07 validator over files; which of them the schema takes.
std::map<std::string, bool> schemaTakes(const std::vector<std::string>& files) {
  constexpr const char* kScript = R"(
import json, sys
from jsonschema import Draft7Validator
schema = json.load(open(sys.argv[1]))
Draft7Validator.check_schema(schema)
validator = Draft7Validator(schema)
for path in sys.argv[2:]:
    print(path, validator.is_valid(json.load(open(path, encoding='utf-8'))))
)";
  std::vector<std::string> call{"-c", kScript, ORVHDRI_SOURCE_DIR "/scene/scene.schema.json"};
  call.insert(call.end(), files.begin(), files.end());
  const Outcome run = Program(call, "/usr/bin/python3").run();
  EXPECT_EQ(run.status, 0) << run.err;
  std::map<std::string, bool> taken;
  for (const std::string& file : files) {
    const bool yes = run.out.find(file + " True\n") != std::string::npos;
    EXPECT_TRUE(yes || run.out.find(file + " False\n") != std::string::npos) << file;
    taken[file] = yes;
  }
  return taken;
}

std::vector<std::string> exampleScenes() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(ORVHDRI_SOURCE_DIR "/examples"))
    if (entry.path().extension() == ".json") files.push_back(entry.path().string());
  return files;
}

void expectBoth(const std::vector<std::string>& scenes, bool taken) {
  const TestFolder folder;
  std::vector<std::string> files;
  for (std::size_t i = 0; i < scenes.size(); ++i)
    files.push_back(folder.put(std::to_string(i) + ".json", scenes[i]));
  const auto reader = readerTakes(files);
  const auto schema = schemaTakes(files);
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    EXPECT_EQ(reader.at(files[i]), taken) << "the reader, of\n" << scenes[i];
    EXPECT_EQ(schema.at(files[i]), taken) << "the schema, of\n" << scenes[i];
  }
}

std::string image(const std::string& members) {
  return R"({"type": "image", "path": "a.exr", )" + members + "}";
}
std::string sky(const std::string& members) { return R"({"type": "sunSky", "sky": {)" + members + "}}"; }
std::string gradient(const std::string& members) { return R"({"type": "gradient", )" + members + "}"; }
std::string more(const std::string& members) { return withBackground(kWhite, ", " + members); }

TEST(Schema, TakesWhatTheReaderTakes) {
  std::vector<std::string> scenes{
      withBackground(kWhite),
      withBackground(R"({"type": "gradient"})"),
      withBackground(R"({"type": "sunSky"})"),
      withBackground(R"({"type": "image", "path": "ü.exr"})"),
      R"({"version": 1.0, "size": [2.0, 1], "background": {"type": "color", "color": [-1, 1e38, 0]}})",
      more(R"("size": [65536, 1])"),
      more(R"("sizeFromImage": "a.exr")"),
      more(R"("smoothing": false, "pins": [], "view": {"a": [1, {"b": null}]})"),
      withBackground(
          image(R"("brightness": -3, "gamma": 1e-3, "hue": 1, "saturation": -1, "tint": [0, 0, 0])")),
      withBackground(image(R"("blur": 0, "rotation": {})")),
      withBackground(image(R"("rotation": {"azimuth": 360, "tilt": -180})")),
      withBackground(
          sky(R"("turbidity": 10, "ozone": 3, "groundAlbedo": 1, "skyIntensity": 0, "sunIntensity": 100,
          "sunSize": 0.1, "latitude": -90, "longitude": 180, "hours": 24, "dayOfYear": 366, "timeZone": 14,
          "northOffset": -360)")),
      withBackground(
          R"({"type": "sunSky", "sun": {"azimuth": -360, "elevation": 90}, "blur": 1, "hue": 0.5})"),
      withBackground(gradient(R"("stops": [{"position": -1, "color": [1, 2, 3], "intensity": 2, "slopeIn": 0,
          "slopeOut": -1}])")),
      R"({"$schema": "../scene.schema.json", "comment": "a", "version": 1, "background": {"comment": "b",
          "type": "sunSky", "sky": {"comment": "c"}, "sun": {"comment": "d", "azimuth": 0, "elevation": 1},
          "rotation": {"comment": "e"}}})",
      withPin(kCircle + R"(, "comment": "")", gradient(R"("comment": "a", "stops": [{"comment": "b",
          "position": 0, "color": [1, 2, 3]}], "opacity": [{"comment": "c", "position": 0, "value": 1}])")),
      more(R"("size": {"keys": [[1, [8, 4]]]}, "smoothing": {"keys": [[1, true], [2, false]]})"),
      withBackground(
          R"({"type": "color", "color": [{"keys": [[1, 0], [24, 1]], "interpolation": "smooth"}, 1, 1],
          "brightness": {"keys": [[-1, 0.5]], "interpolation": "step", "comment": "dimmed"}})"),
      withBackground(sky(R"("hours": {"keys": [[1, 6], [100, 20]]}, "dayOfYear": {"keys": [[1, 6]]})")),
      withPin(R"("shape": "circle", "azimuth": {"keys": [[1, 170], [2, -170]]}, "elevation": 0, "radius": 5)",
              image(R"("mode": {"keys": [[1, "add"]]}, "tint": {"keys": [[1, [1, 1, 1]]]})")),
      withPin(kCircle, kWhite),
      withPin(kRect + R"(, "name": "", "enabled": false, "rotation": -720, "half": true, "cornerRadius": 3)",
              kWhite),
      withPin(kCircle, R"({"type": "background"})"),
      withPin(kCircle, R"({"type": "background", "turn": 1, "tilt": 2, "gamma": 2, "mode": "screen"})"),
      withPin(kCircle, image(R"("mode": "multiply")")),
      withPin(kCircle, gradient(R"("angle": 400, "opacity": [{"position": 0, "value": 2}])")),
      withPin(R"("shape": "circle", "azimuth": -180, "elevation": 90, "radius": 180)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 360, "elevation": 90, "radius": 180)", kWhite),
      withBackground(R"({"type": "color", "temperature": 1000, "exposure": -64})"),
      withBackground(image(R"("temperature": 40000, "brightness": 2, "exposure": 0.5)")),
      withBackground(gradient(R"("stops": [{"position": 0, "temperature": 6504}])")),
      withPin(R"("shape": "rect", "azimuth": 180, "elevation": -90, "halfWidth": 89.9, "halfHeight": 0.001)",
              kWhite),
  };
  for (const char* falloff :
       {"cosine", "linear", "quadratic", "smoothEdge", "gaussianEdge", "outline", "solid"})
    scenes.push_back(withPin(kCircle + R"(, "falloffAmount": 0, "falloff": ")" + falloff + "\"", kWhite));
  for (const char* falloff :
       {"cosine", "linear", "quadratic", "boxEdge", "boxProduct", "boxGaussian", "outline", "solid"})
    scenes.push_back(withPin(kRect + R"(, "falloffAmount": 9, "falloff": ")" + falloff + "\"", kWhite));
  expectBoth(scenes, true);
}

TEST(Schema, RefusesWhatTheReaderRefuses) {
  std::vector<std::string> scenes{
      "[]",
      "3",
      more(R"("comment": 1)"),
      more(R"("$schema": {})"),
      withBackground(R"({"type": "color", "color": [1, 1, 1], "$schema": "a"})"),
      more(R"("size": {"keys": []})"),
      more(R"("size": {"keys": [[1]]})"),
      more(R"("size": {"keys": [["a", [8, 4]]]})"),
      more(R"("size": {"keys": [[1, [8, 4]]], "interpolation": "cubic"})"),
      more(R"("size": {"keys": [[1, [8, 4]]], "comment": 1})"),
      withPin(kCircle, R"({"type": "background", "turn": 361})"),
      "{}",
      R"({"version": 1})",
      R"({"background": {"type": "color", "color": [1, 1, 1]}})",
      R"({"version": 2, "background": {"type": "color", "color": [1, 1, 1]}})",
      R"({"version": true, "background": {"type": "color", "color": [1, 1, 1]}})",
      R"({"version": "1", "background": {"type": "color", "color": [1, 1, 1]}})",
      withBackground("{}"),
      withBackground("null"),
      withBackground(R"({"type": "colour", "color": [1, 1, 1]})"),
      withBackground(R"({"type": "color"})"),
      withBackground(R"({"type": "color", "color": [1, 1]})"),
      withBackground(R"({"type": "color", "color": [1, 1, 1, 1]})"),
      withBackground(R"({"type": "color", "color": [1, "1", 1]})"),
      withBackground(R"({"type": "color", "color": [1, 1, 1e39]})"),
      withBackground(R"({"type": "color", "color": [1, 1, 1e999]})"),
      withBackground(R"({"type": "image"})"),
      withBackground(R"({"type": "image", "path": ""})"),
      withBackground(R"({"type": "image", "path": "a\u0000b"})"),
      withBackground(R"({"type": "background"})"),
      withPin(kCircle, R"({"type": "sunSky"})"),
      withPin(R"("azimuth": 0, "elevation": 0, "radius": 5)", kWhite),
      withBackground(R"({"type": "color"})"),
      withBackground(R"({"type": "color", "temperature": 5000, "color": [1, 1, 1]})"),
      withBackground(R"({"type": "color", "temperature": 999})"),
      withBackground(R"({"type": "color", "temperature": 5000, "exposure": 65})"),
      withBackground(image(R"("temperature": 40001)")),
      withBackground(image(R"("temperature": 5000, "tint": [1, 1, 1])")),
      withBackground(gradient(R"("stops": [{"position": 0}])")),
      withPin(R"("shape": "square", "azimuth": 0, "elevation": 0, "radius": 5)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 0, "radius": 5)", kWhite),
      withPin(R"("shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 5)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 361, "elevation": 0, "radius": 5)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 0, "elevation": -91, "radius": 5)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": 0)", kWhite),
      withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": 181)", kWhite),
      withPin(R"("shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 90, "halfHeight": 1)", kWhite),
      withPin(kRect + R"(, "cornerRadius": -1)", kWhite),
      withPin(kRect + R"(, "radius": 1)", kWhite),
      withPin(kCircle + R"(, "halfWidth": 1)", kWhite),
      withPin(kCircle + R"(, "falloff": "boxEdge")", kWhite),
      withPin(kRect + R"(, "falloff": "smoothEdge")", kWhite),
      withPin(kCircle + R"(, "falloffAmount": -1)", kWhite),
      withPin(kCircle + R"(, "half": 1)", kWhite),
      withPin(kCircle + R"(, "name": 1)", kWhite),
      withPin(kCircle + R"(, "enabled": "yes")", kWhite),
      withPin(kCircle, "[]"),
      withPin(kCircle, R"({"type": "color", "color": [1, 1, 1], "mode": "subtract"})"),
      more(R"("unknown": 1)"),
      more(R"("size": [0, 1])"),
      more(R"("size": [65537, 1])"),
      more(R"("size": [1.5, 1])"),
      more(R"("size": [1])"),
      more(R"("size": [1, 1, 1])"),
      more(R"("size": [1, 1], "sizeFromImage": "a.exr")"),
      more(R"("sizeFromImage": 3)"),
      more(R"("smoothing": "on")"),
      more(R"("pins": {})"),
      more(R"("pins": [1])"),
      more(R"("view": 1)"),
      withBackground(sky(R"("haze": 1)")),
      withBackground(R"({"type": "sunSky", "sun": {"azimuth": 1}})"),
      withBackground(R"({"type": "sunSky", "sun": {"azimuth": 1, "elevation": 91}})"),
      withBackground(R"({"type": "sunSky", "sun": {"azimuth": 361, "elevation": 1}})"),
      withBackground(gradient(R"("stops": [{"color": [1, 1, 1]}])")),
      withBackground(gradient(R"("stops": [{"position": 0}])")),
      withBackground(gradient(R"("stops": [{"position": 0, "color": [1, 1, 1], "value": 1}])")),
      withBackground(gradient(R"("stops": {})")),
      withPin(kCircle, gradient(R"("opacity": [{"position": 0}])")),
      withPin(kCircle, gradient(R"("opacity": [{"position": 0, "value": 1, "intensity": 1}])")),
      withBackground(image(R"("rotation": {"azimuth": -361})")),
      withBackground(image(R"("rotation": {"tilt": 181})")),
      withBackground(image(R"("rotation": {"roll": 1})")),
  };
  // Keys that the type or the use does not know.
  for (const char* key :
       {R"("mode": "add")", R"("opacity": [])", R"("angle": 1)", R"("blur": 1)", R"("path": "a")"})
    scenes.push_back(withBackground(gradient(key)));
  for (const char* key :
       {R"("blur": 1)", R"("rotation": {})", R"("turn": 1)", R"("sky": {})", R"("sun": {})"})
    scenes.push_back(withPin(kCircle, image(key)));
  for (const char* key : {R"("gamma": 1)", R"("hue": 0)", R"("saturation": 0)", R"("tint": [1, 1, 1])"})
    scenes.push_back(withBackground(R"({"type": "color", "color": [1, 1, 1], )" + std::string(key) + "}"));
  // Values out of range.
  for (const char* value : {R"("gamma": 0)", R"("hue": -0.1)", R"("hue": 1.1)", R"("saturation": -1.1)",
                            R"("saturation": 1.1)", R"("blur": -1)", R"("brightness": "1")", R"("tint": 1)"})
    scenes.push_back(withBackground(image(value)));
  for (const char* value :
       {R"("turbidity": 0.9)", R"("turbidity": 11)", R"("ozone": -1)", R"("ozone": 3.5)",
        R"("groundAlbedo": 1.5)", R"("skyIntensity": -1)", R"("sunIntensity": -1)", R"("sunSize": 0.05)",
        R"("sunSize": 31)", R"("latitude": 91)", R"("longitude": -181)", R"("hours": 24.5)",
        R"("dayOfYear": 0)", R"("dayOfYear": 367)", R"("dayOfYear": 1.5)", R"("timeZone": 15)",
        R"("northOffset": 361)"})
    scenes.push_back(withBackground(sky(value)));
  expectBoth(scenes, false);
}

TEST(Schema, TakesTheExamples) {
  // As they are: Python's JSON knows no comments beside it.
  const std::vector<std::string> files = exampleScenes();
  ASSERT_GE(files.size(), 3u);
  for (const auto& [file, taken] : schemaTakes(files)) EXPECT_TRUE(taken) << file;
}

TEST(Schema, TakesTheExamplesAsTheyAreWrittenAnew) {
  const TestFolder folder;
  std::vector<std::string> files;
  for (const std::string& path : exampleScenes()) {
    const std::string text = orv::scene::sceneText(orv::scene::readScene(path));
    files.push_back(folder.put(std::filesystem::path(path).filename().string(), text));
    EXPECT_NE(text.find("\"comment\": "), std::string::npos) << path;
  }
  for (const auto& [file, taken] : schemaTakes(files)) EXPECT_TRUE(taken) << file;
}

}  // namespace
