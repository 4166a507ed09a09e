#include <algorithm>

#include "commands.h"
#include "console.h"
#include "orvrender/printable_text.h"
#include "scene/read_scene.h"

namespace orvpaint {

ExitStatus check(const std::vector<std::string>& scenes) {
  ExitStatus status = done;
  std::string good;
  for (const std::string& path : scenes) {
    try {
      orv::scene::readScene(path);
      good += orv::printableText(path) + ": good\n";
    } catch (const orv::scene::SceneErrors& errors) {
      for (const std::string& line : errors.lines()) printLine(line);
      status = callIsWrong;
    } catch (const orv::scene::FileError& error) {
      printMessage(error.what());
      status = std::max(status, fileFailed);
    }
  }
  printResult(good);
  return status;
}

}  // namespace orvpaint
