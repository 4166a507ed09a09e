// Who may include whom below src/, as docs/architecture.md draws it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = ORVHDRI_SOURCE_DIR;
const fs::path kSource = kRoot / "src";

using Names = std::set<std::string>;

bool isSource(const fs::path& file) { return file.extension() == ".h" || file.extension() == ".cpp"; }

std::string textOf(const fs::path& file) {
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

Names includes(const fs::path& file) {
  static const std::regex pattern(R"(^\s*#\s*include\s+"([^"]+)\")");
  Names out;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    std::smatch match;
    if (std::regex_search(line, match, pattern)) out.insert(match[1]);
  }
  return out;
}

/// A folder of src/ as the documents draw it: its floor, and the folders it includes.
struct Folder {
  int floor = 0;
  Names includes;
};

/// The rows `| 3 | backgrounds | maps, shapes |` of the table of floors.
std::map<std::string, Folder> drawnFolders() {
  static const std::regex row(R"(^\| (\d+) \| `(\w+)` \| ([^|]*)\|)");
  static const std::regex name(R"(`(\w+)`)");
  std::map<std::string, Folder> out;
  std::ifstream in(kRoot / "docs" / "architecture.md");
  for (std::string line; std::getline(in, line);) {
    std::smatch match;
    if (!std::regex_search(line, match, row)) continue;
    Folder& folder = out[match[2]];
    folder.floor = std::stoi(match[1]);
    const std::string list = match[3];
    for (std::sregex_iterator i(list.begin(), list.end(), name), end; i != end; ++i)
      folder.includes.insert((*i)[1]);
  }
  return out;
}

/// The folders of src/ and what each of their files includes of other folders.
std::map<std::string, Names> includedFolders() {
  std::map<std::string, Names> out;
  for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
    if (entry.is_directory()) out[entry.path().filename()];
    if (!isSource(entry.path())) continue;
    const std::string folder = entry.path().parent_path().filename();
    for (const std::string& included : includes(entry.path())) {
      const std::string target = included.substr(0, included.find('/'));
      if (target != folder && fs::is_directory(kSource / target)) out[folder].insert(target);
    }
  }
  return out;
}

TEST(Layers, FoldersIncludeOnlyWhatLiesBelowThem) {
  const auto drawn = drawnFolders();
  for (const auto& [folder, targets] : includedFolders()) {
    ASSERT_TRUE(drawn.contains(folder)) << folder << " has no floor";
    for (const std::string& target : targets)
      EXPECT_LT(drawn.at(target).floor, drawn.at(folder).floor) << folder << " includes " << target;
  }
}

TEST(Layers, TheDocumentsDrawEveryArrowAndNoOther) {
  const auto drawn = drawnFolders();
  const auto included = includedFolders();
  EXPECT_EQ(drawn.size(), included.size());
  for (const auto& [folder, targets] : included) {
    ASSERT_TRUE(drawn.contains(folder));
    EXPECT_EQ(drawn.at(folder).includes, targets) << folder;
  }
}

TEST(Layers, NothingBelowThePainterNamesIt) {
  for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
    if (!isSource(entry.path()) || entry.path().parent_path() == kSource / "painter") continue;
    EXPECT_EQ(textOf(entry.path()).find("BlockedPainter"), std::string::npos) << entry.path();
  }
}

TEST(Layers, IntrinsicsStandInSimdAlone) {
  static const std::regex intrinsic(R"(\b_mm\w*_\w+|\b__m(128|256|512)|\b_MM_\w+|immintrin|__builtin_ia32)");
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(kSource)) {
    if (!isSource(entry.path()) || entry.path().parent_path() == kSource / "simd") continue;
    ++files;
    const std::string text = textOf(entry.path());
    std::smatch match;
    EXPECT_FALSE(std::regex_search(text, match, intrinsic)) << entry.path() << ": " << match[0];
  }
  EXPECT_GT(files, 100u);
}

TEST(Layers, TheSceneLibraryAndTheHostNeverNameThePainter) {
  // Of what the painter is made of they share the brushes, the host's declarations, the loop over rows and
  // the coefficients of the trigonometry.
  const Names shared{"brushes/host_parameters.h", "maps/row_loop.h", "shapes/trigonometry_coefficients.h"};
  for (const char* folder : {"scene", "orvrender", "apps"})
    for (const auto& entry : fs::recursive_directory_iterator(kRoot / folder)) {
      if (!isSource(entry.path())) continue;
      for (const std::string& included : includes(entry.path())) {
        const std::string target = included.substr(0, included.find('/'));
        if (target == "host" || shared.contains(included)) continue;
        EXPECT_FALSE(fs::is_directory(kSource / target)) << entry.path() << " includes " << included;
      }
    }
}

TEST(Layers, TheHostNeverReadsScenes) {
  for (const auto& entry : fs::recursive_directory_iterator(kRoot / "orvrender")) {
    if (!isSource(entry.path())) continue;
    for (const std::string& included : includes(entry.path())) EXPECT_FALSE(included.starts_with("scene/"));
  }
}

}  // namespace
