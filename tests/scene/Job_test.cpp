#include "scene/Job.h"

#include <gmock/gmock.h>

#include "scene/output_names.h"
#include "scene/scene_texts.h"
#include "scene/sweep.h"

namespace orv::scene {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string errorOfJob(const std::string& line) {
  try {
    parseJob(line, "jobs.jsonl:3");
    return {};
  } catch (const SceneErrors& errors) {
    return errors.what();
  }
}

TEST(Job, HoldsWhatItsLineSays) {
  const Job job = parseJob(R"({"scene": "a/studio.json", "set": {"pins.key.azimuth": 30, "smoothing": false},
      "frame": 12, "size": [64, 32], "output": ["a.exr", "a.png"], "values": {"id": [1, "x"]}})",
                           "");
  EXPECT_EQ(job.scene, "a/studio.json");
  ASSERT_EQ(job.set.size(), 2u);
  EXPECT_EQ(job.set[0].path, "pins.key.azimuth");
  EXPECT_EQ(job.set[0].value.asDouble(), 30);
  EXPECT_EQ(job.frame, 12);
  EXPECT_EQ(job.size, (MapSize{64, 32}));
  EXPECT_THAT(job.outputs, ElementsAre("a.exr", "a.png"));
  EXPECT_EQ(job.values, R"({"id":[1,"x"]})");
}

TEST(Job, ItsTextIsALineThatReadsBack) {
  for (
      const std::string line :
      {R"({"scene":"s.json","output":"a.exr"})",
       R"({"scene":"s.json","set":{"pins.key.azimuth":-0.5,"size":[1,2]},"frame":1.5,"size":[4,2],"output":["a.exr","b.png"]})",
       R"({"scene":{"version":1,"background":{"type":"gradient"}},"values":{"b":1,"a":{"c":null}}})"}) {
    EXPECT_EQ(jobText(parseJob(line, "")), line);
  }
}

TEST(Job, WhatIsWrongNamesLineAndPlace) {
  EXPECT_EQ(errorOfJob(R"({"scen": "a"})"),
            "jobs.jsonl:3:2: scen: not a key of a job (did you mean \"scene\"?); allowed: scene, set, frame, "
            "size, output, values");
  EXPECT_EQ(errorOfJob("{}"), "jobs.jsonl:3:1: scene: missing; required: the path of a scene, or a scene");
  EXPECT_EQ(errorOfJob("[]"), "jobs.jsonl:3:1: job: an array of 0 found; allowed: an object, a job");
  EXPECT_THAT(errorOfJob(R"({"scene": "a", "size": [0, 3]})"),
              HasSubstr("jobs.jsonl:3:24: size: an array of 2 found; allowed: [width, height]"));
  EXPECT_THAT(errorOfJob(R"({"scene": "a", "output": []})"), HasSubstr("jobs.jsonl:3:26: output: "));
  EXPECT_THAT(errorOfJob(R"({"scene": "a", "set": [], "frame": "x", "values": 1})"),
              ::testing::AllOf(HasSubstr(": set: "), HasSubstr(": frame: "), HasSubstr(": values: ")));
  EXPECT_THAT(errorOfJob(R"({"scene": "a")"), HasSubstr("jobs.jsonl:3:14: "));
}

TEST(Job, ASceneInTheLineIsRead) {
  const Job job = parseJob(
      R"({"scene": {"version": 1, "background": {"type": "color", "color": [1, 1, 1]}}, "set": {"size": [6, 3]}})",
      "");
  EXPECT_EQ(JobScenes().read(job).size, (MapSize{6, 3}));
}

std::vector<double> numbersOf(const std::string& sweep) {
  std::vector<double> numbers;
  for (const JsonValue& value : parseSweep(sweep).values) numbers.push_back(value.asDouble());
  return numbers;
}

TEST(Sweep, RangesHoldBothEnds) {
  EXPECT_THAT(numbersOf("a=1:4"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(numbersOf("a=4:1"), ElementsAre(4, 3, 2, 1));
  EXPECT_THAT(numbersOf("a=0:1:0.25"), ElementsAre(0, 0.25, 0.5, 0.75, 1));
  EXPECT_THAT(numbersOf("a=0:0.3:0.1"), ElementsAre(0, 0.1, 0.2, 0.3)) << "steps do not add up errors";
  EXPECT_THAT(numbersOf("a=10:-10:-8"), ElementsAre(10, 2, -6));
  EXPECT_THAT(numbersOf("a=3:3"), ElementsAre(3));
}

TEST(Sweep, ListsAreDividedByCommasOutsideOfBracketsAndQuotes) {
  EXPECT_THAT(numbersOf("a=1,5,2.5"), ElementsAre(1, 5, 2.5));
  const Sweep colors = parseSweep(R"(a=[1,0,0],[0,1,0],{"x":[1,2]})");
  ASSERT_EQ(colors.values.size(), 3u);
  EXPECT_EQ(colors.values[0].found(), "an array of 3");
  const Sweep words = parseSweep(R"(a="x,y",z)");
  ASSERT_EQ(words.values.size(), 2u);
  EXPECT_EQ(words.values[0].found(), "\"x,y\"");
  EXPECT_EQ(words.values[1].found(), "\"z\"");
}

TEST(Sweep, StepsThatLeadNowhereAreWrong) {
  for (const char* text : {"a=1:4:-1", "a=4:1:1", "a=1:2:0", "a=0:1e9", "a=", "a"})
    EXPECT_THROW(parseSweep(text), SettingError) << text;
}

TEST(Frames, AreReadAsRanges) {
  EXPECT_THAT(parseFrames("1-4"), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(parseFrames("1-10x4"), ElementsAre(1, 5, 9));
  EXPECT_THAT(parseFrames("7"), ElementsAre(7));
  EXPECT_THAT(parseFrames("-2--1,5"), ElementsAre(-2, -1, 5));
  for (const char* text : {"", "a", "1-", "4-1", "1-4x0", "1-4x", "1-4 ", "1:4", "1-9999999"})
    EXPECT_THROW(parseFrames(text), SettingError) << text;
}

TEST(Sweep, SeveralMultiplyAndFramesChangeFastest) {
  const std::vector<Job> jobs =
      multiply({parseJob(R"({"scene": "s.json"})", "")}, {parseSweep("a=1,2"), parseSweep("b=3,4")}, {7, 8});
  std::vector<std::string> lines;
  for (const Job& job : jobs) lines.push_back(jobText(job));
  EXPECT_THAT(lines, ElementsAre(R"({"scene":"s.json","set":{"a":1,"b":3},"frame":7})",
                                 R"({"scene":"s.json","set":{"a":1,"b":3},"frame":8})",
                                 R"({"scene":"s.json","set":{"a":1,"b":4},"frame":7})",
                                 R"({"scene":"s.json","set":{"a":1,"b":4},"frame":8})",
                                 R"({"scene":"s.json","set":{"a":2,"b":3},"frame":7})",
                                 R"({"scene":"s.json","set":{"a":2,"b":3},"frame":8})",
                                 R"({"scene":"s.json","set":{"a":2,"b":4},"frame":7})",
                                 R"({"scene":"s.json","set":{"a":2,"b":4},"frame":8})"));
}

TEST(Sweep, TooManyMapsAreWrong) {
  const std::vector<Sweep> sweeps{parseSweep("a=1:1000"), parseSweep("b=1:1000"), parseSweep("c=1,2")};
  EXPECT_THROW(multiply({Job{}}, sweeps, {}), SettingError);
}

std::string nameOf(const std::string& name, const std::string& job, std::size_t index = 7) {
  JobScenes scenes;
  return expandName(name, parseJob(job, ""), index, scenes);
}

TEST(OutputNames, WordsStandForTheJobs) {
  const std::string job = R"({"scene": "a/b.c.json", "frame": 12, "size": [64, 32]})";
  EXPECT_EQ(nameOf("o/{name}.{frame}.{index}_{size}.exr", job), "o/b.c.0012.0007_64x32.exr");
  EXPECT_EQ(nameOf("{{{name}}}.exr", job), "{b.c}.exr");
  EXPECT_EQ(nameOf("{frame}", R"({"scene": "a", "frame": 12345.5})"), "12345.5");
  EXPECT_EQ(nameOf("{frame}", R"({"scene": "a", "frame": -3})"), "-0003");
}

TEST(OutputNames, TheSizeIsTheScenesOwnWhereNoneIsGiven) {
  const std::string scene =
      R"({"scene": {"version": 1, "size": [8, 4], "background": {"type": "gradient"}}})";
  EXPECT_EQ(nameOf("{name}{size}", scene), "scene8x4");
}

TEST(OutputNames, UnknownWordsAndFramesAreWrong) {
  EXPECT_THROW(nameOf("{nam}", R"({"scene": "a"})"), SettingError);
  EXPECT_THROW(nameOf("{frame}", R"({"scene": "a"})"), SettingError);
}

void checkNames(const std::vector<std::string>& outputs) {
  std::vector<Job> jobs;
  for (const std::string& output : outputs) jobs.emplace_back().outputs.push_back(output);
  checkOutputs(jobs);
}

TEST(OutputNames, TwoMapsOfOneNameAreWrongHoweverItIsWritten) {
  EXPECT_NO_THROW(checkNames({"a.exr", "b.exr", "../a.exr"}));
  EXPECT_THROW(checkNames({"a.exr", "b.exr", "a.exr"}), SettingError);
  EXPECT_THROW(checkNames({"a.exr", "./a.exr"}), SettingError);
  EXPECT_THROW(checkNames({"no such folder/a.exr", "b.exr"}), SettingError);
}

}  // namespace
}  // namespace orv::scene
