// Reads any bytes as an OpenEXR file by the host's own reader, with limits that keep a run small.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "orvrender/files/ImageError.h"
#include "orvrender/files/read_exr.h"
#include "orvrender/orvHost.h"

// A header that asks for more memory than there is must be refused, not end the run.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::uint64_t blocks = orv_memory_counters().liveBlocks;
  const int file = memfd_create("image", 0);
  if (file < 0) std::abort();
  if (size > 0 && write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  constexpr orv::host::ImageLimits kLimits{.side = 4096, .pixels = 1 << 18};
  try {
    if (const auto read = orv::host::readExr(path, kLimits)) {
      // Every value that it hands over is there to be read.
      volatile float sum = 0;
      for (std::size_t i = 0; i < 3 * read->pixels.count(); ++i) sum = sum + read->pixels.rgb[i];
      for (std::size_t i = 0; read->pixels.alpha && i < read->pixels.count(); ++i)
        sum = sum + read->pixels.alpha[i];
    }
    orv::host::describeExr(path);
  } catch (const orv::host::ImageError&) {
  } catch (const std::bad_alloc&) {
  }
  close(file);
  if (orv_memory_counters().liveBlocks != blocks) std::abort();
  return 0;
}
