#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <thread>

#include "apps/Program.h"

// Many maps in one call: settings, sweeps, frames, job lines.

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

/// A scene of a sky and a light, 64 x 32, whose light is `pins.key`.
const std::string kLitScene = R"({"version": 1, "size": [64, 32], "background": {"type": "gradient"},
  "pins": [{"name": "key", "shape": "circle", "azimuth": 0, "elevation": 10, "radius": 20,
            "fill": {"type": "color", "color": [4, 3, 2]}}]})";

std::vector<Json> linesOf(const std::string& text) {
  std::vector<Json> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(Json::parse(line));
  return lines;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

/// The bytes that one call paints of one scene.
std::string painted(const TestFolder& folder, const std::string& scene) {
  const std::string path = folder.put("single.json", scene);
  const Outcome run = orvpaint({"paint", path, "-o", folder / "single.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  return contentsOf(folder / "single.pfm");
}

TEST(Jobs, SeveralScenesArePaintedUnderTheirNames) {
  const TestFolder folder;
  const std::string a = folder.put("a.json", kColorScene), b = folder.put("b.json", kLitScene);
  const Outcome run = orvpaint({"paint", a, b, "-o", folder / "{name}_{index}_{size}.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(folder / "a_0000_64x32.pfm"), painted(folder, kColorScene));
  EXPECT_EQ(contentsOf(folder / "b_0001_64x32.pfm"), painted(folder, kLitScene));
}

TEST(Jobs, ASettingPaintsWhatTheChangedSceneWould) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const Outcome run = orvpaint(
      {"paint", scene, "--set", "pins.key.azimuth=30", "--set", "pins[0].radius=9", "-o", folder / "s.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(folder / "s.pfm"),
            painted(folder, replaced(replaced(kLitScene, "\"azimuth\": 0", "\"azimuth\": 30"), "20", "9")));
}

TEST(Jobs, ASettingThatIsWrongNamesThePlace) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const Outcome run = orvpaint({"paint", scene, "--set", "pins.key.radius=-4", "-o", folder / "s.pfm"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            scene +
                ": setting pins.key.radius: pins[0] \"key\": radius: -4 is not above 0; allowed: above "
                "0 and at most 180\n");
  const Outcome none = orvpaint({"paint", scene, "--set", "pins.key", "-o", folder / "s.pfm"});
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.err, HasSubstr("orvpaint: pins.key: no value; allowed: PATH=VALUE"));
}

TEST(Jobs, SweepsMultiply) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const Outcome run = orvpaint({"paint", scene, "--sweep", "pins.key.azimuth=-90:90:90", "--sweep",
                                "pins.key.fill.brightness=1,2", "-o", folder / "{index}.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(folder.names(), UnorderedElementsAre("s.json", "0000.pfm", "0001.pfm", "0002.pfm", "0003.pfm",
                                                   "0004.pfm", "0005.pfm"));
  EXPECT_EQ(contentsOf(folder / "0005.pfm"),
            painted(folder, replaced(replaced(kLitScene, "\"azimuth\": 0", "\"azimuth\": 90"), "[4, 3, 2]",
                                     "[4, 3, 2], \"brightness\": 2")));
}

TEST(Jobs, FramesPaintASceneThatMoves) {
  const TestFolder folder;
  const std::string scene = folder.put(
      "s.json", replaced(kLitScene, "\"azimuth\": 0", R"("azimuth": {"keys": [[1, 170], [5, -170]]})"));
  const Outcome run = orvpaint({"paint", scene, "--frames", "1-5x2", "-o", folder / "{name}.{frame}.pfm"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(folder.names(), UnorderedElementsAre("s.json", "s.0001.pfm", "s.0003.pfm", "s.0005.pfm"));
  for (const auto& [frame, azimuth] : {std::pair{"1", "170"}, {"3", "180"}, {"5", "-170"}})
    EXPECT_EQ(contentsOf(folder / ("s.000" + std::string(frame) + ".pfm")),
              painted(folder, replaced(kLitScene, "\"azimuth\": 0", "\"azimuth\": " + std::string(azimuth))))
        << frame;
}

TEST(Jobs, AFailureIsNamedAndTheOthersArePainted) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const Outcome run = orvpaint({"paint", scene, folder / "none.json", "--sweep", "pins.key.radius=5,-4,6",
                                "-o", folder / "{index}.pfm"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(folder.names(), UnorderedElementsAre("s.json", "0000.pfm", "0002.pfm"));
  EXPECT_THAT(run.err, HasSubstr("radius: -4 is not above 0"));
  EXPECT_THAT(run.err,
              HasSubstr("orvpaint: " + (folder / "0001.pfm") + ": not painted: its scene has errors\n"));
  EXPECT_THAT(run.err, HasSubstr("0003.pfm: not painted: " + (folder / "none.json") +
                                 ": cannot be read: No such file"));
  EXPECT_THAT(run.err, HasSubstr("orvpaint: 4 of 6 maps are not painted\n"));
}

TEST(Jobs, AMissingPictureFailsOneMapAlone) {
  const TestFolder folder;
  const std::string bad = folder.put(
      "bad.json", R"({"version": 1, "size": [8, 4], "background": {"type": "image", "path": "none.exr"}})");
  const std::string good = folder.put("good.json", kColorScene);
  const Outcome run = orvpaint({"paint", bad, good, "-o", folder / "{name}.pfm"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(folder.names(), UnorderedElementsAre("bad.json", "good.json", "good.pfm"));
  EXPECT_THAT(run.err, HasSubstr("none.exr: there is no such file"));
  EXPECT_THAT(run.err, HasSubstr("orvpaint: 1 of 2 maps are not painted\n"));
}

TEST(Jobs, ANameThatTwoMapsWouldShareIsWrongBeforePainting) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const Outcome run =
      orvpaint({"paint", scene, "--sweep", "pins.key.azimuth=0,1", "-o", folder / "{name}.pfm"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr("s.pfm: two maps would have this name"));
  EXPECT_THAT(folder.names(), ElementsAre("s.json"));
}

TEST(Jobs, WrongSweepsFramesNamesAndShardsEndTheCall) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const std::vector<std::pair<std::vector<std::string>, std::string>> calls{
      {{"--sweep", "pins.key.azimuth=0:10:-1", "-o", folder / "{index}.pfm"}, "does not lead from 0 to 10"},
      {{"--frames", "4-1", "-o", folder / "{frame}.pfm"}, "\"4-1\" are no frames; allowed: FROM-TO"},
      {{"-o", folder / "{nam}.pfm"}, "{nam} is not a word of names (did you mean \"name\"?)"},
      {{"-o", folder / "{frame}.pfm"}, "is not known; give --frames"},
      {{"--shard", "3/2", "-o", folder / "a.pfm"}, "\"3/2\" is not a part; allowed: I/N"},
      {{"--shard", "0/2", "-o", folder / "a.pfm"}, "\"0/2\" is not a part; allowed: I/N"}};
  for (const auto& [options, words] : calls) {
    std::vector<std::string> call{"paint", scene};
    call.insert(call.end(), options.begin(), options.end());
    const Outcome run = orvpaint(call);
    EXPECT_EQ(run.status, 2) << words;
    EXPECT_THAT(run.err, HasSubstr(words));
  }
  EXPECT_THAT(folder.names(), ElementsAre("s.json"));
}

TEST(Jobs, ADryRunPrintsTheLinesThatBatchPaints) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const std::vector<std::string> call{"paint",  scene,   "--sweep", "pins.key.azimuth=0,45",
                                      "--size", "32x16", "-o",      folder / "{index}.pfm"};
  std::vector<std::string> dryCall = call;
  dryCall.push_back("--dry-run");
  const Outcome dry = orvpaint(dryCall);
  EXPECT_EQ(dry.status, 0) << dry.err;
  EXPECT_THAT(folder.names(), ElementsAre("s.json"));
  const std::vector<Json> lines = linesOf(dry.out);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1], (Json{{"scene", scene},
                            {"set", {{"pins.key.azimuth", 45}}},
                            {"size", {32, 16}},
                            {"output", folder / "0001.pfm"}}));
  EXPECT_EQ(orvpaint(call).status, 0);
  const std::string first = contentsOf(folder / "0000.pfm"), second = contentsOf(folder / "0001.pfm");
  EXPECT_NE(first, second);
  fs::remove(folder / "0000.pfm");
  fs::remove(folder / "0001.pfm");
  EXPECT_EQ(orvpaint({"batch", folder.put("jobs.jsonl", dry.out)}).status, 0);
  EXPECT_EQ(contentsOf(folder / "0000.pfm"), first);
  EXPECT_EQ(contentsOf(folder / "0001.pfm"), second);
}

TEST(Jobs, BatchReadsStandardInput) {
  const TestFolder folder;
  Json scene = Json::parse(kLitScene);
  const std::string lines = Json{{"scene", scene}, {"values", {{"id", 3}}}}.dump() + "\n\n" +
                            Json{{"scene", scene}, {"set", {{"pins.key.radius", 5}}}}.dump() + "\n";
  const std::string file = folder.put("jobs.jsonl", lines);
  const Outcome run = Program({"batch", "-", "-o", folder / "{index}.pfm", "--manifest", folder / "m.jsonl"})
                          .prepared([&] {
                            const int in = ::open(file.c_str(), O_RDONLY);
                            ::dup2(in, STDIN_FILENO);
                          })
                          .run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(folder / "0000.pfm"), painted(folder, kLitScene));
  const std::vector<Json> manifest = linesOf(contentsOf(folder / "m.jsonl"));
  ASSERT_EQ(manifest.size(), 2u);
  EXPECT_EQ(manifest[0]["job"]["values"], (Json{{"id", 3}})) << "values are handed through";
}

TEST(Jobs, WrongJobLinesAreAllNamedAndNothingIsPainted) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const std::string jobs =
      folder.put("jobs.jsonl", Json{{"scene", scene}, {"output", folder / "a.pfm"}}.dump() +
                                   "\n{\"scene\": 1}\n" + Json{{"scene", scene}, {"output", "a.gif"}}.dump() +
                                   "\n" + Json{{"scene", scene}}.dump());
  const Outcome run = orvpaint({"batch", jobs});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err,
              HasSubstr(jobs + ":2:11: scene: 1 found; allowed: the path of a scene in quotes, a scene\n"));
  EXPECT_THAT(run.err, HasSubstr(jobs + ":3: output: \"a.gif\" has no ending that names a format"));
  EXPECT_THAT(run.err, HasSubstr(jobs + ":4: output: missing"));
  EXPECT_THAT(folder.names(), UnorderedElementsAre("s.json", "jobs.jsonl"));
  EXPECT_EQ(orvpaint({"batch", folder / "none.jsonl"}).status, 1);
}

TEST(Jobs, TheManifestTellsWhatBecameOfEachMap) {
  const TestFolder folder;
  // A color of one luminance everywhere: its mean and its peak are known.
  const std::string scene = folder.put("s.json", kColorScene);
  const Outcome run = orvpaint({"paint", scene, "--sweep", "background.brightness=2,\"x\"", "-o",
                                folder / "{index}.pfm", "--manifest", folder / "m.jsonl"});
  EXPECT_EQ(run.status, 2);
  const std::vector<Json> lines = linesOf(contentsOf(folder / "m.jsonl"));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["job"]["output"], folder / "0000.pfm");
  EXPECT_EQ(lines[0]["job"]["set"], (Json{{"background.brightness", 2}}));
  EXPECT_EQ(lines[0]["status"], "painted");
  EXPECT_FALSE(lines[0].contains("error"));
  EXPECT_GT(lines[0]["seconds"].get<double>(), 0);
  EXPECT_EQ(lines[0]["mean"], Json({1.0, 0.5, 4.0}));
  EXPECT_NEAR(lines[0]["peak"].get<double>(), 0.2126 * 1 + 0.7152 * 0.5 + 0.0722 * 4, 1e-5);
  EXPECT_EQ(lines[1]["status"], "failed");
  EXPECT_EQ(lines[1]["error"],
            scene + ": setting background.brightness: background.brightness: \"x\" found; allowed: a number");
  EXPECT_FALSE(lines[1].contains("mean"));
}

TEST(Jobs, WhatIsThereIsSkipped) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  folder.put("0001.pfm", "kept");
  const Outcome run = orvpaint({"paint", scene, "--sweep", "pins.key.azimuth=0:2", "-o",
                                folder / "{index}.pfm", "--skip-existing", "--manifest", folder / "m.jsonl"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(contentsOf(folder / "0001.pfm"), "kept");
  std::map<std::string, std::string> status;
  for (const Json& line : linesOf(contentsOf(folder / "m.jsonl")))
    status[fs::path(line["job"]["output"].get<std::string>()).stem()] = line["status"];
  EXPECT_THAT(status, ElementsAre(std::pair{"0000", "painted"}, std::pair{"0001", "skipped"},
                                  std::pair{"0002", "painted"}));
}

TEST(Jobs, AMapIsThereWhenItsDomeLightIsToo) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const std::vector<std::string> call{"paint",
                                      scene,
                                      "--sweep",
                                      "pins.key.azimuth=0:1",
                                      "-o",
                                      folder / "{index}.pfm",
                                      "--usd",
                                      folder / "{index}.usda",
                                      "--skip-existing"};
  folder.put("0000.pfm", "kept");
  folder.put("0000.usda", "kept, too");
  folder.put("0001.pfm", "without its light");
  EXPECT_EQ(orvpaint(call).status, 0);
  EXPECT_EQ(contentsOf(folder / "0000.pfm"), "kept");
  EXPECT_EQ(contentsOf(folder / "0000.usda"), "kept, too");
  EXPECT_THAT(contentsOf(folder / "0001.usda"), HasSubstr("0001.pfm"));
  EXPECT_EQ(contentsOf(folder / "0001.pfm"),
            painted(folder, replaced(kLitScene, "\"azimuth\": 0", "\"azimuth\": 1")));
}

TEST(Jobs, ShardsPaintEachMapOnce) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  std::vector<std::string> all;
  for (int shard = 1; shard <= 3; ++shard) {
    const Outcome run =
        orvpaint({"paint", scene, "--sweep", "pins.key.azimuth=0:9", "-o", folder / "{index}.pfm", "--shard",
                  std::to_string(shard) + "/3", "--dry-run"});
    EXPECT_EQ(run.status, 0) << run.err;
    for (const Json& line : linesOf(run.out))
      all.push_back(fs::path(line["output"].get<std::string>()).stem());
  }
  EXPECT_THAT(all,
              ElementsAre("0000", "0001", "0002", "0003", "0004", "0005", "0006", "0007", "0008", "0009"));
}

TEST(Jobs, ARunThatIsKilledLeavesWholeFilesAndASecondFinishesTheRest) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const auto call = [&](const std::string& out) {
    return std::vector<std::string>{"paint",           scene,        "--sweep",     "pins.key.azimuth=0:59",
                                    "--size",          "128x64",     "-o",          out + "/{index}.exr",
                                    "--skip-existing", "--manifest", out + ".jsonl"};
  };
  fs::create_directory(folder / "whole");
  fs::create_directory(folder / "killed");
  ASSERT_EQ(orvpaint(call(folder / "whole")).status, 0);
  const auto isWhole = [&](const fs::path& file) {
    return contentsOf(file) == contentsOf(fs::path(folder / "whole") / file.filename());
  };
  // Killed after one more and one more map, until a run comes to its end.
  int kills = 0;
  for (int status = -1; status != 0;) {
    const auto count = [&] {
      return std::distance(fs::directory_iterator(folder / "killed"), fs::directory_iterator());
    };
    const auto before = count();
    const Outcome run = Program(call(folder / "killed"))
                            .meanwhile([&](pid_t child) {
                              if (kills >= 8) return;
                              for (int i = 0; i < 2000 && count() < before + 5; ++i)
                                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                              ::kill(child, SIGKILL);
                            })
                            .run();
    status = run.status;
    kills += status == 128 + SIGKILL ? 1 : 0;
    for (const auto& entry : fs::directory_iterator(folder / "killed"))
      EXPECT_TRUE(entry.path().extension() != ".exr" || isWhole(entry.path())) << entry.path();
    ASSERT_TRUE(status == 0 || status == 128 + SIGKILL) << run.err;
  }
  EXPECT_GT(kills, 0);
  for (int i = 0; i < 60; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "%04d.exr", i);
    EXPECT_TRUE(isWhole(fs::path(folder / "killed") / name)) << name;
  }
  std::multiset<std::string> told;
  for (const Json& line : linesOf(contentsOf(folder / "killed.jsonl"))) {
    told.insert(line["job"]["output"]);
    EXPECT_NE(line["status"], "failed");
    EXPECT_TRUE(line.contains("mean"));
  }
  EXPECT_EQ(told.size(), 60u) << "one line for each map";
  EXPECT_EQ(std::set<std::string>(told.begin(), told.end()).size(), 60u);
}

TEST(Jobs, ALineOfTheManifestThatIsNotWholeIsDropped) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kLitScene);
  const std::vector<std::string> call{"paint",
                                      scene,
                                      "--sweep",
                                      "pins.key.azimuth=0:2",
                                      "-o",
                                      folder / "{index}.pfm",
                                      "--skip-existing",
                                      "--manifest",
                                      folder / "m.jsonl"};
  ASSERT_EQ(orvpaint(call).status, 0);
  const std::string text = contentsOf(folder / "m.jsonl");
  folder.put("m.jsonl", text.substr(0, text.size() - 20));
  fs::remove(folder / "0000.pfm");
  ASSERT_EQ(orvpaint(call).status, 0);
  std::vector<std::string> status;
  for (const Json& line : linesOf(contentsOf(folder / "m.jsonl"))) status.push_back(line["status"]);
  EXPECT_THAT(status, ElementsAre("painted", "skipped", "painted"))
      << "the second map, the third, the first anew";
}

}  // namespace
