#include <gmock/gmock.h>

#include <sstream>

#include "apps/Program.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kCommands[] = {"paint", "batch", "preview", "check", "info", "help"};

TEST(Call, HelpListsTheCommandsAndNothingElse) {
  const Outcome run = orvpaint({"help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  for (const char* command : kCommands) EXPECT_THAT(run.out, HasSubstr(std::string("\n  ") + command + " "));
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 13);
  for (const char* call : {"--help", "-h"}) EXPECT_EQ(orvpaint({call}).out, run.out);
}

TEST(Call, WithoutACommandTheCommandsAreListedAsAnError) {
  const Outcome run = orvpaint({});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, orvpaint({"help"}).out);
}

TEST(Call, EachCommandHasHelpOfItsOwn) {
  for (const char* command : kCommands) {
    const Outcome run = orvpaint({"help", command});
    EXPECT_EQ(run.status, 0) << command;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, HasSubstr(std::string("Usage: orvpaint ") + command + " "));
    // Each line of its examples calls this command.
    std::istringstream examples(run.out.substr(run.out.find("\nExamples:\n") + 11));
    int count = 0;
    for (std::string line; std::getline(examples, line); ++count)
      EXPECT_THAT(line, HasSubstr(std::string("orvpaint ") + command + " "));
    EXPECT_GT(count, 0) << command;
    EXPECT_EQ(orvpaint({command, "--help"}).out, run.out);
  }
}

TEST(Call, HelpFitsIntoEightyColumns) {
  for (const char* command : kCommands) {
    std::istringstream help(orvpaint({"help", command}).out);
    // An example stands on its line, however long.
    for (std::string line; std::getline(help, line) && line != "Examples:";)
      EXPECT_LE(line.size(), 80u) << line;
  }
}

TEST(Call, HelpSaysHowOptionsAreGiven) {
  const std::string help = orvpaint({"help", "paint"}).out;
  EXPECT_THAT(help, HasSubstr("Usage: orvpaint paint SCENE... -o OUT [OPTIONS]\n"));
  EXPECT_THAT(help, HasSubstr("\n  -o, --output OUT        File to write"));
  EXPECT_THAT(help,
              HasSubstr("\n      --size WxH          Size of the map in pixels, instead of the scene's\n"));
  EXPECT_THAT(help, HasSubstr("\n      --half              16-bit floats"));
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

TEST(Call, AWrongCallTellsWhereTheHelpOfItsCommandIs) {
  EXPECT_EQ(orvpaint({"paint", "-o", "a.exr"}).err, "orvpaint: SCENE is required; see orvpaint help paint\n");
  EXPECT_EQ(orvpaint({"check"}).err, "orvpaint: SCENE is required; see orvpaint help check\n");
  EXPECT_EQ(orvpaint({"info", "a", "b", "--none"}).status, 2);
  EXPECT_EQ(orvpaint({"paint", "s.json", "-o", "a.exr", "--size"}).err,
            "orvpaint: --size: its WxH is missing; see orvpaint help paint\n");
  EXPECT_EQ(orvpaint({"--none"}).err,
            "orvpaint: --none is not an option of orvpaint; orvpaint help lists the commands\n");
}

TEST(Call, SuggestsTheNearestCommand) {
  expectWrongCall({"piant"}, "\"piant\" is not a command (did you mean \"paint\"?)");
  expectWrongCall({"help", "previw"}, "\"previw\" is not a command (did you mean \"preview\"?)");
}

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

TEST(Call, StandardOutputTakesAFormatAndOneMap) {
  expectWrongCall(
      {"paint", "s.json", "-o", "-"},
      "--output: -: standard output has no ending that names a format; add one, such as --format exr");
  expectWrongCall({"paint", "s.json", "-o", "-", "-o", "-", "--format", "exr"}, "--output: - is given twice");
  expectWrongCall({"paint", "s.json", "-o", "-", "-o", "/dev/stdout", "--format", "exr"},
                  "--output: /dev/stdout is given twice");
  expectWrongCall({"paint", "a.json", "b.json", "-o", "-", "--format", "exr"},
                  "--output: -: standard output takes one map, these are 2; name a file for each");
  expectWrongCall({"paint", "s.json", "-o", "-", "--format", "exr", "--usd", "a.usda"},
                  "--usd: standard output has no name by which the light could show it");
  expectWrongCall({"preview", "s.json", "-o", "-"}, "add one, such as --format png");
  expectWrongCall({"preview", "s.json", "-o", "-", "--format", "exr"},
                  "--format: a sheet is a picture; allowed: .png, .jpg, .jpeg");
}

TEST(Call, FormatsThatAreUnknownOrNotWantedAreWrong) {
  expectWrongCall(
      {"paint", "s.json", "-o", "-", "--format", "exx"},
      "--format: \"exx\" is not a format (did you mean \"exr\"?); allowed: exr, hdr, pfm, tif, tiff, "
      "png, jpg, jpeg");
  expectWrongCall({"paint", "s.json", "-o", "a.exr", "--format", "png"},
                  "--format: the ending of every output names its format already");
}

TEST(Call, StandardInputHoldsOneScene) {
  expectWrongCall({"paint", "-", "-", "-o", "{index}.exr"}, "-: standard input is given twice");
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
