#pragma once

#include <string>
#include <vector>

#include "support/reference/scene.h"

/// The scenes on which the library is compared with the reference painter.
namespace reference {

struct NamedScene {
  std::string name;
  Scene scene;
};

/// Scenes written by hand: each sets one thing that is easy to get wrong.
std::vector<NamedScene> handWrittenScenes();

/// A scene drawn from everything a scene can hold; the same for the same seed.
NamedScene randomScene(unsigned seed);

}  // namespace reference
