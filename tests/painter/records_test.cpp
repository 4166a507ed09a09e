// The layout of the records that hosts fill by position: compiled programs hand them over without a header.

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "hdri/IPainter.h"
#include "hdri/PinParams.h"
#include "shapes/PixelBatch.h"

namespace orv::hdri {
namespace {

TEST(Records, ACirclesFieldsAreSevenWordsInThisOrder) {
  EXPECT_EQ(offsetof(CirclePinParams, azimuth), 0u);
  EXPECT_EQ(offsetof(CirclePinParams, elevation), 4u);
  EXPECT_EQ(offsetof(CirclePinParams, radius), 8u);
  EXPECT_EQ(offsetof(CirclePinParams, rotation), 12u);
  EXPECT_EQ(offsetof(CirclePinParams, half), 16u);
  EXPECT_EQ(offsetof(CirclePinParams, falloffKind), 20u);
  EXPECT_EQ(offsetof(CirclePinParams, falloffAmount), 24u);
  EXPECT_EQ(sizeof(CirclePinParams), 28u);
}

TEST(Records, ARectanglesFieldsAreNineWordsInThisOrder) {
  EXPECT_EQ(offsetof(RectPinParams, azimuth), 0u);
  EXPECT_EQ(offsetof(RectPinParams, elevation), 4u);
  EXPECT_EQ(offsetof(RectPinParams, halfWidth), 8u);
  EXPECT_EQ(offsetof(RectPinParams, halfHeight), 12u);
  EXPECT_EQ(offsetof(RectPinParams, rotation), 16u);
  EXPECT_EQ(offsetof(RectPinParams, half), 20u);
  EXPECT_EQ(offsetof(RectPinParams, cornerRadius), 24u);
  EXPECT_EQ(offsetof(RectPinParams, falloffKind), 28u);
  EXPECT_EQ(offsetof(RectPinParams, falloffAmount), 32u);
  EXPECT_EQ(sizeof(RectPinParams), 36u);
}

TEST(Records, TheOptionsAreSmoothingThenKeepBackground) {
  EXPECT_EQ(offsetof(PainterOptions, smoothing), 0u);
  EXPECT_EQ(offsetof(PainterOptions, keepBackground), sizeof(PainterOptions{}.smoothing));
}

TEST(Records, ABatchsPlanesComeInTheOrderOfTheStages) {
  using blockedAVX2::PixelBatch;
  const std::vector<std::size_t> order = {offsetof(PixelBatch, needs),
                                          offsetof(PixelBatch, blocks),
                                          offsetof(PixelBatch, azimuth),
                                          offsetof(PixelBatch, elevation),
                                          offsetof(PixelBatch, sinElevation),
                                          offsetof(PixelBatch, cosElevation),
                                          offsetof(PixelBatch, u),
                                          offsetof(PixelBatch, v),
                                          offsetof(PixelBatch, changes),
                                          offsetof(PixelBatch, mask),
                                          offsetof(PixelBatch, cosAngle),
                                          offsetof(PixelBatch, dotT1),
                                          offsetof(PixelBatch, dotT2),
                                          offsetof(PixelBatch, weight),
                                          offsetof(PixelBatch, color)};
  for (std::size_t i = 1; i < order.size(); ++i) EXPECT_LT(order[i - 1], order[i]) << i;
}

}  // namespace
}  // namespace orv::hdri
