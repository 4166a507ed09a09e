#include <CLI/CLI.hpp>
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "check_arguments.h"
#include "console.h"
#include "describe_commands.h"
#include "help.h"
#include "scene/PainterLibrary.h"
#include "scene/SceneErrors.h"
#include "scene/Setting.h"
#include "scene/nearest_name.h"
#include "scene/paint_job.h"

namespace orvpaint {

namespace scene = orv::scene;

std::string programVersion() { return "orvpaint " ORVHDRI_VERSION; }

namespace {

ExitStatus wrongCall(const std::string& message, const CLI::App* command) {
  printMessage(message + (command ? "; see orvpaint help " + command->get_name()
                                  : "; orvpaint help lists the commands"));
  return callIsWrong;
}

/// What is wrong with a word that should be a command.
std::string notACommand(const CLI::App& app, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::App* command : commandsOf(app)) names.push_back(command->get_name());
  return "\"" + word + "\" is not a command" +
         scene::suggestion(word, std::vector<std::string_view>(names.begin(), names.end()));
}

/// What is wrong with an argument that nothing takes.
std::string notExpected(const CLI::App& command, const std::string& argument) {
  const std::string word = argument.substr(0, argument.find('='));
  if (!word.starts_with('-')) return "\"" + word + "\" is one argument too many";
  std::vector<std::string> names;
  for (const OptionGroup& group : optionGroupsOf(command))
    for (const CLI::Option* option : group.options)
      for (const std::string& name : optionNames(*option)) names.push_back(name);
  return word + " is not an option of " + command.get_name() +
         scene::suggestion(word, std::vector<std::string_view>(names.begin(), names.end()));
}

/// What the parser says, an option without its value in our words.
std::string wordsOf(const CLI::ParseError& error) {
  std::string text = error.what();
  constexpr std::string_view kRequired = ": 1 required ";
  const std::size_t at = text.find(kRequired);
  if (at == std::string::npos || !text.ends_with(" missing")) return text;
  text.replace(at, kRequired.size(), ": its ");
  return text.insert(text.rfind("missing"), "is ");
}

/// Prints help, of a command or of all.
ExitStatus help(const CLI::App& app, const std::string& name) {
  if (name.empty()) {
    printResult(helpText(app));
    return done;
  }
  const CLI::App* const command = commandNamed(app, name);
  if (!command) return wrongCall(notACommand(app, name), nullptr);
  printResult(commandHelpText(*command));
  return done;
}

ExitStatus runCommand(const CLI::App& app, const std::string& command, const Arguments& arguments) {
  std::string wrong;
  if (command == "paint") wrong = checkMaps(arguments.paint);
  if (command == "batch") wrong = checkMaps(arguments.batch);
  if (command == "preview") wrong = checkPreview(arguments.preview);
  if (!wrong.empty()) {
    printMessage(wrong);
    return callIsWrong;
  }
  if (command == "paint") return paint(arguments.paint);
  if (command == "batch") return batch(arguments.batch);
  if (command == "preview") return preview(arguments.preview);
  if (command == "check") return check(arguments.checkedScenes);
  if (command == "info") return info(arguments.info);
  if (command == "generate") return generate(app, arguments.generateFolder);
  return help(app, arguments.helpCommand);
}

ExitStatus run(int argc, char** argv) {
  CLI::App app;
  Arguments arguments;
  describeCommands(app, arguments);
  if (argc < 2) {
    printText(helpText(app, Stream::error));
    return callIsWrong;
  }
  const CLI::App* const command = commandNamed(app, argv[1]);
  const auto isNamed = [argv](const CLI::App* each) { return each->get_name() == argv[1]; };
  if (argv[1][0] != '-' && app.get_subcommands(isNamed).empty())
    return wrongCall(notACommand(app, argv[1]), nullptr);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    return help(app, command ? command->get_name() : "");
  } catch (const CLI::CallForVersion&) {
    printResult(programVersion() + "\n");
    return done;
  } catch (const CLI::ParseError& error) {
    const std::vector<std::string> left = app.remaining(true);
    return wrongCall(left.empty() ? wordsOf(error) : notExpected(command ? *command : app, left.front()),
                     command);
  }
  return runCommand(app, app.get_subcommands().front()->get_name(), arguments);
}

/// Runs the program and turns what it throws into a line and a status.
ExitStatus runGuarded(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const scene::SceneErrors& errors) {
    for (const std::string& line : errors.lines()) printLine(line);
    return callIsWrong;
  } catch (const scene::SettingError& error) {
    printMessage(error.what());
    return callIsWrong;
  } catch (const scene::FallbackError& error) {
    printMessage(error.what());
    return fellBack;
  } catch (const std::bad_alloc&) {
    printMessage("not enough memory");
  } catch (const std::exception& error) {
    printMessage(error.what());
  }
  return fileFailed;
}

}  // namespace
}  // namespace orvpaint

int main(int argc, char** argv) {
  orvpaint::openClosedStreams();
  orvpaint::handleSignals();
  return orvpaint::runGuarded(argc, argv);
}
