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
      good += orv::printableText(path) + ": good\n";
      for (const std::string& line : scene::missingImages(document.read(), document.folder())) {
        printMessage(path + ": " + line);
        status = std::max(status, fileFailed);
      }
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
