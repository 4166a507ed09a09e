#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace orvpaint {

/// A script by which bash completes commands, options, values that are one of some words, and files by their
/// endings. It is made of the commands' description.
std::string bashCompletion(const CLI::App& app);

}  // namespace orvpaint
