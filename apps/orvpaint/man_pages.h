#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvpaint {

// Man pages (section 1, the man macros) of the commands' description.

/// The page of the program: its commands, exit status and environment.
std::string manPage(const CLI::App& app);
/// The page of one of its commands.
std::string commandManPage(const CLI::App& app, const CLI::App& command);

}  // namespace orvpaint
