#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "scene/SceneDocument.h"
#include "scene/scene_texts.h"

namespace orv::scene {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

struct Wrong {
  std::string text;
  std::string errors;
};

/// Every scene of the table has exactly these errors.
void expectErrors(const std::vector<Wrong>& table) {
  for (const auto& [text, errors] : table) EXPECT_EQ(errorsOf(text), errors) << text;
}

TEST(SceneErrors, NameTheKeyThatIsMissing) {
  expectErrors({
      {"{}",
       "s.json: version: missing; required: 1\n"
       "s.json: background: missing; required: a brush"},
      {withBackground("{}"), "s.json: background.type: missing; required: color, gradient, sunSky, image"},
      {withBackground(R"({"type": "color"})"),
       "s.json: background.color: missing; required: [red, green, blue], three numbers"},
      {withBackground(R"({"type": "image"})"),
       "s.json: background.path: missing; required: the path of an image file, in quotes"},
      {withBackground(R"({"type": "sunSky", "sun": {"azimuth": 1}})"),
       "s.json: background.sun.elevation: missing; required: a number at least -90 and at most 90"},
      {withBackground(R"({"type": "gradient", "stops": [{"position": 0}]})"),
       "s.json: background.stops[0].color: missing; required: [red, green, blue], three numbers"},
      {withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0)", kWhite),
       "s.json: pins[0].radius: missing; required: a number above 0 and at most 180"},
      {withPin(R"("shape": "rect", "azimuth": 0, "elevation": 0, "halfWidth": 1)", kWhite),
       "s.json: pins[0].halfHeight: missing; required: a number above 0 and below 90"},
      {withBackground(kWhite, ", \"pins\": [{" + kCircle + "}]"),
       "s.json: pins[0].fill: missing; required: a brush"},
  });
}

TEST(SceneErrors, QuoteNumbersAsTheyAreWritten) {
  const auto withRadius = [](const std::string& radius) {
    return withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": )" + radius, kWhite);
  };
  for (const std::string radius :
       {"-4.0", "-0.50", "-1E2", "-1e-400", "-0.100000000000000000001", "-12345678901234567890123"})
    expectErrors({{withRadius(radius), "s.json: pins[0].radius: " + radius +
                                           " is not above 0; allowed: above 0 and at most 180"}});
}

TEST(SceneErrors, TellOfAByteOfZeroWhereverItIs) {
  const std::string scene = withBackground(kWhite);
  const std::string zero(1, '\0');
  const std::string end = "1:" + std::to_string(scene.size() + 1);
  expectErrors({{scene + zero, "s.json:" + end + ": a byte of 0 is no text; save the file as UTF-8"},
                {scene + zero + "{}", "s.json:" + end + ": a byte of 0 is no text; save the file as UTF-8"},
                {"\n{" + zero + "}", "s.json:2:2: a byte of 0 is no text; save the file as UTF-8"}});
}

TEST(SceneErrors, SuggestTheNearestKey) {
  expectErrors({
      {withBackground(kWhite, R"(, "smoothin": true)"),
       "s.json: smoothin: not a key of a scene (did you mean \"smoothing\"?); allowed: $schema, version, "
       "quality, "
       "size, "
       "sizeFromImage, smoothing, background, pins, view"},
      {withBackground(R"({"type": "color", "color": [1, 1, 1], "colour": 1})"),
       "s.json: background.colour: not a key of a color background (did you mean \"color\"?); allowed: type, "
       "brightness, exposure, color, temperature"},
      {withBackground(R"({"type": "sunSky", "sky": {"turbidty": 2}})"),
       "s.json: background.sky.turbidty: not a key of a sky (did you mean \"turbidity\"?); allowed: "
       "turbidity, "
       "ozone, groundAlbedo, skyIntensity, sunIntensity, sunSize, latitude, longitude, hours, dayOfYear, "
       "timeZone, northOffset"},
      {withBackground(R"({"type": "image", "path": "a", "rotation": {"azimut": 2}})"),
       "s.json: background.rotation.azimut: not a key of a rotation (did you mean \"azimuth\"?); allowed: "
       "azimuth, tilt"},
  });
}

TEST(SceneErrors, SuggestTheNearestName) {
  expectErrors({
      {withBackground(R"({"type": "colour"})"),
       "s.json: background.type: \"colour\" found (did you mean \"color\"?); allowed: color, gradient, "
       "sunSky, "
       "image"},
      {withPin(R"("shape": "Circle", "azimuth": 0, "elevation": 0)", kWhite),
       "s.json: pins[0].shape: \"Circle\" found (did you mean \"circle\"?); allowed: circle, rect"},
      {withPin(kCircle + R"(, "falloff": "gausianEdge")", kWhite),
       "s.json: pins[0].falloff: \"gausianEdge\" found (did you mean \"gaussianEdge\"?); allowed: cosine, "
       "linear, quadratic, smoothEdge, gaussianEdge, outline, solid"},
      {withPin(kCircle, R"({"type": "color", "color": [1, 1, 1], "mode": "multipy"})"),
       "s.json: pins[0].fill.mode: \"multipy\" found (did you mean \"multiply\"?); allowed: add, multiply, "
       "mix, "
       "screen"},
  });
}

TEST(SceneErrors, ListTheShapesOwnFalloffs) {
  expectErrors({
      {withPin(kCircle + R"(, "falloff": "boxEdge")", kWhite),
       "s.json: pins[0].falloff: \"boxEdge\" is not a falloff of a circle; allowed: cosine, linear, "
       "quadratic, "
       "smoothEdge, gaussianEdge, outline, solid"},
      {withPin(kRect + R"(, "falloff": "smoothEdge")", kWhite),
       "s.json: pins[0].falloff: \"smoothEdge\" is not a falloff of a rect; allowed: cosine, linear, "
       "quadratic, "
       "boxEdge, boxProduct, boxGaussian, outline, solid"},
  });
}

TEST(SceneErrors, RefuseABrushInTheWrongUse) {
  expectErrors({
      {withBackground(R"({"type": "background"})"),
       "s.json: background.type: \"background\" can not be the background; allowed: color, gradient, sunSky, "
       "image"},
      {withPin(kCircle, R"({"type": "sunSky"})"),
       "s.json: pins[0].fill.type: \"sunSky\" can not fill a pin; allowed: color, gradient, image, "
       "background"},
  });
}

TEST(SceneErrors, OfABrushInTheWrongUseAreNotAboutItsKeys) {
  expectErrors({
      {withPin(kCircle, R"({"type": "sunSky", "sky": {"turbidity": 3}, "blur": 1})"),
       "s.json: pins[0].fill.type: \"sunSky\" can not fill a pin; allowed: color, gradient, image, "
       "background"},
      {withBackground(R"({"type": "background", "turn": 30})"),
       "s.json: background.type: \"background\" can not be the background; allowed: color, gradient, sunSky, "
       "image"},
  });
}

TEST(SceneErrors, LookAtTheKeysOfAnObjectWithoutAKind) {
  expectErrors({
      {withPin(
           R"("shape": "disc", "azimuth": 0, "elevation": 91, "radius": 0, "halfWidth": 5, "falloff": "boxEdge")",
           kWhite),
       "s.json: pins[0].shape: \"disc\" found; allowed: circle, rect\n"
       "s.json: pins[0].elevation: 91 is above 90; allowed: at least -90 and at most 90\n"
       "s.json: pins[0].radius: 0 is not above 0; allowed: above 0 and at most 180"},
      {withBackground(R"({"path": "a", "gamma": 0, "colr": [1, 1, 1]})"),
       "s.json: background.type: missing; required: color, gradient, sunSky, image\n"
       "s.json: background.gamma: 0 is not above 0\n"
       "s.json: background.colr: not a key of a brush (did you mean \"color\"?); allowed: type, brightness, "
       "exposure, "
       "color, temperature, gamma, hue, saturation, tint, stops, blur, rotation, sky, sun, path, "
       "layout"},
  });
}

TEST(SceneErrors, RefuseKeysThatTheTypeOrTheUseDoesNotKnow) {
  const std::string color = R"({"type": "color", "color": [1, 1, 1], )";
  const std::string gradient = R"({"type": "gradient", )";
  const std::string image = R"({"type": "image", "path": "a", )";
  for (const std::string& background :
       {color + R"("mode": "add"})", gradient + R"("mode": "add"})", gradient + R"("opacity": []})",
        gradient + R"("angle": 1})", gradient + R"("blur": 1})", color + R"("blur": 1})",
        color + R"("gamma": 1})", color + R"("tint": [1, 1, 1]})", image + R"("turn": 1})",
        image + R"("sky": {}})", color + R"("rotation": {}})"})
    EXPECT_THAT(errorsOf(withBackground(background)), HasSubstr("not a key of a")) << background;
  for (const std::string& fill : {image + R"("blur": 1})", image + R"("rotation": {}})",
                                  color + R"("hue": 0})", color + R"("stops": []})"})
    EXPECT_THAT(errorsOf(withPin(kCircle, fill)), HasSubstr("not a key of a")) << fill;
  EXPECT_THAT(errorsOf(withPin(kCircle + R"(, "halfWidth": 1)", kWhite)),
              HasSubstr("s.json: pins[0].halfWidth: not a key of a circle pin"));
  EXPECT_THAT(errorsOf(withPin(kRect + R"(, "radius": 1)", kWhite)),
              HasSubstr("s.json: pins[0].radius: not a key of a rect pin"));
}

TEST(SceneErrors, RefuseNumbersOutOfRange) {
  const auto sky = [](const std::string& members) {
    return withBackground(R"({"type": "sunSky", "sky": {)" + members + "}}");
  };
  const auto image = [](const std::string& members) {
    return withBackground(R"({"type": "image", "path": "a", )" + members + "}");
  };
  const std::string at = R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": )";
  expectErrors({
      {withPin(at + "-4", kWhite),
       "s.json: pins[0].radius: -4 is not above 0; allowed: above 0 and at most 180"},
      {withPin(at + "0", kWhite),
       "s.json: pins[0].radius: 0 is not above 0; allowed: above 0 and at most 180"},
      {withPin(at + "180.5", kWhite),
       "s.json: pins[0].radius: 180.5 is above 180; allowed: above 0 and at most 180"},
      {withPin(at + "1e-60", kWhite),
       "s.json: pins[0].radius: 1e-60 is not above 0; allowed: above 0 and at most 180"},
      {withPin(kCircle + R"(, "falloffAmount": -0.5)", kWhite),
       "s.json: pins[0].falloffAmount: -0.5 is below 0"},
      {withPin(kRect + R"(, "cornerRadius": -1)", kWhite), "s.json: pins[0].cornerRadius: -1 is below 0"},
      {image(R"("gamma": 0)"), "s.json: background.gamma: 0 is not above 0"},
      {image(R"("hue": 1.5)"), "s.json: background.hue: 1.5 is above 1; allowed: at least 0 and at most 1"},
      {image(R"("saturation": -1.5)"),
       "s.json: background.saturation: -1.5 is below -1; allowed: at least -1 and at most 1"},
      {image(R"("blur": -1)"), "s.json: background.blur: -1 is below 0"},
      {image(R"("rotation": {"azimuth": -361, "tilt": 181})"),
       "s.json: background.rotation.azimuth: -361 is below -360; allowed: at least -360 and at most 360\n"
       "s.json: background.rotation.tilt: 181 is above 180; allowed: at least -180 and at most 180"},
      {sky(R"("turbidity": 0.5)"),
       "s.json: background.sky.turbidity: 0.5 is below 1; allowed: at least 1 and at most 10"},
      {sky(R"("sunSize": 0.09)"),
       "s.json: background.sky.sunSize: 0.09 is below 0.1; allowed: at least 0.1 and at most 30"},
      {sky(R"("dayOfYear": 367)"),
       "s.json: background.sky.dayOfYear: 367 found; allowed: an integer from 1 to 366"},
      {sky(R"("dayOfYear": 1.5)"),
       "s.json: background.sky.dayOfYear: 1.5 found; allowed: an integer from 1 to 366"},
  });
}

TEST(SceneErrors, RefuseSizesOutOfRange) {
  const auto sized = [](const std::string& size) { return withBackground(kWhite, ", \"size\": " + size); };
  expectErrors({
      {sized("[0, 1]"), "s.json: size[0]: 0 found; allowed: an integer from 1 to 65536"},
      {sized("[1, 65537]"), "s.json: size[1]: 65537 found; allowed: an integer from 1 to 65536"},
      {sized("[1, 2.5]"), "s.json: size[1]: 2.5 found; allowed: an integer from 1 to 65536"},
      {sized("[65536, 8193]"), "s.json: size: 65536 x 8193 is 536936448 pixels; allowed: at most 536870912"},
      {sized("[1]"), "s.json: size: an array of 1 found; allowed: [width, height], two integers"},
      {sized("2048"), "s.json: size: 2048 found; allowed: [width, height], two integers"},
      {withBackground(kWhite, R"(, "size": [1, 1], "sizeFromImage": "a.exr")"),
       "s.json: sizeFromImage: given together with size; allowed: one of the two"},
  });
  EXPECT_EQ(errorsOf(sized("[65536, 8192]")), "");
}

TEST(SceneErrors, RefuseWrongTypes) {
  expectErrors({
      {"[]", "s.json: scene: an array of 0 found; allowed: an object, a scene"},
      {R"({"version": "1", "background": {"type": "color", "color": [1, 1, 1]}})",
       "s.json: version: \"1\" found; allowed: 1"},
      {R"({"version": 2, "background": {"type": "color", "color": [1, 1, 1]}})",
       "s.json: version: 2 found; allowed: 1"},
      {withBackground("3"), "s.json: background: 3 found; allowed: an object, a brush"},
      {withBackground(kWhite, R"(, "smoothing": 1)"), "s.json: smoothing: 1 found; allowed: true, false"},
      {withBackground(kWhite, R"(, "pins": {})"), "s.json: pins: an object found; allowed: an array of pins"},
      {withBackground(kWhite, R"(, "view": [])"), "s.json: view: an array of 0 found; allowed: an object"},
      {withBackground(R"({"type": "color", "color": [1, 1]})"),
       "s.json: background.color: an array of 2 found; allowed: [red, green, blue], three numbers"},
      {withBackground(R"({"type": "color", "color": [1, null, true]})"),
       "s.json: background.color[1]: null found; allowed: a number\n"
       "s.json: background.color[2]: true found; allowed: a number"},
      {withBackground(R"({"type": "image", "path": ""})"),
       "s.json: background.path: \"\" found; allowed: the path of an image file, in quotes"},
      {withBackground(R"({"type": "image", "path": "a\u0000b"})"),
       "s.json: background.path: \"a\\u0000b\" found; allowed: the path of an image file, in quotes"},
      {withBackground(R"({"type": "gradient", "stops": [3]})"),
       "s.json: background.stops[0]: 3 found; allowed: an object, a stop"},
  });
}

TEST(SceneErrors, RefuseNumbersThatAreNotFinite) {
  const auto bright = [](const std::string& number) {
    return withBackground(R"({"type": "image", "path": "a", "brightness": )" + number + "}");
  };
  expectErrors({
      {bright("1e999"),
       "s.json: background.brightness: 1e999 is not finite as a 32-bit float; allowed: a number"},
      {bright("-1e999"),
       "s.json: background.brightness: -1e999 is not finite as a 32-bit float; allowed: a number"},
      {bright("1e39"),
       "s.json: background.brightness: 1e39 is not finite as a 32-bit float; allowed: a number"},
      {bright("\"NaN\""), "s.json: background.brightness: \"NaN\" found; allowed: a number"},
      {withBackground(kWhite, R"(, "view": {"a": [0, 1e400]})"), "s.json: view.a[1]: 1e400 is not finite"},
  });
  EXPECT_THAT(errorsOf(bright("NaN")), HasSubstr("s.json:1:"));
  EXPECT_THAT(errorsOf(bright("Infinity")), HasSubstr("s.json:1:"));
}

TEST(SceneErrors, ReportNumbersThatOverflowBesideOtherErrors) {
  EXPECT_EQ(errorsOf(R"({"version": 3, "background": {"type": "color", "color": [1e999, -2e400, 3]}})"),
            "s.json: version: 3 found; allowed: 1\n"
            "s.json: background.color[0]: 1e999 is not finite as a 32-bit float; allowed: a number\n"
            "s.json: background.color[1]: -2e400 is not finite as a 32-bit float; allowed: a number");
}

TEST(SceneErrors, ACommentIsAText) {
  expectErrors({
      {withBackground(kWhite, R"(, "comment": 1)"), "s.json: comment: 1 found; allowed: text in quotes"},
      {withPin(kCircle, R"({"type": "color", "color": [1, 1, 1], "comment": ["a"]})"),
       "s.json: pins[0].fill.comment: an array of 1 found; allowed: text in quotes"},
      {withBackground(R"({"type": "color", "color": [1, 1, 1], "$schema": "a"})"),
       R"(s.json: background["$schema"]: not a key of a color background; allowed: type, brightness, exposure, color, temperature)"},
  });
}

TEST(SceneErrors, RefuseKeysGivenTwice) {
  expectErrors({
      {withBackground(kWhite, R"(, "version": 1)"),
       "s.json: version: this key is given twice; allowed: once"},
      {withPin(kCircle + R"(, "radius": 6)", kWhite),
       "s.json: pins[0].radius: this key is given twice; allowed: once"},
      {withBackground(kWhite, R"(, "view": {"a": {"b": 1, "b": 2}})"),
       "s.json: view.a.b: this key is given twice; allowed: once"},
  });
}

TEST(SceneErrors, RefusePositionsThatFall) {
  EXPECT_EQ(
      errorsOf(withBackground(R"({"type": "gradient", "stops": [{"position": 0.5, "color": [0, 0, 0]},
            {"position": 0.25, "color": [1, 1, 1]}]})")),
      "s.json: background.stops[1].position: 0.25 is below the position before it; allowed: at least 0.5");
}

TEST(SceneErrors, ComeInTheOrderOfTheFile) {
  EXPECT_EQ(
      errorsOf(R"({"vew": {}, "version": 1, "smoothing": 1, "background": {"type": "image", "path": 1}})"),
      "s.json: vew: not a key of a scene (did you mean \"view\"?); allowed: $schema, version, quality, size, "
      "sizeFromImage, "
      "smoothing, background, pins, view\n"
      "s.json: smoothing: 1 found; allowed: true, false\n"
      "s.json: background.path: 1 found; allowed: the path of an image file, in quotes");
}

TEST(SceneErrors, AreCountedBeyondTwoHundred) {
  std::string pins;
  for (int i = 0; i < 300; ++i) pins += (i ? ", 0" : "0");
  const std::string errors = errorsOf(withBackground(kWhite, ", \"pins\": [" + pins + "]"));
  EXPECT_THAT(errors, HasSubstr("s.json: pins[199]: 0 found"));
  EXPECT_THAT(errors, Not(HasSubstr("s.json: pins[200]: 0 found")));
  EXPECT_THAT(errors, HasSubstr("\ns.json: scene: 100 more errors are not shown"));
}

TEST(SceneErrors, EscapeWhatATerminalWouldObey) {
  const std::string errors = errorsOf(withBackground(kWhite, ", \"a\\u001b[2J\": 1"));
  EXPECT_THAT(errors, HasSubstr(R"(s.json: ["a\u001b[2J"]: not a key of a scene)"));
}

/// The problems of a scene.
std::vector<Problem> problemsOf(const std::string& text) {
  try {
    parseScene(text, "s.json");
    return {};
  } catch (const SceneErrors& errors) {
    return errors.problems();
  }
}

/// What the text is where a problem was found.
char atPlace(const std::string& text, const Problem& problem) {
  std::size_t start = 0;
  for (std::size_t line = 1; line < problem.line; ++line) start = text.find('\n', start) + 1;
  return text[start + problem.column - 1];
}

TEST(SceneErrors, HoldPathAndPlaceApart) {
  const std::string text =
      "{\"version\": 1,\n \"background\": {\"type\": \"color\",\n  \"color\": [1, \"x\", 3]}}";
  const std::vector<Problem> problems = problemsOf(text);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].file, "s.json");
  EXPECT_EQ(problems[0].path, "background.color[1]");
  EXPECT_EQ(problems[0].line, 3u);
  EXPECT_EQ(problems[0].column, 16u);
  EXPECT_EQ(problems[0].text, "\"x\" found; allowed: a number");
  EXPECT_EQ(problems[0].finding(), "s.json:3:16: background.color[1]: \"x\" found; allowed: a number");
}

TEST(SceneErrors, PlacesAreRightBehindCommentsAndQuotes) {
  const std::string text =
      "\xEF\xBB\xBF// \"version\": {[,:\n/* \" } */ {\"ver\\\"si\\\\\": \"/* , : [\" /**/ ,"
      "\"version\"/*:*/: 7 , \"background\": {\"type\": \"gradient\"} }";
  const std::vector<Problem> problems = problemsOf(text);
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0].column, 12u) << "the key that a scene does not know";
  EXPECT_EQ(atPlace(text, problems[0]), '"');
  EXPECT_EQ(atPlace(text, problems[1]), '7');
}

TEST(SceneErrors, NameThePin) {
  const std::string pin = R"("name": "r\"im", "shape": "circle", "azimuth": 0, "elevation": 0, "radius": )";
  EXPECT_EQ(errorsOf(withPin(pin + "-4", kWhite)),
            R"(s.json: pins[0] "r\"im": radius: -4 is not above 0; allowed: above 0 and at most 180)");
}

TEST(SceneErrors, OfAMissingKeyStandAtTheObject) {
  const std::string text = withPin(R"("shape": "circle", "azimuth": 0, "elevation": 0)", kWhite);
  const std::vector<Problem> problems = problemsOf(text);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].column, text.find("{\"shape\"") + 1);
}

TEST(SceneErrors, ANumberThatOverflowsMovesNothingBehindIt) {
  const std::string text = R"({"version": 1, "background": {"type": "color", "color": [1e999, 2, "x"]}})";
  const std::vector<Problem> problems = problemsOf(text);
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_EQ(problems[0].column, text.find("1e999") + 1);
  EXPECT_EQ(problems[1].column, text.find("\"x\"") + 1);
  EXPECT_NE(problems[0].source.find("1e999"), std::string::npos);
}

TEST(SceneErrors, OfAFrameStandAtTheKeys) {
  const std::string text = withPin(
      R"("shape": "circle", "azimuth": 0, "elevation": 0, "radius": {"keys": [[1, 5], [3, -4]]})", kWhite);
  try {
    SceneDocument(text, "s.json").read(3);
    FAIL();
  } catch (const SceneErrors& errors) {
    ASSERT_EQ(errors.problems().size(), 1u);
    EXPECT_EQ(errors.problems()[0].cause, "frame 3");
    EXPECT_EQ(errors.problems()[0].column, text.find("{\"keys\"") + 1);
  }
}

TEST(SyntaxErrors, NameLineAndColumn) {
  EXPECT_THAT(errorsOf("{\n  \"version\": 1,\n  \"size\": ]\n}"), HasSubstr("s.json:3:11: "));
  EXPECT_THAT(errorsOf("{\"ä\": x}"), HasSubstr("s.json:1:7: "));
  EXPECT_THAT(errorsOf(""), HasSubstr("s.json:1:1: "));
  EXPECT_THAT(errorsOf("{}\n{"), HasSubstr("s.json:2:1: "));
  EXPECT_THAT(errorsOf("{\"version\": 1,}"), HasSubstr("s.json:1:15: "));
}

TEST(SyntaxErrors, RefuseACommentWithoutEnd) { EXPECT_THAT(errorsOf("{} /* a"), HasSubstr("s.json:1:")); }

TEST(SyntaxErrors, RefuseTextThatIsNotUtf8) {
  const std::string errors = errorsOf("{\"version\": \"\xff\"}");
  EXPECT_THAT(errors, HasSubstr("s.json:1:14: "));
  EXPECT_THAT(errors, HasSubstr("UTF-8"));
}

TEST(SyntaxErrors, CutLongTextsShort) { EXPECT_LT(errorsOf("\"" + std::string(1000000, 'a')).size(), 300u); }

TEST(Limits, RefuseDeepNesting) {
  EXPECT_EQ(errorsOf(std::string(100000, '[')), "s.json: scene: more than 64 levels of nesting");
  std::string objects;
  for (int i = 0; i < 100000; ++i) objects += "{\"a\":";
  EXPECT_EQ(errorsOf(objects), "s.json: scene: more than 64 levels of nesting");
}

TEST(Limits, RefuseAVeryLongText) {
  std::string text = "[0";
  while (text.size() < 100'000'000) text += ",0";
  EXPECT_EQ(errorsOf(text + "]"), "s.json: scene: the file is longer than the 16 MiB allowed");
}

TEST(Limits, RefuseTooManyValues) {
  std::string text = "[0";
  while (text.size() < 4'000'000) text += ",0";
  EXPECT_EQ(errorsOf(text + "]"), "s.json: scene: more than 1048576 values");
}

TEST(Limits, RefuseManyNumbersThatOverflow) {
  std::string text = "[1e999";
  while (text.size() < 700'000) text += ",1e999";
  EXPECT_THAT(errorsOf(text + "]"), HasSubstr("more than 16 numbers that are not finite"));
}

TEST(Limits, ManyDifferentKeysAreFindableInTime) {
  std::string view = "{\"k\": 0";
  for (int i = 0; i < 100000; ++i) view += ", \"k" + std::to_string(i) + "\": 0";
  EXPECT_EQ(errorsOf(withBackground(kWhite, ", \"view\": " + view + "}")), "");
}

TEST(BrokenText, NeverPassesForAScene) {
  const std::string whole =
      withPin(kCircle, R"({"type": "gradient", "stops": [{"position": 0, "color": [1, 2, 3]}]})");
  ASSERT_EQ(errorsOf(whole), "");
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_NE(errorsOf(whole.substr(0, length)), "") << length;
}

}  // namespace
}  // namespace orv::scene
