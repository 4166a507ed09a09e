#include "help.h"

#include <algorithm>
#include <sstream>
namespace orvpaint {
namespace {

constexpr std::size_t kLineColumns = 80;
constexpr std::size_t kTextColumn = 26;

/// A term and what it means, wrapped at the line's end; the meaning of a long term begins on the next line.
std::string row(const std::string& term, const std::string& meaning, std::size_t textColumn) {
  std::string text = "  " + term;
  std::size_t column = text.size();
  const std::string indent(textColumn, ' ');
  if (column + 2 > textColumn) {
    text += "\n" + indent;
  } else {
    text.append(textColumn - column, ' ');
  }
  column = textColumn;
  std::istringstream words(meaning);
  for (std::string word; words >> word;) {
    const bool isFirst = column == textColumn;
    if (!isFirst && column + 1 + word.size() > kLineColumns) {
      text.append("\n").append(indent).append(word);
      column = textColumn + word.size();
      continue;
    }
    text += (isFirst ? "" : " ") + word;
    column += word.size() + (isFirst ? 0 : 1);
  }
  return text + "\n";
}

std::string heading(const std::string& text, Stream stream = Stream::out) {
  return "\n" + boldText(text + ":", stream) + "\n";
}

std::string optionTerm(const CLI::Option& option) {
  std::string term;
  for (const std::string& name : optionNames(option)) term += (term.empty() ? "" : ", ") + name;
  // Long names stand below one another.
  if (option.get_snames().empty()) term.insert(0, "    ");
  const std::string value = valueName(option);
  return value.empty() ? term : term + " " + value;
}

std::string usageLine(const CLI::App& command) {
  std::string line = "orvpaint " + command.get_name();
  for (const CLI::Option* operand : operandsOf(command)) {
    const std::string name = valueName(*operand) + (takesSeveral(*operand) ? "..." : "");
    line += operand->get_required() ? " " + name : " [" + name + "]";
  }
  for (const OptionGroup& group : optionGroupsOf(command))
    for (const CLI::Option* option : group.options)
      if (option->get_required()) line += " " + optionNames(*option).front() + " " + valueName(*option);
  return line + " [OPTIONS]";
}

}  // namespace

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* command) { return !command->get_group().empty(); });
}

const CLI::App* commandNamed(const CLI::App& app, std::string_view name) {
  for (const CLI::App* command : commandsOf(app))
    if (command->get_name() == name) return command;
  return nullptr;
}

std::vector<const CLI::Option*> operandsOf(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<OptionGroup> optionGroupsOf(const CLI::App& command) {
  std::vector<OptionGroup> groups;
  for (const CLI::Option* option :
       command.get_options([](const CLI::Option* each) { return each->nonpositional(); })) {
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const OptionGroup& group) {
      return group.name == option->get_group();
    });
    if (found != groups.end())
      found->options.push_back(option);
    else
      groups.push_back({option->get_group(), {option}});
  }
  // The help option comes first, and its group last.
  if (!groups.empty()) std::rotate(groups.begin(), groups.begin() + 1, groups.end());
  if (!groups.empty())
    std::rotate(groups.back().options.begin(), groups.back().options.begin() + 1,
                groups.back().options.end());
  return groups;
}

std::vector<std::string> optionNames(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::string valueName(const CLI::Option& option) {
  return option.get_items_expected_max() == 0 ? std::string() : option.get_type_name();
}

bool takesSeveral(const CLI::Option& operand) { return operand.get_items_expected_max() > 1; }

std::vector<std::string> examplesOf(const CLI::App& command) {
  std::vector<std::string> lines;
  std::istringstream footer(command.get_footer());
  for (std::string line; std::getline(footer, line);)
    if (!line.empty()) lines.push_back(line);
  return lines;
}

std::string helpText(const CLI::App& app, Stream stream) {
  std::string text = app.get_description() + "\n";
  text += "\n" + boldText("Usage:", stream) + " orvpaint COMMAND ...\n";
  text += heading("Commands", stream);
  for (const CLI::App* command : commandsOf(app))
    text += row(command->get_name(), command->get_description(), 12);
  return text + "\norvpaint help COMMAND tells what a command takes, orvpaint --version the version.\n";
}

std::string commandHelpText(const CLI::App& command) {
  std::string text = command.get_description() + "\n";
  text += "\n" + boldText("Usage:", Stream::out) + " " + usageLine(command) + "\n";
  const std::vector<const CLI::Option*> operands = operandsOf(command);
  if (!operands.empty()) text += heading("Arguments");
  for (const CLI::Option* operand : operands)
    text += row(valueName(*operand) + (takesSeveral(*operand) ? "..." : ""), operand->get_description(),
                kTextColumn);
  for (const OptionGroup& group : optionGroupsOf(command)) {
    text += heading(group.name);
    for (const CLI::Option* option : group.options)
      text += row(optionTerm(*option), option->get_description(), kTextColumn);
  }
  text += heading("Examples");
  for (const std::string& line : examplesOf(command)) text += "  " + line + "\n";
  return text;
}

}  // namespace orvpaint
