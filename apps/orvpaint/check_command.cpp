#include <algorithm>

#include "commands.h"
#include "console.h"
#include "orvrender/printable_text.h"
#include "scene/SceneDocument.h"
#include "scene/missing_images.h"

namespace orvpaint {

namespace scene = orv::scene;

ExitStatus check(const std::vector<std::string>& scenes) {
  ExitStatus status = done;
  std::string good;
  for (const std::string& path : scenes) {
    const ExitStatus failed = tellErrors([&] {
      const scene::SceneDocument document = scene::SceneDocument::load(path);
      document.check();
      good.append(orv::printableText(document.fileName())).append(": good\n");
      // The scene is right all the same: its pictures may be somewhere else where it is painted.
      std::vector<scene::Problem> missing =
          scene::missingImages(document.read(), document.fileName(), document.folder());
      for (scene::Problem& problem : missing) {
        document.locate(problem);
        for (const std::string& line : problem.lines()) printLine(line);
      }
    });
    status = std::max(status, failed);
  }
  printResult(good);
  return status;
}

}  // namespace orvpaint
