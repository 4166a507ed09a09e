#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "commands.h"

namespace orvpaint {

/// What a call says, for the command that it names.
struct Arguments {
  PaintArguments paint;
  BatchArguments batch;
  PreviewArguments preview;
  std::vector<std::string> checkedScenes;
  InfoArguments info;
  std::string helpCommand;  ///< empty: of the program
  std::string generateFolder;
};

/// Describes the program's commands and options, their values and examples (an example a line, in the
/// command's footer). The call is read by this description, and help is made of it.
/// @param arguments where the values go; it must outlive `app`.
void describeCommands(CLI::App& app, Arguments& arguments);

/// What a command does, in a paragraph for its man page.
std::string detailsOf(std::string_view command);

}  // namespace orvpaint
