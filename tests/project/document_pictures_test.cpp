// Pictures and links of the documents.

#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>
#include <string>

#include "documents.h"

namespace {

namespace fs = std::filesystem;
using documents::kSource;

/// The targets of a page's links and pictures that are files of the tree.
std::vector<std::string> targetsOf(const fs::path& page) {
  static const std::regex link(R"(\]\(([^)\s]+)\))");
  std::vector<std::string> targets;
  for (const std::string& line : documents::proseOf(page))
    for (std::sregex_iterator at(line.begin(), line.end(), link), end; at != end; ++at)
      if ((*at)[1].str().find("://") == std::string::npos) targets.push_back((*at)[1]);
  return targets;
}

/// The pictures that pages show, by name.
std::set<std::string> shown() {
  std::set<std::string> names;
  for (const fs::path& page : documents::pages())
    for (const std::string& target : targetsOf(page)) {
      const fs::path file = (page.parent_path() / target).lexically_normal();
      if (file.parent_path() == kSource / "docs/images") names.insert(file.filename());
    }
  return names;
}

/// The pictures that `./dev pictures` paints.
std::set<std::string> painted() {
  static const std::regex entry(R"re(@picture\("([^"]+)"\))re");
  std::set<std::string> names;
  for (const auto& file : fs::directory_iterator(kSource / "docs/pictures")) {
    if (file.path().extension() != ".py") continue;
    const std::string text = documents::textOf(file.path());
    for (std::sregex_iterator at(text.begin(), text.end(), entry), end; at != end; ++at)
      EXPECT_TRUE(names.insert((*at)[1]).second) << "twice: " << (*at)[1];
  }
  return names;
}

std::set<std::string> stored() {
  std::set<std::string> names;
  for (const auto& file : fs::directory_iterator(kSource / "docs/images"))
    names.insert(file.path().filename());
  return names;
}

/// The name by which a heading is linked to: lower case, without punctuation, hyphens for spaces.
std::string anchorOf(const std::string& heading) {
  std::string anchor;
  for (const char c : heading.substr(heading.find_first_not_of("# "))) {
    if (c == ' ' || c == '-')
      anchor += '-';
    else if (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || (c & 0x80))
      anchor += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return anchor;
}

TEST(DocumentPictures, AreThoseThatArePaintedAndStored) {
  EXPECT_GT(shown().size(), 20u);
  EXPECT_EQ(painted(), shown());
  EXPECT_EQ(stored(), shown());
}

TEST(DocumentPictures, AreSmall) {
  std::uintmax_t all = 0;
  for (const auto& file : fs::directory_iterator(kSource / "docs/images")) {
    EXPECT_LT(file.file_size(), 300'000u) << file.path();
    all += file.file_size();
  }
  EXPECT_LT(all, 3'000'000u);
}

TEST(DocumentLinks, LeadToFilesAndHeadings) {
  for (const fs::path& page : documents::pages())
    for (const std::string& target : targetsOf(page)) {
      const std::size_t hash = target.find('#');
      const fs::path file = hash == 0 ? page : page.parent_path() / target.substr(0, hash);
      ASSERT_TRUE(fs::exists(file)) << page << ": " << target;
      if (hash == std::string::npos) continue;
      std::set<std::string> anchors;
      for (const std::string& line : documents::proseOf(file))
        if (line.starts_with("#")) anchors.insert(anchorOf(line));
      EXPECT_TRUE(anchors.contains(target.substr(hash + 1))) << page << ": " << target;
    }
}

}  // namespace
