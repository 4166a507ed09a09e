#pragma once

#include <cstddef>

// The places of all virtual operations, written down by hand: programs that were compiled against an older
// header call by them. A class with a virtual destructor has it twice: destroy, then destroy and free.
namespace slots {

namespace painter {
enum : std::size_t {
  setScene = 2,
  setSize,
  setSizeFromImage,
  setOptions,
  setBackground,
  addRectPin,
  addCirclePin,
  reserved,
  hasBackground,
  isValid,
  paint,
  clear,
  getType
};
}
namespace brush {
enum : std::size_t {
  destroy = 1,
  kind = 2,
  attachHook,
  isOverridden,
  equals,
  detachHook,
  clone,
  size,
  setSize,
  hostNode
};
}
namespace image {
enum : std::size_t {
  getPixel = 0,
  setFilterMode,
  width,
  height,
  hasAlpha,
  pixels,
  path,
  filterMode,
  lookup,
  memory,
  profile,
  mipLevels,
  lookupFiltered
};
}
namespace sky {
enum : std::size_t { render = 0, setSunDirection, useOwnSun };
}
namespace sceneApi {
enum : std::size_t { beginNode = 0, takeNode };
}
namespace node {
enum : std::size_t { isParameterAnimated = 0, setUint, setFloat, setText, floatArray };
}
namespace listener {
enum : std::size_t { brushChanged = 0 };
}
namespace shape {
enum : std::size_t { destroy = 1, latitudeRange = 2, azimuthSpans, evaluate, cosFromCentreExtent };
}
namespace falloff {
enum : std::size_t { destroy = 1, evaluate = 2 };
}
namespace fill {
enum : std::size_t { destroy = 1, prepare = 2, release, requirements, shade };
}
namespace source {
enum : std::size_t { destroy = 1, prepare = 2, sampleBlock, canSample, fillRow };
}

}  // namespace slots
