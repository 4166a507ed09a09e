#include "scene/PainterLibrary.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <new>
#include <vector>

#include "orvrender/orvHost.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibrary = "liborvhdri_avx2.so";
constexpr const char* kHost = "liborvrender.so";

/// Paths to try, in order; the last one is the bare name, for the library path.
std::vector<std::string> candidates() {
  std::vector<std::string> paths;
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  if (!error) {
    paths.push_back((program / kLibrary).string());
    paths.push_back((program.parent_path() / "lib" / kLibrary).string());
  }
  Dl_info host{};
  if (dladdr(reinterpret_cast<const void*>(&orv_scene_create), &host) != 0 && host.dli_fname)
    paths.push_back((fs::path(host.dli_fname).parent_path() / kLibrary).string());
  std::erase_if(paths, [&](const std::string& path) { return !fs::exists(path, error); });
  paths.emplace_back(kLibrary);
  return paths;
}

/// Lets the painter find the host that is loaded here, whatever lies beside the painter: its operations come
/// first, and, where the loader finds it by the name that painters need, it is known by that name as well.
void takeLoadedHost() {
  Dl_info host{};
  const bool known = dladdr(reinterpret_cast<const void*>(&orv_scene_create), &host) != 0 && host.dli_fname;
  for (const char* name : {known ? host.dli_fname : kHost, kHost})
    if (void* const loaded = dlopen(name, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL)) dlclose(loaded);
}

std::string lastError() {
  const char* message = dlerror();
  return message ? message : "unknown error";
}

void* symbol(void* library, const char* name, const std::string& path) {
  void* address = dlsym(library, name);
  if (!address) throw PainterError(path + ": not a painter: it has no " + name);
  return address;
}

}  // namespace

ProcessorFeatures processorFeatures() {
#if defined(__x86_64__) || defined(__i386__)
  return {__builtin_cpu_supports("avx2") != 0, __builtin_cpu_supports("fma") != 0};
#else
  return {};
#endif
}

PainterLibrary::PainterLibrary(const std::string& path, ProcessorFeatures processor) {
  if (!processor.avx2 || !processor.fma)
    throw PainterError(std::string("the processor lacks ") +
                       (!processor.avx2 && !processor.fma ? "AVX2 and FMA"
                        : processor.avx2                  ? "FMA"
                                                          : "AVX2") +
                       "; the painter needs an x86-64 processor with AVX2 and FMA");
  std::vector<std::string> paths;
  const char* fromEnvironment = std::getenv("ORVHDRI_PAINTER");
  // A name without a slash would be looked for in the library path instead of the working directory.
  const auto asPath = [](const std::string& p) { return p.find('/') == std::string::npos ? "./" + p : p; };
  if (!path.empty())
    paths = {asPath(path)};
  else if (fromEnvironment && *fromEnvironment)
    paths = {asPath(fromEnvironment)};
  else
    paths = candidates();

  takeLoadedHost();
  void* library = nullptr;
  std::string reason;
  for (const std::string& candidate : paths) {
    path_ = candidate;
    library = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library) break;
    // What is wrong with a file that exists says more than that the library path has none.
    if (reason.empty()) reason = lastError();
  }
  if (!library)
    throw PainterError("the painter cannot be loaded: " + reason +
                       "; name the library with --painter or ORVHDRI_PAINTER");
  create_ = reinterpret_cast<decltype(create_)>(symbol(library, "createAVX2Painter", path_));
  destroy_ = reinterpret_cast<decltype(destroy_)>(symbol(library, "destroyAVX2Painter", path_));
}

PainterPointer PainterLibrary::create() const {
  hdri::IPainter* painter = create_();
  if (!painter) throw std::bad_alloc();
  return {painter, DestroyPainter{destroy_}};
}

}  // namespace orv::scene
