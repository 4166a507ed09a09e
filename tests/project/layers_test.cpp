// Who may include whom below src/.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path kSource = fs::path(ORVHDRI_SOURCE_DIR) / "src";

/// The folders that a folder may include, beside itself and the public headers.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"simd", {}},
    {"host", {}},
    {"shapes", {"simd", "host"}},
    {"brushes", {"simd", "host", "shapes"}},
    {"backgrounds", {"simd", "host", "shapes", "brushes"}},
    {"pins", {"simd", "host", "shapes", "brushes", "backgrounds"}},
    {"painter", {"simd", "host", "shapes", "brushes", "backgrounds", "pins"}},
};

/// Leaf headers of a higher folder that lower ones may include as well.
const std::set<std::string> kLeaves = {"painter/BlockedMap.h", "painter/HostImage.h",
                                       "backgrounds/BackgroundSource.h", "backgrounds/ColorAdjustment.h"};

std::set<std::string> includes(const fs::path& file) {
  static const std::regex pattern(R"(^\s*#\s*include\s+"([^"]+)\")");
  std::set<std::string> out;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    std::smatch match;
    if (std::regex_search(line, match, pattern)) out.insert(match[1]);
  }
  return out;
}

TEST(Layers, FoldersIncludeOnlyWhatLiesBelowThem) {
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
    const fs::path& file = entry.path();
    if (file.extension() != ".h" && file.extension() != ".cpp") continue;
    ++files;
    const std::string folder = file.parent_path().filename();
    ASSERT_TRUE(kMayInclude.contains(folder)) << file << ": a folder without a place in the layers";
    for (const std::string& included : includes(file)) {
      const std::string target = included.substr(0, included.find('/'));
      if (!kMayInclude.contains(target) || target == folder || kMayInclude.at(folder).contains(target))
        continue;
      if (kLeaves.contains(included)) continue;
      // Services of the painter are taken by forward declaration; only a source file includes their header.
      const bool painterService = target == "painter" && file.extension() == ".cpp";
      EXPECT_TRUE(painterService) << file.string() << " includes " << included;
    }
  }
  EXPECT_GT(files, 30u);
}

TEST(Layers, TheSceneLibraryAndTheHostNeverNameThePainter) {
  for (const char* folder : {"scene", "orvrender", "apps"})
    for (const auto& entry : fs::recursive_directory_iterator(kSource.parent_path() / folder)) {
      if (!entry.is_regular_file()) continue;
      for (const std::string& included : includes(entry.path()))
        for (const char* inner : {"painter/", "backgrounds/", "pins/", "shapes/", "simd/"})
          EXPECT_FALSE(included.starts_with(inner)) << entry.path().string() << " includes " << included;
    }
}

TEST(Layers, TheHostNeverReadsScenes) {
  for (const auto& entry : fs::recursive_directory_iterator(kSource.parent_path() / "orvrender")) {
    if (!entry.is_regular_file()) continue;
    for (const std::string& included : includes(entry.path())) EXPECT_FALSE(included.starts_with("scene/"));
  }
}

}  // namespace
