#include "orvrender/files/image_checks.h"

#include "orvrender/files/ImageError.h"

namespace orv::host {

std::string inOneLine(std::string message) {
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  std::replace(message.begin(), message.end(), '\n', ' ');
  return message.empty() ? "no reason given" : message;
}

void failToRead(FileKind kind, const std::string& reason) {
  throw ImageError(std::string("cannot be read as ") + namesOf(kind).title + " (" + inOneLine(reason) +
                   "); it is damaged or cut short: save or copy it again");
}

std::string sizeText(std::int64_t width, std::int64_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

void checkSize(const char* what, const Window& window, const ImageLimits& limits) {
  const std::int64_t width = window.width();
  const std::int64_t height = window.height();
  if (width <= 0 || height <= 0) {
    throw ImageError(std::string("its ") + what + " is " + sizeText(width, height) +
                     " and holds nothing; save it again");
  }
  const auto side = static_cast<std::uint64_t>(std::max(width, height));
  const std::uint64_t pixels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  if (side > limits.side || pixels > limits.pixels) {
    throw ImageError(std::string("its ") + what + " is " + sizeText(width, height) +
                     ", above the limits of " + std::to_string(limits.side) + " a side and " +
                     std::to_string(limits.pixels) + " pixels; scale it down");
  }
}

Pixels allocatePixels(const Window& window, bool hasAlpha) {
  Pixels pixels;
  pixels.width = static_cast<std::uint32_t>(window.width());
  pixels.height = static_cast<std::uint32_t>(window.height());
  pixels.rgb = allocateFloats(3 * pixels.count());
  if (hasAlpha) pixels.alpha = allocateFloats(pixels.count());
  if (!pixels.rgb || (hasAlpha && !pixels.alpha)) {
    throw ImageError("there is no memory for its " + sizeText(window.width(), window.height()) +
                     " pixels; scale it down or close other programs");
  }
  return pixels;
}

void blacken(Pixels& pixels) {
  std::fill_n(pixels.rgb.get(), 3 * pixels.count(), 0.0f);
  if (pixels.alpha) std::fill_n(pixels.alpha.get(), pixels.count(), 0.0f);
}

}  // namespace orv::host
