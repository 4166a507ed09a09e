#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "hdri/IPainter.h"

namespace orv::scene {

/// The painter could not be loaded; `what()` is one line.
struct PainterError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What the painter needs of the processor, and of the system that keeps its registers.
struct ProcessorFeatures {
  bool avx2 = false;
  bool fma = false;
};

/// What this machine has.
ProcessorFeatures processorFeatures();

struct DestroyPainter {
  void (*destroy)(hdri::IPainter*) = nullptr;
  void operator()(hdri::IPainter* painter) const { destroy(painter); }
};
using PainterPointer = std::unique_ptr<hdri::IPainter, DestroyPainter>;

/// The painter's library, loaded on request. It stays loaded until the program ends, because maps outlive it.
class PainterLibrary {
 public:
  /// Loads the library: `path` when it is given; else the path in the environment variable ORVHDRI_PAINTER;
  /// else liborvhdri_avx2.so beside the program, in ../lib beside it, beside the host library, or in the
  /// library path. The processor is checked before anything of the library runs.
  /// @throws PainterError when the processor lacks what the painter needs or the library can not be loaded.
  explicit PainterLibrary(const std::string& path = {}, ProcessorFeatures processor = processorFeatures());

  /// A new painter. @throws std::bad_alloc when there is no memory. Thread-safe.
  PainterPointer create() const;

  /// Where the library was found.
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  hdri::IPainter* (*create_)() = nullptr;
  void (*destroy_)(hdri::IPainter*) = nullptr;
};

}  // namespace orv::scene
