// The command's whole time and its memory, as a person waits for them: processes, started turn about with
// those of their peers.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/interleaved.h"
#include "hdri/ColorBrush.h"
#include "hdri/EnvImage.h"
#include "orvrender/orvHost.h"
#include "painter/BlockedPainter.h"
#include "scene/OutputFile.h"
#include "scene/map_file.h"
#include "scene/paint_scene.h"
#include "scene/read_scene.h"

namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

const std::string kProgram = ORVHDRI_BINARY_DIR "/bin/orvpaint";
const std::string kExamples = ORVHDRI_SOURCE_DIR "/examples/";
const char* const kPhotograph = R"({"type": "image", "path": "in.exr"})";
// What rows of large maps paint; a smoke run only sees that they work.
std::string mapSize() { return bench::smoke() ? "512x256" : "4096x2048"; }

/// A folder of its own that goes at the end.
class Folder {
 public:
  Folder() {
    std::string name = (fs::temp_directory_path() / "orvhdri_bench-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

/// Runs a command to its end; what it prints is dropped. @throws std::runtime_error when it fails.
void run(const Command& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = 0;
  const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (error != 0 || waitpid(process, &status, 0) != process || status != 0)
    throw std::runtime_error(command[0] + (error != 0 ? ": not installed" : ": failed"));
}

Command paintCommand(const std::string& scene, const std::string& out, const std::string& size) {
  return {kProgram, "paint", scene, "--size", size, "-q", "-o", out};
}

/// @return false, with the reason as the benchmark's error, when a command of the work fails.
bool attempt(benchmark::State& state, const auto& work) {
  try {
    work();
    return true;
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
    return false;
  }
}

void compareCommands(benchmark::State& state, const std::string& name, const Command& own,
                     const Command& peer) {
  attempt(state, [&] {
    bench::compare(
        state, name, [&] { run(own); }, [&] { run(peer); });
  });
}

void runAlone(benchmark::State& state, const Command& command) {
  attempt(state, [&] {
    bench::alone(
        state, "", [&] { run(command); }, bench::smoke() ? 1 : 15);
  });
}

void version(benchmark::State& state) { runAlone(state, {kProgram, "--version"}); }

void smallMap(benchmark::State& state, const std::string& name) {
  const Folder folder;
  runAlone(state, paintCommand(kExamples + "color.json", folder / name, "512x256"));
}

/// A scene file of a background, in JSON, and what follows it.
std::string writeScene(const Folder& folder, const std::string& background) {
  std::ofstream(folder / "scene.json") << R"({"version": 1, "background": )" << background << "}";
  return folder / "scene.json";
}

/// Makes a photograph in.exr in the folder: floats, ZIP.
void makePhotograph(const Folder& folder, const std::string& size) {
  run(paintCommand(kExamples + "venice.json", folder / "in.exr", size));
}

/// Painting and writing, beside the peer's writing of the same pixels out of a .pfm.
/// @param background in JSON; it may show in.exr, a photograph of half the map's size.
void writing(benchmark::State& state, const std::string& background, const std::string& ending,
             const Command& peerOptions) {
  const Folder folder;
  const std::string scene = writeScene(folder, background);
  if (!attempt(state, [&] { makePhotograph(folder, bench::smoke() ? "256x128" : "2048x1024"); })) return;
  const std::string from = folder / "in.pfm", own = folder / ("own" + ending),
                    other = folder / ("peer" + ending);
  if (!attempt(state, [&] { run(paintCommand(scene, from, mapSize())); })) return;
  Command peer = {"oiiotool", from};
  peer.insert(peer.end(), peerOptions.begin(), peerOptions.end());
  peer.insert(peer.end(), {"-o", other});
  compareCommands(state, "oiiotool", paintCommand(scene, own, mapSize()), peer);
  std::error_code ignored;
  if (ending == ".exr" && fs::file_size(other, ignored) > 0)
    state.counters["size_ratio"] =
        static_cast<double>(fs::file_size(own)) / static_cast<double>(fs::file_size(other));
}

/// Reading and describing, beside the peer's statistics.
void reading(benchmark::State& state, const Command& writeOptions) {
  const Folder folder;
  const std::string file = folder / "in.exr";
  Command write = paintCommand(kExamples + "venice.json", file, mapSize());
  write.insert(write.end(), writeOptions.begin(), writeOptions.end());
  if (!attempt(state, [&] { run(write); })) return;
  compareCommands(state, "oiiotool --stats", {kProgram, "info", file}, {"oiiotool", "--stats", file});
}

/// A file without compression, beside `write()` of as many bytes into another.
void writeUncompressed(benchmark::State& state) {
  const Folder folder;
  const int width = bench::smoke() ? 512 : 4096;
  const orv::hdri::EnvImage map = [&] {
    orv::hdri::EnvImage made(width, width / 2);
    for (std::size_t i = 0; i < made.pixels.size(); ++i) {
      const auto value = static_cast<float>(i * 2654435761u % 4096);
      made.pixels[i] = {value, value, value};
    }
    return made;
  }();
  const std::string own = folder / "own.exr", other = folder / "bytes";
  orv::scene::MapFileOptions options;
  options.compression = "none";
  bench::compare(
      state, "write()",
      [&] {
        orv::scene::OutputFile file(own);
        orv::scene::writeMap(map, file, *orv::scene::mapFormatOf(own), options);
        file.commit();
      },
      [&] {
        const int file = open(other.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        const char* data = reinterpret_cast<const char*>(map.pixels.data());
        for (std::size_t left = map.pixels.size() * sizeof(orv::hdri::Rgb); left > 0;) {
          const ssize_t written = write(file, data, left);
          if (written <= 0) break;
          data += written;
          left -= static_cast<std::size_t>(written);
        }
        close(file);
      });
}

/// What the entry script takes when there is nothing to build.
void devPaint(benchmark::State& state) {
  const Folder folder;
  const std::string scene = kExamples + "color.json";
  compareCommands(state, "orvpaint paint",
                  {ORVHDRI_SOURCE_DIR "/dev", "paint", scene, "-q", "-o", folder / "dev.pfm"},
                  {kProgram, "paint", scene, "-q", "-o", folder / "own.pfm"});
}

/// The largest resident memory of a paint into a file without compression, as /usr/bin/time tells it.
void memory(benchmark::State& state, const std::string& background) {
  const Folder folder;
  const std::string scene = writeScene(folder, background);
  const std::string told = folder / "peak";
  attempt(state, [&] {
    const std::string size = mapSize();
    // An image of the map's size.
    makePhotograph(folder, size);
    run({"/usr/bin/time", "-f", "%M", "-o", told, kProgram, "paint", scene, "--size", size, "-q", "-o",
         folder / "out.pfm"});
    for (auto _ : state)
      state.SetIterationTime(
          bench::milliseconds([&] {
            run({kProgram, "paint", scene, "--size", size, "-q", "-o", folder / "out.pfm"});
          }) *
          1e-3);
    double kilobytes = 0;
    std::ifstream(told) >> kilobytes;
    state.counters["peak_MB"] = kilobytes * 1.024e-3;
  });
}

[[maybe_unused]] const bool kRegistered = [] {
  const auto add = [](const char* name, auto body) {
    benchmark::RegisterBenchmark(name, body)->UseManualTime()->Iterations(1);
  };
  using State = benchmark::State;
  add("command/version", version);
  add("command/small_exr", [](State& s) { smallMap(s, "map.exr"); });
  add("command/small_pfm", [](State& s) { smallMap(s, "map.pfm"); });
  add("command/exr_sky", [](State& s) {
    writing(s, R"({"type": "sunSky"})", ".exr", {"--compression", "zip"});
  });
  add("command/exr_photograph", [](State& s) { writing(s, kPhotograph, ".exr", {"--compression", "zip"}); });
  add("command/exr_none", writeUncompressed);
  add("command/hdr", [](State& s) { writing(s, kPhotograph, ".hdr", {}); });
  add("command/png", [](State& s) { writing(s, kPhotograph, ".png", {"-d", "uint8"}); });
  add("command/read_zip", [](State& s) { reading(s, {}); });
  add("command/read_piz", [](State& s) { reading(s, {"--half", "--compression", "piz"}); });
  add("command/dev_paint", devPaint);
  add("memory/color", [](State& s) { memory(s, R"({"type": "color", "color": [0.2, 0.5, 1]})"); });
  add("memory/image", [](State& s) { memory(s, R"({"type": "image", "path": "in.exr"})"); });
  add("memory/image_blurred",
      [](State& s) { memory(s, R"({"type": "image", "path": "in.exr", "blur": 2}, "quality": "plain")"); });
  add("memory/image_blurred_on_sphere",
      [](State& s) { memory(s, R"({"type": "image", "path": "in.exr", "blur": 2})"); });
  return true;
}();

}  // namespace
