// The mean light of a picture, through the reference host and a whole paint.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "hdri/ColorBrush.h"
#include "hdri/IPainter.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"
#include "orvrender/orvHost.h"
#include "orvrender/sphere_light.h"
#include "paint/scene_painting.h"

namespace orv::hdri {
namespace {

class ImageLight : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    path_ = std::string(ORVHDRI_SOURCE_DIR "/examples/") + GetParam() + ".exr";
    painter_->setScene(host_.get());
    painter_->setBackground(ImageBrush(path_));
  }
  std::shared_ptr<EnvImage> paint(std::uint32_t width, std::uint32_t height) {
    orv_image_set_environment_size(host_.get(), width, height);
    painter_->setSize(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
    return painter_->paint();
  }
  static std::array<double, 3> light(const EnvImage& map) {
    return meanLight(reinterpret_cast<const float*>(map.pixels.data()), static_cast<std::uint32_t>(map.width),
                     static_cast<std::uint32_t>(map.height));
  }

  const paint_test::HostScene host_;
  const std::unique_ptr<IPainter, void (*)(IPainter*)> painter_{createAVX2Painter(), destroyAVX2Painter};
  std::string path_;
};

TEST_P(ImageLight, IsTheFilesAtEverySize) {
  const auto own = light(*paint(512, 256));
  for (const auto& [width, height] : {std::pair{256u, 128u}, {333u, 77u}, {1000u, 500u}}) {
    const auto found = light(*paint(width, height));
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(found[c], own[c], 1e-3 * own[c]) << width << " x " << height << ", channel " << c;
  }
}

TEST_P(ImageLight, FillsSeeTheWholePicture) {
  // A pin with the background's file: what it adds does not depend on the size that backgrounds have.
  const auto pin = [&](bool scaled) {
    painter_->clear();
    painter_->setScene(host_.get());
    painter_->setBackground(ColorBrush(0, 0, 0));
    painter_->addCirclePin({.radius = 1}, ImageBrush(path_));
    orv_image_set_environment_size(host_.get(), scaled ? 8 : 0, scaled ? 4 : 0);
    painter_->setSize(128, 64);
    return painter_->paint();
  };
  const auto scaled = pin(true), plain = pin(false);
  EXPECT_EQ(scaled->pixels, plain->pixels);
  EXPECT_GT(light(*plain)[0], 0);
}

INSTANTIATE_TEST_SUITE_P(Examples, ImageLight, testing::Values("venice", "forest", "studio"));

}  // namespace
}  // namespace orv::hdri
