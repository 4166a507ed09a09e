#include "describe_commands.h"

#include "option_values.h"
#include "scene/nearest_name.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

// Groups of options, in the order in which help lists them.
constexpr const char* kFiles = "Files";
constexpr const char* kVariations = "Variations";
constexpr const char* kMaps = "Maps";
constexpr const char* kManyMaps = "Many maps";
constexpr const char* kRun = "Other options";

/// An option whose text `read` puts into `value`; what it returns is wrong with it.
template <typename Value>
CLI::Option* addRead(CLI::App& command, const std::string& name,
                     std::string (*read)(const std::string&, Value&), Value& value, const std::string& help,
                     const std::string& type) {
  const auto set = [name, read, &value](const std::string& text) {
    const std::string error = read(text, value);
    if (!error.empty()) throw CLI::ValidationError(name, error);
  };
  return command.add_option_function<std::string>(name, set, help)->type_name(type);
}

void addMaxImagePixels(CLI::App& command, std::uint64_t& pixels) {
  addRead(command, "--max-image-pixels", readPixels, pixels,
          "Refuse pictures of more pixels; by default 268435456, which take 3 GB", "N")
      ->group(kRun);
}

void addFormat(CLI::App& command, const scene::MapFormat*& format, const std::string& endings) {
  addRead(command, "--format", readFormat, format,
          "Format of what has no ending that names one, as standard output and devices: " + endings, "FORMAT")
      ->group(kFiles);
}

/// The options of all commands that paint a scene.
void addPainter(CLI::App& command, PainterArguments& arguments) {
  addRead(command, "--size", readSize, arguments.size, "Size of the map in pixels, instead of the scene's",
          "WxH")
      ->group(kMaps);
  addRead(command, "--threads", readThreads, arguments.threads,
          "Use at most N threads; by default as many as the process may use processors", "N")
      ->group(kRun);
  command
      .add_flag("--allow-fallback", arguments.allowFallback,
                "Go on although a missing image or sky is painted as a visible colour")
      ->group(kRun);
  command.add_option("--painter", arguments.painter, "Painter library to load, instead of the one installed")
      ->type_name("LIBRARY")
      ->group(kRun);
  addMaxImagePixels(command, arguments.maxImagePixels);
  CLI::Option* const quiet =
      command.add_flag("-q,--quiet", arguments.quiet, "Say nothing but errors, and what light is lost");
  quiet->group(kRun);
  command.add_flag("-v,--verbose", arguments.verbose, "Tell each map's phases and files, and their times")
      ->excludes(quiet)
      ->group(kRun);
}

/// The files of the commands that write maps.
void addOutputs(CLI::App& command, MapArguments& arguments, bool required) {
  command
      .add_option("-o,--output", arguments.outputs,
                  "File to write, - for standard output; may be given several times. The ending chooses the "
                  "format: " +
                      endingsText(false) + " hold floats, " + endingsText(true) +
                      " are tone-mapped previews. {name}, {frame}, {index} and {size} stand for those of "
                      "each map")
      ->required(required)
      ->allow_extra_args(false)
      ->type_name("OUT")
      ->group(kFiles);
  addFormat(command, arguments.format, "the name of any of these endings");
  addRead(command, "--usd", readUsd, arguments.usd,
          "Write a USD dome light as well that shows the first output of floats", "LAYER")
      ->group(kFiles);
}

/// How those commands write maps, and which.
void addMaps(CLI::App& command, MapArguments& arguments) {
  addPainter(command, arguments);
  addRead(command, "--exposure", readExposure, arguments.exposureStops,
          "Exposure of " + endingsText(true) + " previews, in stops, or auto", "STOPS")
      ->group(kMaps);
  addRead(command, "--compression", readCompression, arguments.compression,
          "Compression, zip by default. " + compressionsText(), "COMPRESSION")
      ->group(kMaps);
  command
      .add_flag("--half", arguments.half,
                "16-bit floats in .exr; tells how much light is lost where values are too large for them")
      ->group(kMaps);
  addRead(command, "--clamp", readLimit, arguments.limit,
          "Limit all values to VALUE, and tell how much light is lost", "VALUE")
      ->group(kMaps);
  addRead(command, "--layout", readLayout, arguments.layout,
          "Turn the outputs as a renderer reads them: " + scene::listOf(valueKind("LAYOUT").words), "LAYOUT")
      ->group(kMaps);
  command.add_flag("--skip-existing", arguments.skipExisting, "Paint no map whose files are all there")
      ->group(kManyMaps);
  addRead(command, "--shard", readShard, arguments.shard, "Paint part I of N of the maps", "I/N")
      ->group(kManyMaps);
  command
      .add_option("--manifest", arguments.manifest,
                  "Write a line of JSON for each map: the job, status, error, seconds, mean and peak; - is "
                  "standard output")
      ->type_name("FILE")
      ->group(kManyMaps);
  command.add_flag("--dry-run", arguments.dryRun, "Print the maps as job lines instead of painting them")
      ->group(kManyMaps);
}

void describePaint(CLI::App& app, PaintArguments& arguments) {
  CLI::App& command = *app.add_subcommand("paint", "Paint scenes into files");
  command.add_option("SCENE", arguments.scenes, "Scene files (JSON); - reads one from standard input")
      ->required()
      ->type_name("SCENE");
  addOutputs(command, arguments, true);
  command
      .add_option(
          "--set", arguments.settings,
          "Change a value of the scenes: pins[0].azimuth=30, pins.key.fill.brightness=12; may be given "
          "several times")
      ->allow_extra_args(false)
      ->type_name("PATH=VALUE")
      ->group(kVariations);
  command
      .add_option(
          "--sweep", arguments.sweeps,
          "Paint a map for each value: PATH=FROM:TO, PATH=FROM:TO:STEP or PATH=A,B,C; several multiply")
      ->allow_extra_args(false)
      ->type_name("PATH=VALUES")
      ->group(kVariations);
  command
      .add_option("--frames", arguments.frames,
                  "Paint a map for each frame of scenes that move: FROM-TO or FROM-TOxSTEP")
      ->type_name("FRAMES")
      ->group(kVariations);
  addMaps(command, arguments);
  command.footer(
      "orvpaint paint studio.json -o studio.exr\n"
      "orvpaint paint studio.json -o studio.exr -o preview.png --exposure 1\n"
      "orvpaint paint noon.json --sweep background.sky.hours=6:20 -o 'noon_{index}.exr'\n"
      "orvpaint paint - -o - --format exr <studio.json >studio.exr");
}

void describeBatch(CLI::App& app, BatchArguments& arguments) {
  CLI::App& command = *app.add_subcommand("batch", "Paint the maps that lines of JSON describe");
  command.add_option("JOBS", arguments.jobs, "File of job lines, or - for standard input")
      ->required()
      ->type_name("JOBS");
  addOutputs(command, arguments, false);
  addMaps(command, arguments);
  command.footer(
      "orvpaint batch jobs.jsonl --manifest done.jsonl --skip-existing\n"
      "orvpaint paint noon.json --frames 1-240 -o 'noon_{frame}.exr' --dry-run | orvpaint batch - --shard "
      "1/4");
}

void describePreview(CLI::App& app, PreviewArguments& arguments) {
  CLI::App& command =
      *app.add_subcommand("preview", "Show a map or a scene, and balls in its light, in one picture");
  command
      .add_option("FILE", arguments.scene,
                  "Scene file (JSON), - for one from standard input, or image file of a map")
      ->required()
      ->type_name("FILE");
  command
      .add_option("-o,--output", arguments.output,
                  "Picture to write, - for standard output: " + endingsText(true))
      ->required()
      ->type_name("SHEET")
      ->group(kFiles);
  addFormat(command, arguments.format, "png, jpg");
  addPainter(command, arguments);
  addRead(command, "--exposure", readExposure, arguments.exposureStops,
          "Exposure in stops, or auto, which is the default", "STOPS")
      ->group(kMaps);
  addRead(command, "--camera", readAzimuth, arguments.cameraAzimuth,
          "Longitude of the map along which the balls are seen, 180 by default: the middle of the map lights "
          "them from the front",
          "DEGREES")
      ->group(kMaps);
  command.footer(
      "orvpaint preview studio.json -o sheet.png\n"
      "orvpaint preview studio.exr -o sheet.png --exposure 1 --camera 90");
}

void describeCheck(CLI::App& app, std::vector<std::string>& scenes) {
  CLI::App& command = *app.add_subcommand("check", "Read scenes and report every error in them");
  command.add_option("SCENE", scenes, "Scene files (JSON); - reads one from standard input")
      ->required()
      ->type_name("SCENE");
  command.footer("orvpaint check studio.json noon.json");
}

void describeInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App& command = *app.add_subcommand("info", "Describe scenes and maps");
  command
      .add_option("FILE", arguments.files,
                  "Scene files, - for one from standard input, or image files of maps")
      ->required()
      ->type_name("FILE");
  addRead(command, "--layout-in", readLayout, arguments.layout,
          "How the maps lie, as a renderer reads them: " + scene::listOf(valueKind("LAYOUT").words), "LAYOUT")
      ->group(kMaps);
  addMaxImagePixels(command, arguments.maxImagePixels);
  command.add_flag("--json", arguments.json, "Print a line of JSON for each file")->group(kRun);
  command.footer(
      "orvpaint info studio.json\n"
      "orvpaint info --json studio.exr noon.exr\n"
      "orvpaint info --layout-in usd light.exr");
}

}  // namespace

void describeCommands(CLI::App& app, Arguments& arguments) {
  app.name("orvpaint");
  app.description("Paints high-dynamic-range environment maps from scene files.");
  app.set_help_flag("-h,--help", "Print help")->group(kRun);
  app.set_version_flag("--version", programVersion(), "Print the version")->group(kRun);
  app.require_subcommand(1);
  describePaint(app, arguments.paint);
  describeBatch(app, arguments.batch);
  describePreview(app, arguments.preview);
  describeCheck(app, arguments.checkedScenes);
  describeInfo(app, arguments.info);
  CLI::App& help = *app.add_subcommand("help", "Print the list of commands, or the help of one");
  help.add_option("COMMAND", arguments.helpCommand, "Command to explain")->type_name("COMMAND");
  help.footer("orvpaint help paint");
  // For builds and packages; nobody else needs to be told of it.
  CLI::App& generate = *app.add_subcommand("generate", "Write man pages and completion below a folder");
  generate.group("");
  generate.add_option("FOLDER", arguments.generateFolder, "Folder, made where it is not there")
      ->required()
      ->type_name("FOLDER");
  for (CLI::App* command : app.get_subcommands({})) command->get_help_ptr()->group(kRun);
}

std::string detailsOf(std::string_view command) {
  if (command == "paint")
    return "Paints each scene into a latitude-longitude map and writes it as every ending of --output says. "
           "Files "
           "appear whole or not at all. Sweeps and frames paint many maps of a scene in one call; pictures, "
           "the "
           "sky's tables and a background that stays the same are kept between them.";
  if (command == "batch")
    return "Paints a map for each line of JSON: an object with scene (a path, or a scene), and where they "
           "are "
           "wanted set, frame, size, output and values. A map that can not be painted is named with the "
           "reason, "
           "and the others are painted.";
  if (command == "preview")
    return "Shows a map above a mirror ball, a grey diffuse ball and a glossy ball in its light, with a "
           "caption of "
           "its size, its mean and largest luminance and the exposure. The picture has 1024 x 900 pixels.";
  if (command == "check")
    return "Reads scenes and names every error in them with its place, and pictures that are not there with "
           "the "
           "brush or pin that wants them. Nothing is painted.";
  if (command == "info") return "Says what is in a scene or in a map's file.";
  return "Prints the list of commands, or what a command takes, with examples.";
}

}  // namespace orvpaint
