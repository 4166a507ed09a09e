#include "bash_completion.h"

#include "help.h"
#include "option_values.h"

namespace orvpaint {
namespace {

constexpr const char* kFunctions =
    R"bash(# Completion of orvpaint for bash, made of the program's own description of its options.

# Completes one of some words.
_orvpaint_words() {
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current")
}

# Completes folders, and files with one of some endings; any file without one.
_orvpaint_files() {
  local file ending
  compopt -o filenames 2>/dev/null
  while IFS= read -r file; do
    if [[ $# -eq 0 || -d ${file/#\~/$HOME} ]]; then
      COMPREPLY+=("$file")
      continue
    fi
    for ending; do
      [[ ${file,,} == *"$ending" ]] && COMPREPLY+=("$file")
    done
  done < <(compgen -f -- "$current")
}

_orvpaint() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word
  COMPREPLY=()
  # --option=value comes in three words.
  if [[ $current == = ]]; then
    current=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ $word == -* ]] && continue
    command=$word
    break
  done
)bash";

std::string joined(const std::vector<std::string_view>& words) {
  std::string text;
  for (const std::string_view word : words) text.append(text.empty() ? "" : " ").append(word);
  return text;
}

/// The call that completes a value; `return` where any text may stand.
std::string completionOf(const std::string& value, const std::string& commands) {
  if (value == "COMMAND") return "_orvpaint_words '" + commands + "'";
  const ValueKind kind = valueKind(value);
  if (!kind.words.empty()) return "_orvpaint_words '" + joined(kind.words) + "'";
  if (!kind.isFile) return "return";
  return kind.endings.empty() ? "_orvpaint_files" : "_orvpaint_files " + joined(kind.endings);
}

std::string allOptions(const CLI::App& command) {
  std::string names;
  for (const OptionGroup& group : optionGroupsOf(command))
    for (const CLI::Option* option : group.options)
      for (const std::string& name : optionNames(*option)) names += (names.empty() ? "" : " ") + name;
  return names;
}

/// What follows the command's options, and what stands alone.
std::string commandCase(const CLI::App& command, const std::string& commands) {
  std::string text = "    " + command.get_name() + ")\n      case $previous in\n";
  for (const OptionGroup& group : optionGroupsOf(command)) {
    for (const CLI::Option* option : group.options) {
      const std::string value = valueName(*option);
      if (value.empty()) continue;
      std::string names;
      for (const std::string& name : optionNames(*option)) names += (names.empty() ? "" : " | ") + name;
      text += "        " + names + ") " + completionOf(value, commands) + " ;;\n";
    }
  }
  std::string operand = "return";
  for (const CLI::Option* each : operandsOf(command)) operand = completionOf(valueName(*each), commands);
  text += "        *)\n          if [[ $current == -* ]]; then\n";
  text += "            _orvpaint_words '" + allOptions(command) + "'\n          else\n";
  text += "            " + operand + "\n          fi\n          ;;\n      esac\n      ;;\n";
  return text;
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
  std::string commands;
  std::string cases;
  for (const CLI::App* command : commandsOf(app))
    commands += (commands.empty() ? "" : " ") + command->get_name();
  for (const CLI::App* command : commandsOf(app)) cases += commandCase(*command, commands);
  return kFunctions +
         ("  case $command in\n    '') _orvpaint_words '" + commands + " " + allOptions(app) + "' ;;\n") +
         cases + "  esac\n}\n\ncomplete -F _orvpaint orvpaint\n";
}

}  // namespace orvpaint
