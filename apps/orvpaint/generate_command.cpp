#include <filesystem>
#include <string>

#include "bash_completion.h"
#include "commands.h"
#include "help.h"
#include "man_pages.h"
#include "scene/OutputFile.h"
#include "scene/SceneErrors.h"

namespace orvpaint {
namespace {

namespace fs = std::filesystem;
namespace scene = orv::scene;

void write(const fs::path& path, const std::string& text) {
  scene::OutputFile file(path.string());
  file.write(text.data(), text.size(), 0);
  file.finish();
  file.commit();
}

fs::path folderMade(const fs::path& folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw scene::FileError(folder.string() + ": cannot be made: " + error.message());
  return folder;
}

}  // namespace

ExitStatus generate(const CLI::App& app, const std::string& folder) {
  const fs::path pages = folderMade(fs::path(folder) / "man/man1");
  write(pages / "orvpaint.1", manPage(app));
  for (const CLI::App* command : commandsOf(app))
    write(pages / ("orvpaint-" + command->get_name() + ".1"), commandManPage(app, *command));
  write(folderMade(fs::path(folder) / "bash-completion/completions") / "orvpaint", bashCompletion(app));
  return done;
}

}  // namespace orvpaint
