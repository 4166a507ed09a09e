#include "scene/text_place.h"

#include <gtest/gtest.h>

namespace orv::scene {
namespace {

TEST(TextPlace, CountsLinesAndCharactersFromOne) {
  const std::string text = "ab\nc\xC3\xA4 d\n";
  PlaceFinder finder(text);
  EXPECT_EQ(finder.at(0).line, 1u);
  EXPECT_EQ(finder.at(0).column, 1u);
  EXPECT_EQ(finder.at(7).line, 2u);
  EXPECT_EQ(finder.at(7).column, 4u) << "an umlaut is one character";
  EXPECT_EQ(finder.at(1).line, 1u) << "going back";
  EXPECT_EQ(finder.at(1000).line, 3u) << "beyond the end";
}

TEST(TextPlace, AByteOrderMarkIsNoCharacter) {
  PlaceFinder finder("\xEF\xBB\xBF{}");
  EXPECT_EQ(finder.at(3).column, 1u);
  EXPECT_EQ(finder.at(4).source, "{}");
}

TEST(TextPlace, ALineEndsBeforeItsCarriageReturn) { EXPECT_EQ(PlaceFinder("ab\r\ncd").at(1).source, "ab"); }

TEST(TextPlace, TheMarkStandsUnderThePlace) {
  const TextPlace place = PlaceFinder("\t{\"a\": 1}").at(7);
  EXPECT_EQ(place.source, " {\"a\": 1}");
  EXPECT_EQ(place.mark, "       ^");
}

TEST(TextPlace, WhatATerminalWouldObeyIsEscapedAndTheMarkMoved) {
  const TextPlace place = PlaceFinder("\x1b[2J!").at(4);
  EXPECT_EQ(place.source, "\\x1b[2J!");
  EXPECT_EQ(place.mark, "       ^");
}

TEST(TextPlace, ALongLineIsCutOnBothSides) {
  const std::string line = std::string(500, 'a') + '!' + std::string(500, 'b');
  const TextPlace place = PlaceFinder(line).at(500);
  EXPECT_LE(place.source.size(), 96u);
  EXPECT_EQ(place.source.substr(0, 4), "...a");
  EXPECT_EQ(place.source.substr(place.source.size() - 4), "b...");
  EXPECT_EQ(place.source[place.mark.find('^')], '!');
}

TEST(TextPlace, AtTheEndOfALongLineWhatStandsBeforeIsShown) {
  const TextPlace place = PlaceFinder(std::string(500, 'a') + "!").at(500);
  EXPECT_EQ(place.source, "..." + std::string(89, 'a') + "!");
  EXPECT_EQ(place.mark, std::string(92, ' ') + "^");
}

TEST(TextPlace, CharactersAreNotCutInTwo) {
  std::string line;
  for (int i = 0; i < 300; ++i) line += "\xE2\x82\xAC";  // the euro sign
  const TextPlace place = PlaceFinder(line).at(450);
  EXPECT_EQ(place.source.find("\\x"), std::string::npos);
  EXPECT_EQ(place.column, 151u);
}

TEST(TextPlace, BytesThatAreNoTextAreEscaped) {
  const TextPlace place = PlaceFinder("a\xff\"b").at(2);
  EXPECT_EQ(place.source, "a\\xff\"b");
  EXPECT_EQ(place.mark, "     ^");
}

}  // namespace
}  // namespace orv::scene
