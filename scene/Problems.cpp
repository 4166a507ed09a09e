#include "scene/Problems.h"

#include <algorithm>

#include "scene/json_tree.h"
#include "scene/text_place.h"

namespace orv::scene {

std::vector<Problem> Problems::told(std::string_view text, std::span<const std::string> settings) const {
  std::vector<const Found*> sorted;
  sorted.reserve(found_.size());
  for (const Found& found : found_) sorted.push_back(&found);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Found* a, const Found* b) { return a->offset < b->offset; });
  PlaceFinder places(text);
  std::vector<Problem> problems;
  problems.reserve(sorted.size() + 1);
  for (const Found* found : sorted) {
    Problem& problem = problems.emplace_back();
    problem.file = fileName_;
    problem.cause = cause_;
    problem.path = found->path;
    problem.text = found->text;
    if (found->offset >= kFromSetting) {
      const std::size_t setting = found->offset - kFromSetting;
      if (setting < settings.size())
        problem.cause.append(cause_.empty() ? "" : ": ").append("setting ").append(settings[setting]);
    } else if (!text.empty() || found->path.empty()) {
      place(problem, places.at(found->offset));
    }
  }
  if (count_ > problems.size()) {
    Problem& rest = problems.emplace_back();
    rest.file = fileName_;
    rest.path = "scene";
    rest.text = std::to_string(count_ - found_.size()) + " more errors are not shown";
  }
  return problems;
}

}  // namespace orv::scene
