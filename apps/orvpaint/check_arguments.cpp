#include "check_arguments.h"

#include <unistd.h>

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "option_values.h"
#include "scene/OutputFile.h"
#include "scene/Setting.h"
#include "scene/map_file.h"
#include "scene/nearest_name.h"
#include "scene/paint_job.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

/// The first of a call's outputs that is given twice; empty for none.
std::string twiceGiven(const std::vector<std::string>& outputs) {
  std::unordered_set<std::string> targets;
  for (const std::string& path : outputs)
    if (!targets.insert(scene::outputTarget(path)).second) return path;
  return {};
}

/// Whether every output's own ending names a format, so that another has nothing to name.
bool allNameTheirs(const std::vector<std::string>& outputs) {
  return std::all_of(outputs.begin(), outputs.end(),
                     [](const std::string& path) { return scene::mapFormatOf(path) != nullptr; });
}

constexpr const char* kUnusedFormat = "--format: the ending of every output names its format already";

}  // namespace

std::string checkOutput(const std::string& path, const scene::MapFormat* otherwise) {
  if (scene::mapFormatOf(path, otherwise)) return {};
  if (path == scene::kStandardOutput)
    return "-: standard output has no ending that names a format; add one, such as --format exr";
  return "\"" + path +
         "\" has no ending that names a format; allowed: " + scene::listOf(scene::mapEndings()) +
         ", or any with --format";
}

std::string checkMaps(const MapArguments& arguments) {
  const std::vector<std::string>& outputs = arguments.outputs;
  for (const std::string& path : outputs) {
    const std::string wrong = checkOutput(path, arguments.format);
    if (!wrong.empty()) return "--output: " + wrong;
  }
  std::vector<std::string> files = outputs;
  if (!arguments.usd.empty()) files.push_back(arguments.usd);
  const std::string twice = twiceGiven(files);
  if (!twice.empty()) return "--output: " + twice + " is given twice";
  // Job lines may name other files.
  if (outputs.empty()) return {};
  if (arguments.format && allNameTheirs(outputs)) return kUnusedFormat;
  const auto any = [&](const auto& isIt) {
    return std::any_of(outputs.begin(), outputs.end(), [&](const std::string& path) {
      return isIt(*scene::mapFormatOf(path, arguments.format));
    });
  };
  if (!arguments.compression.empty() &&
      !any([&](const scene::MapFormat& format) { return format.knows(arguments.compression); }))
    return "--compression: no output's format knows \"" + arguments.compression + "\"";
  const std::string shown = scene::firstOfFloats(outputs, arguments.format);
  if (!arguments.usd.empty() && shown.empty())
    return "--usd: no output holds floats for the light to show; add one of " + endingsText(false);
  if (!arguments.usd.empty() && shown == scene::kStandardOutput)
    return "--usd: standard output has no name by which the light could show it; write a file first";
  if (arguments.half && !any([](const scene::MapFormat& format) { return format.holdsHalves; }))
    return "--half: no output is an EXR file, which alone holds 16-bit floats";
  return {};
}

std::string checkPreview(const PreviewArguments& arguments) {
  const scene::MapFormat* const format = scene::mapFormatOf(arguments.output, arguments.format);
  if (arguments.output == scene::kStandardOutput && !format)
    return "--output: -: standard output has no ending that names a format; add one, such as --format png";
  if (!format || !format->preview) {
    std::string allowed;
    for (const std::string_view ending : scene::mapEndings())
      if (scene::mapFormatOf(ending)->preview) allowed.append(allowed.empty() ? "" : ", ").append(ending);
    return format == arguments.format && format
               ? "--format: a sheet is a picture; allowed: " + allowed
               : "--output: \"" + arguments.output +
                     "\" has no ending that names a format of pictures; allowed: " + allowed;
  }
  if (arguments.format && scene::mapFormatOf(arguments.output)) return kUnusedFormat;
  const std::string target = scene::outputTarget(arguments.output);
  if (target != scene::outputTarget(arguments.scene)) return {};
  return "--output: " + target + " is what is to be shown; give another file";
}

void refuseTerminal(const std::string& path) {
  const int descriptor = scene::outputDescriptor(path);
  if (descriptor < 0 || ::isatty(descriptor) != 1) return;
  throw scene::SettingError(
      "--output: " + path +
      ": a map is not shown on a terminal; send it to a file or a pipe: > map, | program");
}

}  // namespace orvpaint
