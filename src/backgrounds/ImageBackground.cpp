#include "backgrounds/ImageBackground.h"

#include "backgrounds/PaintContext.h"
#include "backgrounds/adjustments.h"
#include "backgrounds/conversion.h"
#include "hdri/ImageBrush.h"
#include "host/orvImage.h"

namespace orv::hdri::blockedAVX2 {

ImageBackground::ImageBackground(const ImageBrush& brush)
    : MapBackground(brush.adjustments()), path_(brush.path()) {}

bool ImageBackground::prepare(const PaintContext& context) {
  ImageHandle image = context.loadImage(path_);
  if (!image) return false;
  // An image without pixels has nothing to show.
  if (image->width() == 0 || image->height() == 0) return false;

  renewPreparedMap(context);
  context.progressText("Image Adjustments");
  const bool sameSize = image->width() == preparedMap().width() && image->height() == preparedMap().height();
  const float maximum = sameSize && image->pixels()
                            ? convertPixels(image->pixels(), adjustment(), preparedMap())
                            : convertScaled(*image, adjustment(), preparedMap());
  image.reset();
  context.progressStep(1.0f);
  applyAdjustments(*this, context, maximum);
  return true;
}

}  // namespace orv::hdri::blockedAVX2
