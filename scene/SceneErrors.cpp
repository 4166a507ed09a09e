#include "scene/SceneErrors.h"

#include <string_view>
#include <utility>

#include "scene/json_tree.h"

namespace orv::scene {
namespace {

/// `pins[2] "rim": radius` of the path `pins[2].radius` into a pin of this name.
std::string namedPath(std::string_view path, std::string_view pin) {
  const std::size_t end = path.find(']');
  if (pin.empty() || end == std::string_view::npos) return std::string(path);
  std::string text(path.substr(0, end + 1));
  text.append(" ").append(quotedText(pin));
  std::string_view rest = path.substr(end + 1);
  if (rest.starts_with('.')) rest.remove_prefix(1);
  if (!rest.empty()) text.append(": ").append(rest);
  return text;
}

std::string joined(const std::vector<Problem>& problems) {
  std::string text;
  for (const Problem& problem : problems) text.append(text.empty() ? "" : "\n").append(problem.finding());
  return text;
}

}  // namespace

std::string Problem::finding() const {
  std::string result = file;
  const auto append = [&result](const std::string& part) {
    result.append(result.empty() ? "" : ": ").append(part);
  };
  if (line > 0) result.append(":").append(std::to_string(line));
  if (column > 0) result.append(":").append(std::to_string(column));
  if (!cause.empty()) append(cause);
  if (!path.empty()) append(namedPath(path, pin));
  append(text);
  return result;
}

std::vector<std::string> Problem::lines() const {
  if (source.empty()) return {finding()};
  return {finding(), "  " + source, "  " + mark};
}

SceneErrors::SceneErrors(std::vector<Problem> problems)
    : std::runtime_error(joined(problems)), problems_(std::move(problems)) {
  for (const Problem& problem : problems_)
    for (std::string& line : problem.lines()) lines_.push_back(std::move(line));
}

}  // namespace orv::scene
