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
  EXPECT_THAT(run.err, HasSubstr(a + ": version: 2 found; allowed: 1\n"));
  EXPECT_THAT(run.err, HasSubstr(a + ": background.type: \"sky\" found"));
  EXPECT_THAT(run.err, HasSubstr(b + ": line 1, column "));
}

TEST(Check, AMissingSceneIsAFileThatCannotBeRead) {
  const Outcome run = orvpaint({"check", "/nonexistent/s.json"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: /nonexistent/s.json: cannot be read: No such file or directory\n");
}

/// A scene of these bytes ends with 2 and one line that holds `words`.
void expectOneError(const std::string& bytes, const std::string& words) {
  const TestFolder folder;
  const Outcome run = orvpaint({"check", folder.put("s.json", bytes)});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, HasSubstr(words));
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST(Check, AnEmptyFileIsASyntaxError) { expectOneError("", "s.json: line 1, column 1: "); }

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

TEST(Check, ASize65537IsAnError) {
  expectOneError(R"({"version": 1, "size": [65537, 1], "background": {"type": "color", "color": [1, 1, 1]}})",
                 "size[0]: 65537 found; allowed: an integer from 1 to 65536");
}

TEST(Check, ASize0IsAnError) {
  expectOneError(R"({"version": 1, "size": [1, 0], "background": {"type": "color", "color": [1, 1, 1]}})",
                 "size[1]: 0 found; allowed: an integer from 1 to 65536");
}

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
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("\"none.exr\" (not found)"));
  EXPECT_THAT(run.out, HasSubstr("pins[0] \"rim\" circle at 150/-20, radius 12, solid, add color [1, 2, 3]"));
}

TEST(Check, NamesWhoWantsAMissingPicture) {
  const TestFolder folder;
  const std::string scene =
      folder.put("s.json", R"({"version": 1, "background": {"type": "image", "path": "none.exr"},
    "pins": [{"name": "rim", "shape": "circle", "azimuth": 150, "elevation": -20, "radius": 12,
              "fill": {"type": "image", "path": "b.png"}}]})");
  const std::string lines = "orvpaint: " + scene + ": background.path: there is no file " +
                            (folder / "none.exr") + "\norvpaint: " + scene +
                            ": pins[0] \"rim\": fill.path: there is no file " + (folder / "b.png") + "\n";
  EXPECT_EQ(orvpaint({"check", scene}).err, lines);
  EXPECT_THAT(orvpaint({"paint", scene, "-o", folder / "a.exr"}).err, ::testing::StartsWith(lines));
}

TEST(Info, ControlCharactersAreShownAsEscapes) {
  const TestFolder folder;
  const std::string scene = folder.put("a\x1b]0;b\nc.json", R"({"version": 1,
    "background": {"type": "image", "path": "\u001b[2Jn\u009bone.exr"},
    "pins": [{"name": "rim\u001b[31m\u007f", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": 1,
              "fill": {"type": "color", "color": [1, 2, 3]}}]})");
  for (const char* const command : {"info", "check"}) {
    const Outcome run = orvpaint({command, scene});
    EXPECT_EQ(run.status, 0) << run.err;
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

}  // namespace
