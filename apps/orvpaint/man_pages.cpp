#include "man_pages.h"

#include <algorithm>
#include <cctype>

#include "commands.h"
#include "describe_commands.h"
#include "help.h"

namespace orvpaint {
namespace {

/// Text as troff shows it: hyphens that can be typed, and nothing that is a request or an escape.
std::string roff(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else if (c == '\'')
      out += "\\(aq";
    else if (c == '^')
      out += "\\(ha";
    else if (c == '~')
      out += "\\(ti";
    else if (c == '`')
      out += "\\(ga";
    else
      out += c;
  }
  return out.starts_with('.') ? "\\&" + out : out;
}

std::string bold(const std::string& text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + roff(text) + "\\fR"; }

std::string section(const std::string& name) { return ".SH " + name + "\n"; }

/// A term and its meaning.
std::string item(const std::string& term, const std::string& meaning) {
  return ".TP\n" + term + "\n" + roff(meaning) + ".\n";
}

std::string operandText(const CLI::Option& operand) {
  const std::string text = italic(valueName(operand)) + (takesSeveral(operand) ? "..." : "");
  return operand.get_required() ? text : "[" + text + "]";
}

std::string optionText(const CLI::Option& option) {
  std::string text;
  for (const std::string& name : optionNames(option)) text += (text.empty() ? "" : ", ") + bold(name);
  const std::string value = valueName(option);
  return value.empty() ? text : text + " " + italic(value);
}

std::string pageName(const CLI::App& command) { return "orvpaint-" + command.get_name(); }

std::string title(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return ".TH " + roff(name) + " 1 \"\" \"" + programVersion() + "\" \"User Commands\"\n.nh\n.ad l\n";
}

std::string nameSection(const std::string& name, std::string what) {
  what[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(what[0])));
  if (what.ends_with('.')) what.pop_back();
  return section("NAME") + roff(name) + " \\- " + roff(what) + "\n";
}

std::string synopsis(const CLI::App& command) {
  std::string text = bold("orvpaint " + command.get_name());
  for (const CLI::Option* operand : operandsOf(command)) text += " " + operandText(*operand);
  for (const OptionGroup& group : optionGroupsOf(command))
    for (const CLI::Option* option : group.options)
      if (option->get_required())
        text += " " + bold(optionNames(*option).front()) + " " + italic(valueName(*option));
  return section("SYNOPSIS") + text + " [" + italic("OPTIONS") + "]\n";
}

std::string examples(const CLI::App& command) {
  std::string text = section("EXAMPLES") + ".nf\n";
  for (const std::string& line : examplesOf(command)) text += roff(line) + "\n";
  return text + ".fi\n";
}

std::string exitStatus() {
  return section("EXIT STATUS") + item("0", "Done") +
         item("1",
              "A file, or a pipe that nobody reads any more, could not be read or written, the painter could "
              "not be "
              "loaded, or the processor lacks AVX2 or FMA") +
         item("2", "The call is wrong or a scene has errors") +
         item("3",
              "A missing image or sky was painted as a visible colour, or memory ran short for a picture, "
              "and no "
              "file was written") +
         ".PP\nOf several maps the greatest counts.\n";
}

}  // namespace

std::string manPage(const CLI::App& app) {
  std::string text = title("orvpaint") + nameSection("orvpaint", app.get_description());
  text += section("SYNOPSIS") + bold("orvpaint") + " " + italic("COMMAND") + " ...\n";
  text += section("DESCRIPTION") + roff(app.get_description()) + "\n";
  text +=
      "A scene names a background and lights on it; each command says what it takes in a page of its own.\n";
  text += section("COMMANDS");
  for (const CLI::App* command : commandsOf(app))
    text += item(bold(pageName(*command)) + "(1)", command->get_description());
  text += section("OPTIONS");
  for (const OptionGroup& group : optionGroupsOf(app))
    for (const CLI::Option* option : group.options)
      text += item(optionText(*option), option->get_description());
  text += exitStatus() + section("ENVIRONMENT");
  text += item(bold("ORVHDRI_PAINTER"), "Path of the painter's library, where --painter gives none");
  text += item(bold("NO_COLOR"), "Where it is set and not empty, nothing is said in colours");
  text += item(bold("TERM"), "Where it is dumb, neither colours nor progress are shown");
  text += section("EXAMPLES") + ".nf\n";
  for (const CLI::App* command : commandsOf(app))
    if (!examplesOf(*command).empty()) text += roff(examplesOf(*command).front()) + "\n";
  return text + ".fi\n";
}

std::string commandManPage(const CLI::App& app, const CLI::App& command) {
  const std::string name = pageName(command);
  std::string text = title(name) + nameSection(name, command.get_description()) + synopsis(command);
  text += section("DESCRIPTION") + roff(detailsOf(command.get_name())) + "\n";
  for (const CLI::Option* operand : operandsOf(command))
    text += item(italic(valueName(*operand)), operand->get_description());
  text += section("OPTIONS");
  for (const OptionGroup& group : optionGroupsOf(command)) {
    text += ".SS " + group.name + "\n";
    for (const CLI::Option* option : group.options)
      text += item(optionText(*option), option->get_description());
  }
  text += exitStatus() + examples(command) + section("SEE ALSO") + bold("orvpaint") + "(1)";
  for (const CLI::App* other : commandsOf(app))
    if (other != &command) text += ", " + bold(pageName(*other)) + "(1)";
  return text + "\n";
}

}  // namespace orvpaint
