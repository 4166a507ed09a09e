#include <gmock/gmock.h>

#include "apps/Program.h"

namespace {

using ::testing::HasSubstr;

TEST(Check, AGoodSceneIsToldOnStandardOutput) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kColorScene);
  const Outcome run = orvpaint({"check", scene});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, scene + ": good\n");
  EXPECT_EQ(run.err, "");
}

TEST(Check, EveryExampleIsGood) {
  std::vector<std::string> call{"check"};
  for (const auto& entry : std::filesystem::directory_iterator(ORVHDRI_SOURCE_DIR "/examples"))
    if (entry.path().extension() == ".json") call.push_back(entry.path().string());
  ASSERT_GE(call.size(), 4u);
  const Outcome run = orvpaint(call);
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST(Check, AllErrorsOfAllScenesComeTogether) {
  const TestFolder folder;
  const std::string a = folder.put("a.json", R"({"version": 2, "background": {"type": "sky"}})");
  const std::string good = folder.put("good.json", kColorScene);
  const std::string b = folder.put("b.json", "{");
  const Outcome run = orvpaint({"check", a, good, b});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, good + ": good\n");
  EXPECT_THAT(run.err, HasSubstr(a + ":1:13: version: 2 found; allowed: 1\n"));
  EXPECT_THAT(run.err, HasSubstr(a + ":1:39: background.type: \"sky\" found"));
  EXPECT_THAT(run.err, HasSubstr(b + ":1:2: "));
}

TEST(Check, AMissingSceneIsAFileThatCannotBeRead) {
  const Outcome run = orvpaint({"check", "/nonexistent/s.json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: /nonexistent/s.json: cannot be read: No such file or directory\n");
}

/// A scene of these bytes ends with 2 and one finding that holds `words`.
void expectOneError(const std::string& bytes, const std::string& words) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", bytes);
  const Outcome run = orvpaint({"check", scene});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr(words));
  EXPECT_THAT(run.err, ::testing::StartsWith(scene));
  EXPECT_EQ(run.err.find(scene, 1), std::string::npos) << run.err;
}

TEST(Check, AnEmptyFileIsASyntaxError) { expectOneError("", "s.json:1:1: "); }

TEST(Check, DeepNestingIsOneError) {
  expectOneError(std::string(100000, '['), "more than 64 levels of nesting");
}

TEST(Check, ALongArrayIsOneError) {
  std::string text = "[0";
  text.reserve(100'000'100);
  while (text.size() < 100'000'000) text += ",0";
  expectOneError(text + "]", "the file is longer than the 16 MiB allowed");
}

TEST(Check, AKeyGivenTwiceIsAnError) {
  expectOneError(R"({"version": 1, "version": 1, "background": {"type": "color", "color": [1, 1, 1]}})",
                 "version: this key is given twice");
}

TEST(Check, ANumberAsTextIsAnError) {
  expectOneError(R"({"version": 1, "background": {"type": "color", "color": ["NaN", 1, 1]}})",
                 "background.color[0]: \"NaN\" found; allowed: a number");
}

TEST(Check, ShowsTheLineAndThePlaceOfAnError) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", R"({
  "version": 1,
  "background": {"type": "color", "color": [1, 1, 1]},
  "pins": [
	{"name": "rim", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": -4,
	 "fill": {"type": "color", "color": [1, 1, 1], "mood": "add"}}
  ]
}
)");
  const Outcome run = orvpaint({"check", scene});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(
      run.err,
      scene + R"(:5:77: pins[0] "rim": radius: -4 is not above 0; allowed: above 0 and at most 180
   {"name": "rim", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": -4,
                                                                              ^
)" + scene +
          R"(:6:49: pins[0] "rim": fill.mood: not a key of a color fill; allowed: type, mode, brightness, exposure, color, temperature
    "fill": {"type": "color", "color": [1, 1, 1], "mood": "add"}}
                                                  ^
)");
}

TEST(Check, CutsALongLineAroundThePlace) {
  const TestFolder folder;
  const std::string text =
      R"({"version": 1, "background": {"type": "color", "color": [1, 1, 1]}, "view": {"a": ")" +
      std::string(1'000'000, 'x') + R"("}, "vew": 1})";
  const Outcome run = orvpaint({"check", folder.put("s.json", text)});
  EXPECT_THAT(run.err, HasSubstr("s.json:1:1000088: vew: not a key"));
  const std::size_t line = run.err.find('\n') + 1;
  const std::size_t mark = run.err.find('\n', line) + 1;
  EXPECT_LE(mark - line, 101u);
  EXPECT_EQ(run.err.substr(line, 5), "  ...");
  EXPECT_EQ(run.err[line + run.err.find('^', mark) - mark], '"');
  EXPECT_THAT(run.err.substr(line, mark - line), HasSubstr(R"(xxx"}, "vew": 1})"));
}

TEST(Check, ShowsWhatIsWrongWithTheTextAlike) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", "{\"version\": 1\n \"size\": [1, 2]}");
  EXPECT_EQ(orvpaint({"check", scene}).err,
            scene + ":2:2: a comma is missing before \"size\"\n   \"size\": [1, 2]}\n   ^\n");
}

TEST(Check, ASettingOfPaintIsNamedInPlaceOfALine) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kColorScene);
  EXPECT_EQ(orvpaint({"paint", scene, "--set", "size[0]=0", "-o", folder / "a.exr"}).err,
            scene + ": setting size[0]: size[0]: 0 found; allowed: an integer from 1 to 65536\n");
}

TEST(Check, ASize65537IsAnError) {
  expectOneError(R"({"version": 1, "size": [65537, 1], "background": {"type": "color", "color": [1, 1, 1]}})",
                 "size[0]: 65537 found; allowed: an integer from 1 to 65536");
}

TEST(Check, ASize0IsAnError) {
  expectOneError(R"({"version": 1, "size": [1, 0], "background": {"type": "color", "color": [1, 1, 1]}})",
                 "size[1]: 0 found; allowed: an integer from 1 to 65536");
}

TEST(Check, NamesWhoWantsAMissingPicture) {
  const TestFolder folder;
  const std::string scene =
      folder.put("s.json", R"({"version": 1, "background": {"type": "image", "path": "none.exr"},
    "pins": [{"name": "rim", "shape": "circle", "azimuth": 150, "elevation": -20, "radius": 12,
              "fill": {"type": "image", "path": "b.png"}}]})");
  EXPECT_EQ(orvpaint({"check", scene}).err, scene + ":1:56: background.path: there is no file " +
                                                (folder / "none.exr") +
                                                R"(
  {"version": 1, "background": {"type": "image", "path": "none.exr"},
                                                         ^
)" + scene + ":3:49: pins[0] \"rim\": fill.path: there is no file " +
                                                (folder / "b.png") + R"(
                "fill": {"type": "image", "path": "b.png"}}]}
                                                  ^
)");
  EXPECT_THAT(
      orvpaint({"paint", scene, "-o", folder / "a.exr"}).err,
      ::testing::StartsWith("orvpaint: " + scene + ": background.path: there is no file " +
                            (folder / "none.exr") + "\norvpaint: " + scene +
                            ": pins[0] \"rim\": fill.path: there is no file " + (folder / "b.png") + "\n"));
}

}  // namespace
