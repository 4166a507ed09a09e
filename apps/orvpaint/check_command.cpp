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
    try {
      const scene::SceneDocument document = scene::SceneDocument::load(path);
      document.check();
      good.append(orv::printableText(path)).append(": good\n");
      // The scene is right all the same: its pictures may be somewhere else where it is painted.
      for (const std::string& line : scene::missingImages(document.read(), document.folder()))
        printMessage(std::string(path).append(": ").append(line));
    } catch (const scene::SceneErrors& errors) {
      for (const std::string& line : errors.lines()) printLine(line);
      status = callIsWrong;
    } catch (const scene::FileError& error) {
      printMessage(error.what());
      status = std::max(status, fileFailed);
    }
  }
  printResult(good);
  return status;
}

}  // namespace orvpaint
