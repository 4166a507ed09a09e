#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "scene/Scene.h"
#include "scene/nearest_name.h"

// The tables of docs/scene-format.md say of each key what its description says.

namespace orv::scene {
namespace {

std::string code(std::string_view text) { return std::string("`").append(text).append("`"); }

// How the document tells of a type, and of a default.

std::string typeText(const Number& type) {
  const bool upper = type.max < 1e30;
  std::ostringstream text;
  if (type.min < -1e30 && !upper)
    text << "number";
  else if (!type.minExcluded && !type.maxExcluded && upper)
    text << type.min << " to " << type.max;
  else
    text << (type.minExcluded ? "above " : "at least ") << type.min;
  if (upper && (type.minExcluded || type.maxExcluded))
    text << (type.maxExcluded ? ", below " : ", to ") << type.max;
  return text.str();
}
std::string typeText(Exposure) { return "-64 to 64"; }
std::string typeText(Temperature) { return "1000 to 40000"; }
std::string typeText(const Integer& type) {
  std::ostringstream text;
  text << type.min;
  if (type.min != type.max) text << " to " << type.max << ", integer";
  return text.str();
}
std::string typeText(Flag) { return "bool"; }
std::string typeText(Text type) { return type.isPath ? "path" : "string"; }
std::string typeText(Color) { return code("[r, g, b]"); }
std::string typeText(Size) { return code("[width, height]"); }
std::string typeText(FreeObject) { return "object"; }
std::string typeText(const Name& type) {
  std::vector<std::string> names;
  for (const NameRow& row : type.names)
    if ((row.uses & type.uses) != 0) names.push_back(code(row.name));
  return listOf(std::vector<std::string_view>(names.begin(), names.end()));
}
template <typename Keys, typename Given>
std::string typeText(const Object<Keys, Given>& type) {
  return std::string(type.keys.owner.substr(type.keys.owner.find(' ') + 1));
}
template <typename Keys, typename Item>
std::string typeText(const Array<Keys, Item>& type) {
  return "array of " + std::string(type.items);
}

std::string defaultText(const Number&, float value) {
  std::ostringstream text;
  text << value;
  return text.str();
}
std::string defaultText(Exposure, float) { return "0"; }
template <typename Value>
std::string defaultText(const Integer&, const Value& value) {
  return std::to_string(value);
}
std::string defaultText(Flag, bool value) { return code(value ? "true" : "false"); }
std::string defaultText(Color, const std::tuple<const float&, const float&, const float&>& color) {
  const auto& [r, g, b] = color;
  std::ostringstream text;
  text << "`[" << r << ", " << g << ", " << b << "]`";
  return text.str();
}
std::string defaultText(Size, const MapSize& size) {
  std::ostringstream text;
  text << "`[" << size.width << ", " << size.height << "]`";
  return text.str();
}
template <typename Value>
std::string defaultText(const Name&, Value value) {
  if constexpr (std::is_enum_v<Value>) return code(nameOf(value));
  return "none";
}
template <typename Keys, typename Item>
std::string defaultText(const Array<Keys, Item>&, const std::vector<Item>&) {
  return code("[]");
}
template <typename Type, typename Value>
std::string defaultText(const Type&, const Value&) {
  return "none";
}

/// The first three cells of a key's row, and the alternatives that have it.
using Rows = std::map<std::string, std::set<std::string>>;

template <typename Keys, typename Owner>
void addRows(const Keys& keys, Owner& owner, const std::string& of, Rows& rows) {
  keys.visit(owner, [&](const auto& key, auto&&, const auto& fallback) {
    const std::string byDefault = key.need == Need::required ? "required" : defaultText(key.type, fallback);
    rows[code(key.name) + " | " + typeText(key.type) + " | " + byDefault].insert(of);
  });
}

template <typename Owner, typename Keys>
void addRowsOfEach(const Keys& keys, const std::string& use, Rows& rows) {
  Owner owner;
  keys.visitTag([&](const auto& tag) {
    for (const NameRow& row : tag.choice.names)
      if (tag.choice.select(row.name, owner)) addRows(keys, owner, code(row.name) + use, rows);
  });
}

/// The first cells of the rows of the table of keys below a heading.
std::set<std::string> documented(const std::string& heading, std::size_t cells) {
  std::ifstream file(ORVHDRI_SOURCE_DIR "/docs/scene-format.md");
  std::set<std::string> rows;
  bool here = false;
  bool inTable = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#")) here = line == heading;
    inTable = here && (line.starts_with("| key |") || (inTable && line.starts_with("|")));
    if (!inTable || !line.starts_with("| `")) continue;
    std::size_t end = 0;
    for (std::size_t i = 0; i < cells; ++i) end = line.find(" | ", end + 1);
    rows.insert(line.substr(2, end - 2));
  }
  return rows;
}

template <typename Owner, typename Keys>
void expectTable(const std::string& heading, const Keys& keys) {
  Rows rows;
  Owner owner;
  addRows(keys, owner, "", rows);
  std::set<std::string> expected;
  for (const auto& [row, of] : rows) expected.insert(row);
  EXPECT_EQ(documented(heading, 3), expected) << heading;
}

TEST(SceneDocument, TablesSayWhatTheDescriptionSays) {
  expectTable<Scene>("## The scene", kSceneKeys);
  expectTable<Rotation>("### Rotation", kRotationKeys);
  expectTable<hdri::GradientStop>("### Color stops", kStopKeys);
  expectTable<hdri::CurveStop>("### Opacity stops", kOpacityStopKeys);
  expectTable<hdri::SkySettings>("### The sky", kSkyKeys);
  expectTable<hdri::SkySettings>("### The sun", kSunKeys);
}

TEST(SceneDocument, PinsSayWhichShapeHasAKey) {
  Rows rows;
  addRowsOfEach<ScenePin>(kPinKeys, "", rows);
  std::set<std::string> expected;
  for (const auto& [row, of] : rows)
    expected.insert(row + " | " + (of.size() == 2 ? "both" : of.begin()->substr(1, of.begin()->size() - 2)));
  EXPECT_EQ(documented("## Pins", 4), expected);
}

/// The shortest way to say which of all brushes these are.
std::string brushesText(const std::set<std::string>& brushes, const std::set<std::string>& all) {
  std::set<std::string> others;
  std::set_difference(all.begin(), all.end(), brushes.begin(), brushes.end(),
                      std::inserter(others, others.end()));
  if (others.empty()) return "all";
  if (others == std::set<std::string>{"`color` backgrounds", "`color` fills"}) return "all but `color`";
  std::set<std::string> uses;
  for (const std::string& brush : brushes) uses.insert(brush.substr(brush.find(' ') + 1));
  if (uses.size() == 1 && brushes.size() == all.size() / 2) return *uses.begin();
  // A type whose every use has the key is named alone.
  std::set<std::string> shown;
  for (const std::string& brush : brushes) {
    const std::string type = brush.substr(0, brush.find(' '));
    shown.insert(others.contains(type + " backgrounds") || others.contains(type + " fills") ? brush : type);
  }
  return listOf(std::vector<std::string_view>(shown.begin(), shown.end()));
}

TEST(SceneDocument, BrushesSayWhichTypeAndUseHasAKey) {
  Rows rows;
  addRowsOfEach<Background>(kBackgroundKeys, " backgrounds", rows);
  addRowsOfEach<Fill>(kFillKeys, " fills", rows);
  std::set<std::string> all;
  for (const auto& [row, of] : rows) all.insert(of.begin(), of.end());
  std::set<std::string> expected;
  for (const auto& [row, of] : rows) expected.insert(row + " | " + brushesText(of, all));
  EXPECT_EQ(documented("## Brushes", 4), expected);
}

}  // namespace
}  // namespace orv::scene
