#pragma once

#include <functional>
#include <string>

#include "commands.h"

namespace orvpaint {

enum class Stream { out, error };

/// Whether a stream is a terminal that understands escapes.
bool isTerminal(Stream stream);

/// The columns that the terminal of standard error has at the moment; 80 where it does not tell.
std::size_t terminalColumns();

/// Bold where the stream is a terminal that shows it, and `NO_COLOR` is not set; else the text as it is.
std::string boldText(const std::string& text, Stream stream);

/// Opens the standard streams that were closed, so that no other file takes their number; what is written to
/// them still fails.
void openClosedStreams();

/// Writes a result to standard output. @throws orv::scene::FileError when it can not be written.
void printResult(const std::string& text);

/// Writes `orvpaint: message` to standard error as one line, the name in red where colours are shown; a
/// progress bar is taken away first.
void printMessage(const std::string& message);

/// Shows what is said of a map: with `quiet` only what is important.
std::function<void(const std::string&, bool)> tellUnless(bool quiet);

/// Writes lines of ours to standard error as they are.
void printText(const std::string& text);

/// Writes a line that names its file itself to standard error, control characters in it as escapes.
void printLine(const std::string& line);

/// Does something with a file and tells of what is wrong with it.
/// @return what the program leaves with for that.
ExitStatus tellErrors(const std::function<void()>& act);

/// On a signal that ends the program, an abort inside a library among them, removes unfinished files first.
/// Writing beyond a limit of file sizes, or into a pipe that nobody reads, becomes an ordinary error.
void handleSignals();

}  // namespace orvpaint
