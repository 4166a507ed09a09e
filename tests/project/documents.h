// The documents of the project, as their tests read them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace documents {

namespace fs = std::filesystem;

inline const fs::path kSource = ORVHDRI_SOURCE_DIR;

/// Every page: those at the root, of docs/ and of the examples.
inline std::vector<fs::path> pages() {
  std::vector<fs::path> found{kSource / "examples/README.md"};
  for (const fs::path& folder : {kSource, kSource / "docs"})
    for (const auto& file : fs::directory_iterator(folder))
      if (file.path().extension() == ".md") found.push_back(file.path());
  std::sort(found.begin(), found.end());
  return found;
}

inline std::string textOf(const fs::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::vector<std::string> linesOf(const fs::path& file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The blocks of a page that are marked as being of a language, such as "cpp".
inline std::vector<std::string> blocksOf(const fs::path& page, const std::string& language) {
  std::vector<std::string> blocks;
  bool inside = false;
  for (const std::string& line : linesOf(page)) {
    if (line == "```" + language) {
      inside = true;
      blocks.emplace_back();
    } else if (line == "```") {
      inside = false;
    } else if (inside) {
      blocks.back() += line + "\n";
    }
  }
  return blocks;
}

/// The lines of a page that stand in no block.
inline std::vector<std::string> proseOf(const fs::path& page) {
  std::vector<std::string> prose;
  bool inside = false;
  for (const std::string& line : linesOf(page)) {
    const bool fence = line.starts_with("```");
    if (!inside && !fence) prose.push_back(line);
    if (fence) inside = !inside;
  }
  return prose;
}

}  // namespace documents
