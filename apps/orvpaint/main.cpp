#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "console.h"
#include "scene/OutputFile.h"
#include "scene/PainterLibrary.h"
#include "scene/SceneErrors.h"
#include "scene/map_file.h"
#include "scene/nearest_name.h"
#include "scene/paint_job.h"

namespace orvpaint {

namespace scene = orv::scene;

std::string programVersion() { return "orvpaint " ORVHDRI_VERSION; }

std::string checkOutput(const std::string& path) {
  if (scene::mapFormatOf(path)) return {};
  return "\"" + path + "\" has no ending that names a format; allowed: " + scene::listOf(scene::mapEndings());
}

namespace {

constexpr const char* kDescription = "Paints high-dynamic-range environment maps from scene files.";
constexpr const char* kFooter =
    "Examples:\n"
    "  orvpaint paint studio.json -o studio.exr\n"
    "  orvpaint paint studio.json -o studio.exr -o preview.png --exposure 1\n"
    "  orvpaint preview studio.json -o sheet.png\n"
    "  orvpaint check studio.json\n"
    "\n"
    "Exit status: 0 done; 1 a file cannot be read or written, or the processor lacks AVX2 or FMA;\n"
    "2 the call is wrong or a scene has errors; 3 a missing image or sky was painted as a visible colour,\n"
    "or memory ran short for a picture, and no file is written.";

constexpr float kMostStops = 64.0f;

/// `WxH`; what is wrong with it, or nothing.
std::string readSize(const std::string& text, std::optional<scene::MapSize>& size) {
  const char* end = text.data() + text.size();
  scene::MapSize read;
  const auto [x, widthError] = std::from_chars(text.data(), end, read.width);
  const bool hasWidth = widthError == std::errc() && x != end && (*x == 'x' || *x == 'X');
  const auto [rest, heightError] = std::from_chars(hasWidth ? x + 1 : end, end, read.height);
  const auto inRange = [](int side) { return side >= 1 && side <= scene::kMaxSide; };
  if (!hasWidth || heightError != std::errc() || rest != end || !inRange(read.width) || !inRange(read.height))
    return "\"" + text + "\" is not a size; allowed: WIDTHxHEIGHT, each from 1 to 65536, such as 4096x2048";
  if (std::int64_t{read.width} * read.height > scene::kMaxPixels)
    return "\"" + text + "\" is more than " + std::to_string(scene::kMaxPixels) + " pixels";
  size = read;
  return {};
}

std::string checkSheet(const std::string& path) {
  const scene::MapFormat* const format = scene::mapFormatOf(path);
  if (format && format->preview) return {};
  std::string allowed;
  for (const std::string_view ending : scene::mapEndings())
    if (scene::mapFormatOf(ending)->preview) allowed.append(allowed.empty() ? "" : ", ").append(ending);
  return "\"" + path + "\" has no ending that names a format of pictures; allowed: " + allowed;
}

/// The number that is all of `text`; NaN for none.
float readNumber(const std::string& text) {
  float number = NAN;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + (text.starts_with('+') ? 1 : 0), end, number);
  return error == std::errc() && rest == end ? number : NAN;
}

/// A number of stops, or `auto`, which gives none; what is wrong with it, or nothing.
std::string readExposure(const std::string& text, std::optional<float>& stops) {
  const float number = readNumber(text);
  stops.reset();
  if (text == "auto") return {};
  // Written so that a NaN is refused.
  if (!(std::abs(number) <= kMostStops))
    return "\"" + text + "\" is not an exposure; allowed: a number of stops from -64 to 64, auto";
  stops = number;
  return {};
}

std::string readLimit(const std::string& text, std::optional<float>& limit) {
  const float number = readNumber(text);
  if (!(number > 0 && std::isfinite(number)))
    return "\"" + text + "\" is not a limit; allowed: a number above 0";
  limit = number;
  return {};
}

std::string readPixels(const std::string& text, std::uint64_t& pixels) {
  const char* const end = text.data() + text.size();
  std::uint64_t number = 0;
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || rest != end || number == 0)
    return "\"" + text + "\" is not a number of pixels; allowed: a whole number above 0";
  pixels = number;
  return {};
}

std::string readAzimuth(const std::string& text, float& azimuth) {
  const float number = readNumber(text);
  if (!(std::abs(number) <= 360))
    return "\"" + text + "\" is not a longitude; allowed: degrees from -360 to 360";
  azimuth = number;
  return {};
}

std::vector<std::string_view> compressionNames() {
  std::vector<std::string_view> names;
  for (const scene::MapFormat& format : scene::mapFormats())
    for (const std::string_view name : format.compressions)
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  return names;
}

/// The usual endings of previews, or of formats that hold floats: `.png and .jpg`.
std::string endingsText(bool previews) {
  std::vector<std::string_view> endings;
  for (const scene::MapFormat& format : scene::mapFormats())
    if (format.preview == previews) endings.push_back(format.endings[0]);
  if (!previews || endings.size() < 2) return scene::listOf(endings);
  const std::string_view last = endings.back();
  endings.pop_back();
  return scene::listOf(endings).append(" and ").append(last);
}

/// `EXR: none, rle` and so on, a line for each format that has a choice.
std::string compressionsText() {
  std::string text;
  for (const scene::MapFormat& format : scene::mapFormats()) {
    if (format.compressions.empty()) continue;
    text.append(text.empty() ? "" : "\n").append(format.name).append(": ");
    text.append(scene::listOf(format.compressions));
  }
  return text;
}

std::string checkCompression(const std::string& name) {
  const std::vector<std::string_view> names = compressionNames();
  if (std::find(names.begin(), names.end(), name) != names.end()) return {};
  return "\"" + name + "\" is not a compression" + scene::suggestion(name, names) +
         "; allowed: " + scene::listOf(names);
}

std::vector<std::string_view> layoutNames() {
  std::vector<std::string_view> names;
  names.reserve(scene::kNames<scene::Layout>.size());
  for (const scene::NameRow& row : scene::kNames<scene::Layout>) names.push_back(row.name);
  return names;
}

void addLayout(CLI::App& command, const std::string& option, scene::Layout& layout,
               const std::string& description) {
  command
      .add_option_function<std::string>(
          option,
          [option, &layout](const std::string& name) {
            const std::vector<std::string_view> names = layoutNames();
            for (const scene::NameRow& row : scene::kNames<scene::Layout>) {
              if (row.name != name) continue;
              layout = static_cast<scene::Layout>(row.value);
              return;
            }
            throw CLI::ValidationError(option, "\"" + name + "\" is not a layout" +
                                                   scene::suggestion(name, names) +
                                                   "; allowed: " + scene::listOf(names));
          },
          description + ":\n" + scene::listOf(layoutNames()))
      ->type_name("NAME");
}

std::string checkUsd(const std::string& path) {
  if (path.ends_with(".usda") || path.ends_with(".usd")) return {};
  return "\"" + path + "\" has no ending of a USD layer; allowed: .usda, .usd";
}

/// An option whose text `read` puts into `value`; what it returns is wrong with it.
template <typename Value>
void addRead(CLI::App* command, const std::string& name, std::string (*read)(const std::string&, Value&),
             Value& value, const std::string& help, const std::string& type) {
  const auto set = [name, read, &value](const std::string& text) {
    const std::string error = read(text, value);
    if (!error.empty()) throw CLI::ValidationError(name, error);
  };
  command->add_option_function<std::string>(name, set, help)->type_name(type);
}

void addMaxImagePixels(CLI::App* command, std::uint64_t& pixels) {
  addRead(command, "--max-image-pixels", readPixels, pixels,
          "Refuse pictures of more pixels; by default 268435456, which take 3 GB", "N");
}

/// The options of all commands that paint a scene.
void addPainter(CLI::App* command, PainterArguments& arguments) {
  addRead(command, "--size", readSize, arguments.size, "Size of the map in pixels, instead of the scene's",
          "WxH");
  command
      ->add_option("--threads", arguments.threads,
                   "Use at most N threads; by default as many as the process may use processors")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  command->add_flag("--allow-fallback", arguments.allowFallback,
                    "Go on although a missing image or sky is painted as a visible colour");
  command->add_option("--painter", arguments.painter, "Painter library to load (default: the one installed)")
      ->type_name("PATH");
  addMaxImagePixels(command, arguments.maxImagePixels);
  command->add_flag("-q,--quiet", arguments.quiet, "No progress and no warnings but of lost light");
}

/// `I/N`; what is wrong with it, or nothing.
std::string readShard(const std::string& text, Shard& shard) {
  const char* const end = text.data() + text.size();
  Shard read;
  const auto [slash, numberError] = std::from_chars(text.data(), end, read.number);
  const bool hasSlash = numberError == std::errc() && slash != end && *slash == '/';
  const auto [rest, countError] = std::from_chars(hasSlash ? slash + 1 : end, end, read.count);
  constexpr std::size_t kMost = 1'000'000;
  if (!hasSlash || countError != std::errc() || rest != end || read.number < 1 || read.number > read.count ||
      read.count > kMost)
    return "\"" + text + "\" is not a part; allowed: I/N, I from 1 to N, such as 2/4";
  shard = read;
  return {};
}

/// The options of the commands that write maps.
void addMaps(CLI::App* command, MapArguments& arguments, bool outputRequired) {
  command
      ->add_option("-o,--output", arguments.outputs,
                   "File to write; may be given several times. The ending chooses the format:\n" +
                       endingsText(false) + " hold floats, " + endingsText(true) +
                       " are tone-mapped previews.\n"
                       "{name}, {frame}, {index} and {size} stand for those of each map")
      ->required(outputRequired)
      ->allow_extra_args(false)
      ->type_name("OUT")
      ->check(CLI::Validator(checkOutput, ""));
  addPainter(command, arguments);
  addRead(command, "--exposure", readExposure, arguments.exposureStops,
          "Exposure of " + endingsText(true) + " previews, in stops, or auto", "STOPS");
  command
      ->add_option("--compression", arguments.compression,
                   "Compression, zip by default. " + compressionsText())
      ->type_name("NAME")
      ->check(CLI::Validator(checkCompression, ""));
  command->add_flag(
      "--half", arguments.half,
      "16-bit floats in .exr; tells how much light is lost where values are too large for them");
  addRead(command, "--clamp", readLimit, arguments.limit,
          "Limit all values to VALUE, and tell how much light is lost", "VALUE");
  addLayout(*command, "--layout", arguments.layout, "Turn the outputs as a renderer reads them");
  command
      ->add_option("--usd", arguments.usd,
                   "Write a USD dome light as well that shows the first output of floats")
      ->type_name("FILE")
      ->check(CLI::Validator(checkUsd, ""));
  command->add_flag("--skip-existing", arguments.skipExisting, "Paint no map whose files are all there");
  addRead(command, "--shard", readShard, arguments.shard, "Paint part I of N of the maps", "I/N");
  command
      ->add_option("--manifest", arguments.manifest,
                   "Write a line of JSON for each map: the job, status, error, seconds, mean and peak")
      ->type_name("FILE");
  command->add_flag("--dry-run", arguments.dryRun, "Print the maps as job lines instead of painting them");
}

void addPaint(CLI::App& app, PaintArguments& arguments) {
  CLI::App* paint = app.add_subcommand("paint", "Paint scenes into files");
  paint->add_option("SCENE", arguments.scenes, "Scene files (JSON)")->required();
  addMaps(paint, arguments, true);
  paint
      ->add_option("--set", arguments.settings,
                   "Change a value of the scenes: pins[0].azimuth=30, pins.key.fill.brightness=12;\n"
                   "may be given several times")
      ->allow_extra_args(false)
      ->type_name("PATH=VALUE");
  paint
      ->add_option("--sweep", arguments.sweeps,
                   "Paint a map for each value: PATH=FROM:TO, PATH=FROM:TO:STEP or PATH=A,B,C; several\n"
                   "multiply")
      ->allow_extra_args(false)
      ->type_name("PATH=VALUES");
  paint
      ->add_option("--frames", arguments.frames,
                   "Paint a map for each frame of scenes that move: FROM-TO or FROM-TOxSTEP")
      ->type_name("FRAMES");
}

void addBatch(CLI::App& app, BatchArguments& arguments) {
  CLI::App* batch = app.add_subcommand("batch", "Paint the maps that lines of JSON describe");
  batch->add_option("JOBS", arguments.jobs, "File of job lines, or - for standard input")->required();
  addMaps(batch, arguments, false);
}

void addPreview(CLI::App& app, PreviewArguments& arguments) {
  CLI::App* preview =
      app.add_subcommand("preview", "Show a map or a scene, and balls in its light, in one picture");
  preview->add_option("FILE", arguments.scene, "Scene file (JSON), or image file of a map")->required();
  preview->add_option("-o,--output", arguments.output, "Picture to write: " + endingsText(true))
      ->required()
      ->type_name("SHEET")
      ->check(CLI::Validator(checkSheet, ""));
  addPainter(preview, arguments);
  addRead(preview, "--exposure", readExposure, arguments.exposureStops,
          "Exposure in stops, or auto, which is the default", "STOPS");
  addRead(preview, "--camera", readAzimuth, arguments.cameraAzimuth,
          "Longitude of the map along which the balls are seen, 180 by default: the middle of the map\n"
          "lights them from the front",
          "DEGREES");
}

void addInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App* info = app.add_subcommand("info", "Describe scenes and maps");
  info->add_option("FILE", arguments.files, "Scene files, or image files of maps")->required();
  addLayout(*info, "--layout-in", arguments.layout, "How the maps lie, as a renderer reads them");
  addMaxImagePixels(info, arguments.maxImagePixels);
  info->add_flag("--json", arguments.json, "A line of JSON for each file");
}

/// The first of a call's outputs that is given twice; empty for none.
std::string twiceGiven(const std::vector<std::string>& outputs) {
  std::vector<std::string> targets;
  targets.reserve(outputs.size());
  for (const std::string& path : outputs) targets.push_back(scene::outputTarget(path));
  std::sort(targets.begin(), targets.end());
  const auto twice = std::adjacent_find(targets.begin(), targets.end());
  return twice == targets.end() ? std::string() : *twice;
}

/// What a call says beyond what its options can check alone; empty when nothing is wrong.
std::string checkMaps(const MapArguments& arguments) {
  const std::vector<std::string>& outputs = arguments.outputs;
  std::vector<std::string> files = outputs;
  if (!arguments.usd.empty()) files.push_back(arguments.usd);
  const std::string twice = twiceGiven(files);
  if (!twice.empty()) return "--output: " + twice + " is given twice";
  // Job lines may name other files.
  if (outputs.empty()) return {};
  const auto any = [&](const auto& isIt) {
    return std::any_of(outputs.begin(), outputs.end(),
                       [&](const std::string& path) { return isIt(*scene::mapFormatOf(path)); });
  };
  if (!arguments.compression.empty() &&
      !any([&](const scene::MapFormat& format) { return format.knows(arguments.compression); }))
    return "--compression: no output's format knows \"" + arguments.compression + "\"";
  if (!arguments.usd.empty() && scene::firstOfFloats(outputs).empty())
    return "--usd: no output holds floats for the light to show; add one of " + endingsText(false);
  if (arguments.half && !any([](const scene::MapFormat& format) { return format.holdsHalves; }))
    return "--half: no output is an EXR file, which alone holds 16-bit floats";
  return {};
}

std::string checkPreview(const PreviewArguments& arguments) {
  const std::string target = scene::outputTarget(arguments.output);
  if (target != scene::outputTarget(arguments.scene)) return {};
  return "--output: " + target + " is what is to be shown; give another file";
}

/// What a word that was not expected may have been meant as.
std::string hint(const CLI::App& app, int argc, char** argv) {
  const CLI::App* command = &app;
  if (!app.get_subcommands().empty()) command = app.get_subcommands().front();
  std::vector<std::string> names;
  for (const CLI::App* sub : command->get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(sub->get_name());
  for (const CLI::Option* option : command->get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  const std::vector<std::string_view> views(names.begin(), names.end());
  for (int i = 1; i < argc; ++i) {
    const std::string word(argv[i],
                           std::find(argv[i], argv[i] + std::char_traits<char>::length(argv[i]), '='));
    const bool known = std::find(views.begin(), views.end(), word) != views.end();
    // A file's name is not a slip of an option's.
    const bool couldBe = word.starts_with("--") || command == &app;
    if (!known && couldBe && !scene::nearestName(word, views).empty()) return scene::suggestion(word, views);
  }
  return {};
}

ExitStatus run(int argc, char** argv) {
  CLI::App app(kDescription, "orvpaint");
  app.footer(kFooter);
  app.set_version_flag("--version", programVersion());
  app.require_subcommand(1);
  app.get_formatter()->column_width(28);

  PaintArguments paintArguments;
  addPaint(app, paintArguments);
  BatchArguments batchArguments;
  addBatch(app, batchArguments);
  PreviewArguments previewArguments;
  addPreview(app, previewArguments);
  std::vector<std::string> scenes;
  app.add_subcommand("check", "Read scenes and report every error in them")
      ->add_option("SCENE", scenes, "Scene files (JSON)")
      ->required();
  InfoArguments infoArguments;
  addInfo(app, infoArguments);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    printResult(app.help());
    return done;
  } catch (const CLI::CallForVersion&) {
    printResult(programVersion() + "\n");
    return done;
  } catch (const CLI::ParseError& error) {
    printMessage(std::string(error.what()) + hint(app, argc, argv) +
                 "; orvpaint --help lists what is allowed");
    return callIsWrong;
  }
  if (app.got_subcommand("check")) return check(scenes);
  if (app.got_subcommand("info")) return info(infoArguments);
  const bool isBatch = app.got_subcommand("batch");
  const bool previews = app.got_subcommand("preview");
  const std::string wrong =
      previews ? checkPreview(previewArguments)
               : checkMaps(isBatch ? static_cast<const MapArguments&>(batchArguments) : paintArguments);
  if (wrong.empty() && previews) return preview(previewArguments);
  if (wrong.empty()) return isBatch ? batch(batchArguments) : paint(paintArguments);
  printMessage(wrong);
  return callIsWrong;
}

/// Runs the program and turns what it throws into a line and a status.
ExitStatus runGuarded(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const scene::SceneErrors& errors) {
    for (const std::string& line : errors.lines()) printLine(line);
    return callIsWrong;
  } catch (const scene::SettingError& error) {
    printMessage(error.what());
    return callIsWrong;
  } catch (const scene::FallbackError& error) {
    printMessage(error.what());
    return fellBack;
  } catch (const std::bad_alloc&) {
    printMessage("not enough memory");
  } catch (const std::exception& error) {
    printMessage(error.what());
  }
  return fileFailed;
}

}  // namespace
}  // namespace orvpaint

int main(int argc, char** argv) {
  orvpaint::openClosedStreams();
  orvpaint::handleSignals();
  return orvpaint::runGuarded(argc, argv);
}
