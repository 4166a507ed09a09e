#include "scene/preview_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string_view>

#include "maps/row_loop.h"
#include "scene/light_balls.h"
#include "scene/pixel_text.h"
#include "scene/reduce_map.h"
#include "scene/tone_map.h"

namespace orv::scene {
namespace {

constexpr int kWidth = 1024;
constexpr int kMapHeight = 512;
constexpr int kBallRadius = 144;
constexpr int kBallMiddle = kMapHeight + 24 + kBallRadius;
constexpr int kLabelTop = kBallMiddle + kBallRadius + 14;
constexpr int kCaptionTop = kLabelTop + 2 * kTextRows + 24;
constexpr int kHeight = 900;
constexpr int kMargin = 16;
/// Samples along each side of a pixel of a ball.
constexpr int kSamples = 4;

constexpr hdri::Rgb kGround = {0.02f, 0.02f, 0.02f};
constexpr hdri::Rgb kLabelColor = {0.35f, 0.35f, 0.35f};
constexpr hdri::Rgb kCaptionColor = {0.75f, 0.75f, 0.75f};

hdri::Rgb operator*(const hdri::Rgb& pixel, float factor) {
  return {pixel.r * factor, pixel.g * factor, pixel.b * factor};
}

hdri::Rgb& pixelAt(hdri::EnvImage& picture, int x, int y) {
  return picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                        static_cast<std::size_t>(x)];
}

/// Draws a ball whose light at a place of its disc is `lightAt(x, y)`, in radii from its middle, y up.
template <typename LightAt>
void drawBall(hdri::EnvImage& sheet, int middle, float gain, const LightAt& lightAt) {
  constexpr int kSide = 2 * kBallRadius;
  forEachRow(kSide, 1, [&](std::size_t row) {
    const int y = static_cast<int>(row);
    for (int x = 0; x < kSide; ++x) {
      hdri::Rgb sum{};
      int hits = 0;
      for (int sample = 0; sample < kSamples * kSamples; ++sample) {
        const int subColumn = sample % kSamples, subRow = sample / kSamples;
        const double across = (x + (subColumn + 0.5) / kSamples) / kBallRadius - 1;
        const double up = 1 - (y + (subRow + 0.5) / kSamples) / kBallRadius;
        if (across * across + up * up >= 1) continue;
        const hdri::Rgb light = lightAt(across, up);
        sum = {sum.r + light.r, sum.g + light.g, sum.b + light.b};
        ++hits;
      }
      if (hits == 0) continue;
      const hdri::Rgb shown = toneCurve(sum * (gain / static_cast<float>(hits)));
      const float part = static_cast<float>(hits) / (kSamples * kSamples);
      hdri::Rgb& pixel = pixelAt(sheet, middle - kBallRadius + x, kBallMiddle - kBallRadius + y);
      pixel = {pixel.r + (shown.r - pixel.r) * part, pixel.g + (shown.g - pixel.g) * part,
               pixel.b + (shown.b - pixel.b) * part};
    }
  });
}

void drawLabel(hdri::EnvImage& sheet, std::string_view text, int middle) {
  drawText(sheet, text, middle - textWidth(text, 2) / 2, kLabelTop, 2, kLabelColor);
}

/// Three digits, or all before the point.
std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value >= 1000 && value < 1e7 ? "%.0f" : "%.3g", value);
  return text;
}

std::string captionText(const hdri::EnvImage& map, const SheetOptions& options) {
  const hdri::EnvImage whole = reduceMap(map, 1, 1);
  double peak = 0;
  for (const hdri::Rgb& pixel : map.pixels) peak = std::max(peak, luminance(pixel));
  char exposure[32];
  std::snprintf(exposure, sizeof exposure, "%+.2f", static_cast<double>(options.exposureStops));
  return std::to_string(map.width) + " x " + std::to_string(map.height) + "   mean " +
         number(luminance(whole.pixels.front())) + "   peak " + number(peak) + "   exposure " + exposure +
         " stops" + (options.automatic ? " (auto)" : "");
}

/// The name on the left, cut where it would meet the caption on the right.
void drawCaption(hdri::EnvImage& sheet, const hdri::EnvImage& map, const SheetOptions& options) {
  const std::string caption = captionText(map, options);
  const int left = kWidth - kMargin - textWidth(caption, 2);
  drawText(sheet, caption, left, kCaptionTop, 2, kCaptionColor);
  std::string name = options.name;
  if (textWidth(name, 2) > left - 2 * kMargin) {
    while (!name.empty() && textWidth(name + "...", 2) > left - 2 * kMargin) name.pop_back();
    name += "...";
  }
  drawText(sheet, name, kMargin, kCaptionTop, 2, kCaptionColor);
}

}  // namespace

hdri::EnvImage previewSheet(const hdri::EnvImage& map, const SheetOptions& options) {
  const float gain = std::exp2(options.exposureStops);
  const hdri::EnvImage shown = resizeMap(map, kWidth, kMapHeight);
  const hdri::EnvImage small = resizeMap(map, 256, 128);
  const hdri::EnvImage diffuse = blurByCosine(small, 1);
  const hdri::EnvImage glossy = blurByCosine(small, kGlossyExponent);
  const BallCamera camera(options.cameraAzimuth);

  hdri::EnvImage sheet(kWidth, kHeight);
  std::fill(sheet.pixels.begin(), sheet.pixels.end(), kGround);
  std::transform(shown.pixels.begin(), shown.pixels.end(), sheet.pixels.begin(),
                 [gain](const hdri::Rgb& pixel) { return toneCurve(pixel * gain); });

  drawBall(sheet, kWidth / 6, gain,
           [&](double x, double y) { return lookUp(shown, camera.mirrored(camera.normal(x, y))); });
  drawBall(sheet, kWidth / 2, gain,
           [&](double x, double y) { return lookUp(diffuse, camera.normal(x, y)) * kDiffuseAlbedo; });
  drawBall(sheet, kWidth * 5 / 6, gain,
           [&](double x, double y) { return lookUp(glossy, camera.mirrored(camera.normal(x, y))); });
  drawLabel(sheet, "mirror", kWidth / 6);
  drawLabel(sheet, "diffuse, 50 % grey", kWidth / 2);
  drawLabel(sheet, "glossy", kWidth * 5 / 6);
  drawCaption(sheet, map, options);
  return sheet;
}

}  // namespace orv::scene
