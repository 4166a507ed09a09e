#include "orvrender/images/ImageModule.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

#include "orvrender/files/ImageError.h"
#include "orvrender/files/read_exr.h"

namespace orv::host {
namespace {

constexpr const char* kLibrary = "liborvrender_images.so";

/// The two libraries below OpenImageIO, as Debian 12 names them, that look most symbols up: 94,000 of
/// 154,000. A symbol is looked up in all that one dlopen brings, 262 libraries with the module: opened by
/// themselves these two take a third of the time off. Where there are none of that name nothing changes.
constexpr const char* kOpenedBefore[] = {"libgdal.so.32", "libopenvdb.so.10.0"};

/// The library beside this one; its bare name, for the library path, where this one's place is unknown.
std::string libraryPath() {
  Dl_info self{};
  if (dladdr(reinterpret_cast<const void*>(&orv_image_module), &self) == 0 || !self.dli_fname)
    return kLibrary;
  const std::string path = self.dli_fname;
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? kLibrary : path.substr(0, slash + 1) + kLibrary;
}

const ImageModule* openModule() {
  for (const char* name : kOpenedBefore) dlopen(name, RTLD_LAZY | RTLD_LOCAL);
  void* const library = dlopen(libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const entry = library ? dlsym(library, "orv_image_module_entry") : nullptr;
  if (!entry) {
    const char* const reason = dlerror();
    throw ImageError(std::string("it takes OpenImageIO, whose module cannot be loaded (") +
                     (reason ? reason : kLibrary) + "); install " + kLibrary + " beside liborvrender.so");
  }
  return reinterpret_cast<const ImageModule* (*)()>(entry)();
}

}  // namespace
}  // namespace orv::host

extern "C" const orv::host::ImageModule* orv_image_module() {
  // Opened once; a failure is tried again by the next file.
  static const orv::host::ImageModule* const module = orv::host::openModule();
  return module;
}

extern "C" void orv_image_describe(const std::string& path, orv::host::FileHeader& header) {
  if (orv::host::inspectFile(path).kind == orv::host::FileKind::openexr) {
    if (const auto read = orv::host::describeExr(path)) {
      header = *read;
      return;
    }
  }
  header = orv_image_module()->describe(path);
}
