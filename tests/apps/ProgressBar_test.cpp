#include "apps/orvpaint/ProgressBar.h"

#include <gtest/gtest.h>

#include "apps/orvpaint/text_columns.h"

namespace orvpaint {
namespace {

TEST(ProgressLine, ShowsLabelPercentageAndTimeLeft) {
  // A quarter took ten seconds: three quarters take thirty.
  EXPECT_EQ(progressLine("Blur", 0.25, 10.0, 80), "Blur [######..................] 25 %, 0:30 left");
}

TEST(ProgressLine, SaysMinutesAndHours) {
  EXPECT_EQ(progressLine("Tilt", 0.5, 750.0, 80), "Tilt [############............] 50 %, 12:30 left");
  EXPECT_EQ(progressLine("Tilt", 0.5, 3723.0, 80), "Tilt [############............] 50 %, 1:02:03 left");
}

TEST(ProgressLine, EstimatesNothingFromTheFirstMoments) {
  EXPECT_EQ(progressLine("Blur", 0.25, 0.2, 80), "Blur [######..................] 25 %");
  EXPECT_EQ(progressLine("Blur", 0.0, 100.0, 80), "Blur [........................] 0 %");
}

TEST(ProgressLine, IsFullWhenDone) {
  EXPECT_EQ(progressLine("Painting Pins", 1.0, 4.0, 80),
            "Painting Pins [########################] 100 %, 0:00 left");
}

TEST(ProgressLine, CutsALongLabelInItsMiddle) {
  // 60 columns are left of 27 for the bar and 16 for percentage and time: 17 for the label.
  EXPECT_EQ(progressLine("Writing a_very_long_name_of_a_map.exr", 0.25, 10.0, 60),
            "Writing...map.exr [######..................] 25 %, 0:30 left");
}

TEST(ProgressLine, LeavesOutBarTimeAndLabelAsTheTerminalGetsNarrower) {
  const auto line = [](std::size_t columns) {
    return progressLine("Writing studio.exr", 0.25, 10.0, columns);
  };
  // 27 columns are the narrow bar's, the percentage's and the time's: 18 and 17 are left.
  EXPECT_EQ(line(45), "Writing studio.exr [##......] 25 %, 0:30 left");
  EXPECT_EQ(line(44), "Writing...dio.exr [##......] 25 %, 0:30 left");
  EXPECT_EQ(line(40), "Writing studio.exr 25 %, 0:30 left");
  EXPECT_EQ(line(24), "Writing studio.exr 25 %");
  EXPECT_EQ(line(20), "25 %");
  EXPECT_EQ(line(2), "..");
  EXPECT_EQ(line(0), "");
}

TEST(ProgressLine, IsNeverLongerThanTheLine) {
  for (const char* label :
       {"", "Blur", "Writing a_very_long_name_of_a_map_0001.exr",
        "Writing \xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe3\x81\xae\xe5\x90\x8d\xe5\x89\x8d.exr"})
    for (std::size_t columns = 0; columns <= 120; ++columns)
      for (const double amount : {0.0, 0.25, 1.0})
        EXPECT_LE(columnsOf(progressLine(label, amount, 40000.0, columns)), columns);
}

TEST(TextColumns, WideCharactersAreTwoAndMarksNone) {
  EXPECT_EQ(columnsOf("abc"), 3u);
  EXPECT_EQ(columnsOf("\xc3\xa4"), 1u);          // a letter of two bytes
  EXPECT_EQ(columnsOf("\xe6\x97\xa5"), 2u);      // an ideograph
  EXPECT_EQ(columnsOf("\xf0\x9f\x8c\x85"), 2u);  // a picture of a sunrise
  EXPECT_EQ(columnsOf("a\xcc\x88"), 1u);         // a letter and its mark
}

TEST(TextColumns, CharactersStayWhole) {
  // Two ideographs of the four and the dots; a half of one would be no text.
  EXPECT_EQ(cutToColumns("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe5\x90\x8d", 7),
            "\xe6\x97\xa5...\xe5\x90\x8d");
  EXPECT_EQ(cutToColumns("\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe5\x90\x8d", 8),
            "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe5\x90\x8d");
  EXPECT_EQ(cutToColumns("abcdefghij", 8), "ab...hij");
}

}  // namespace
}  // namespace orvpaint
