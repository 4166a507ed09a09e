#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"

namespace orvpaint {

// What help, man pages and completion are made of, as the description of the commands has it.

/// All commands, in the order in which they are listed.
std::vector<const CLI::App*> commandsOf(const CLI::App& app);
/// The command of this name; null for none.
const CLI::App* commandNamed(const CLI::App& app, std::string_view name);
/// The arguments that are no options.
std::vector<const CLI::Option*> operandsOf(const CLI::App& command);
/// The options, group by group.
struct OptionGroup {
  std::string name;
  std::vector<const CLI::Option*> options;
};
std::vector<OptionGroup> optionGroupsOf(const CLI::App& command);
/// The option's names with their dashes, the short one first.
std::vector<std::string> optionNames(const CLI::Option& option);
/// What its value is called; empty for a flag.
std::string valueName(const CLI::Option& option);
bool takesSeveral(const CLI::Option& operand);
/// The lines of the command's examples.
std::vector<std::string> examplesOf(const CLI::App& command);

/// The list of commands.
std::string helpText(const CLI::App& app, Stream stream = Stream::out);
/// What a command takes, and examples.
std::string commandHelpText(const CLI::App& command);

}  // namespace orvpaint
