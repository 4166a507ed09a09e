#include <gmock/gmock.h>

#include "apps/Program.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Call, HelpGoesToStandardOutput) {
  const Outcome run = orvpaint({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, HasSubstr("Exit status: 0 done;"));
  EXPECT_EQ(run.err, "");
}

TEST(Call, EachCommandHasHelp) {
  for (const char* command : {"paint", "preview", "check", "info"}) {
    const Outcome run = orvpaint({command, "--help"});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_THAT(run.out, HasSubstr(std::string("orvpaint ") + command));
  }
}

TEST(Call, VersionGoesToStandardOutput) {
  const Outcome run = orvpaint({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.out, StartsWith("orvpaint "));
}

/// Wrong calls end with 2 and one line.
void expectWrongCall(const std::vector<std::string>& arguments, const std::string& words) {
  const Outcome run = orvpaint(arguments);
  EXPECT_EQ(run.status, 2) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, StartsWith("orvpaint: "));
  EXPECT_THAT(run.err, HasSubstr(words));
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST(Call, WithoutACommandIsWrong) { expectWrongCall({}, "subcommand is required"); }

TEST(Call, SuggestsTheNearestCommand) { expectWrongCall({"piant"}, "did you mean \"paint\"?"); }

TEST(Call, SuggestsTheNearestOption) {
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--exposur", "1"}, "did you mean \"--exposure\"?");
}

TEST(Call, WithoutAnOutputIsWrong) { expectWrongCall({"paint", "s.json"}, "--output is required"); }

TEST(Call, WithoutASceneIsWrong) { expectWrongCall({"paint", "-o", "a.exr"}, "SCENE is required"); }

TEST(Call, AnUnknownEndingListsTheEndings) {
  expectWrongCall({"paint", "s.json", "-o", "a.gif"},
                  "\"a.gif\" has no ending that names a format; allowed: .exr, .hdr, .pfm, .tif, .tiff, "
                  ".png, .jpg, .jpeg");
  expectWrongCall({"paint", "s.json", "-o", "/dev/full"}, "has no ending that names a format");
}

TEST(Call, SizesOutOfRangeAreWrong) {
  for (const char* size : {"0x1", "1x0", "65537x1", "1x65537", "-1x5", "64", "64x", "x64", "64x32x1",
                           "64 x 32", "nanxnan", "1e3x5"})
    expectWrongCall({"paint", "s.json", "-o", "a.exr", "--size", size},
                    "is not a size; allowed: WIDTHxHEIGHT");
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--size", "65536x8193"}, "more than 536870912 pixels");
}

TEST(Call, ThreadsOutOfRangeAreWrong) {
  for (const char* threads : {"0", "-1", "1025", "many"})
    expectWrongCall({"paint", "s.json", "-o", "a.exr", "--threads", threads}, "--threads");
}

TEST(Call, ExposuresThatAreNoNumberAreWrong) {
  for (const char* exposure : {"bright", "nan", "inf", "65"})
    expectWrongCall({"paint", "s.json", "-o", "a.exr", "--exposure", exposure},
                    "is not an exposure; allowed: a number of stops from -64 to 64, auto");
}

TEST(Call, AnUnknownCompressionListsTheNames) {
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--compression", "pzi"},
                  "\"pzi\" is not a compression (did you mean \"piz\"?); allowed: none, rle");
}

TEST(Call, AnUnknownLayoutListsTheNames) {
  const std::string words =
      "\"blendr\" is not a layout (did you mean \"blender\"?); allowed: native, openexr, usd, blender, "
      "mitsuba, pbrt, three";
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--layout", "blendr"}, words);
  expectWrongCall({"info", "a.exr", "--layout-in", "blendr"}, words);
}

TEST(Call, ADomeLightNeedsAMapAndAnEnding) {
  expectWrongCall({"paint", "s.json", "-o", "a.png", "--usd", "a.usda"}, "--usd: no output holds floats");
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--usd", "a.txt"}, "allowed: .usda, .usd");
}

TEST(Call, ACompressionThatNoOutputKnowsIsWrong) {
  expectWrongCall({"paint", "s.json", "-o", "a.png", "--compression", "zip"},
                  "no output's format knows \"zip\"");
  expectWrongCall({"paint", "s.json", "-o", "a.tif", "--compression", "piz"},
                  "no output's format knows \"piz\"");
}

TEST(Call, HalvesWithoutAnExrFileAreWrong) {
  expectWrongCall({"paint", "s.json", "-o", "a.hdr", "--half"}, "--half: no output is an EXR file");
}

TEST(Call, LimitsThatAreNotAboveZeroAreWrong) {
  for (const char* limit : {"0", "-1", "nan", "inf", "much"})
    expectWrongCall({"paint", "s.json", "-o", "a.exr", "--clamp", limit},
                    "is not a limit; allowed: a number above 0");
}

TEST(Call, ASheetThatIsNoPictureIsWrong) {
  for (const char* sheet : {"a.exr", "a", "a.gif"})
    expectWrongCall({"preview", "s.json", "-o", sheet},
                    "has no ending that names a format of pictures; allowed: .png, .jpg, .jpeg");
}

TEST(Call, CamerasThatAreNoLongitudeAreWrong) {
  for (const char* camera : {"361", "nan", "left"})
    expectWrongCall({"preview", "s.json", "-o", "a.png", "--camera", camera}, "is not a longitude; allowed:");
}

TEST(Call, AnOutputGivenTwiceIsWrong) {
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "-o", "./a.exr"}, "is given twice");
}

TEST(Call, ClosedStandardOutputIsAFailure) {
  const TestFolder folder;
  const std::string scene = folder.put("s.json", kColorScene);
  const std::vector<std::vector<std::string>> calls{
      {"--help"}, {"--version"}, {"check", scene}, {"info", scene}};
  for (const auto& call : calls) {
    const Outcome run = Program(call).prepared([] { ::close(STDOUT_FILENO); }).run();
    EXPECT_EQ(run.status, 1) << call[0];
    EXPECT_EQ(run.err, "orvpaint: standard output: cannot be written: Bad file descriptor\n") << call[0];
  }
}

TEST(Call, AFullStandardOutputIsAFailure) {
  const Outcome run =
      Program({"--help"}).prepared([] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); }).run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "orvpaint: standard output: cannot be written: No space left on device\n");
}

}  // namespace
