#include "orvrender/openimageio/Encoding.h"

#include <cmath>

namespace orv::host {

double Encoding::decode(double value) const {
  switch (kind) {
    case Kind::linear:
      break;
    case Kind::srgb:
      return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    case Kind::power:
      return std::pow(value, exponent);
  }
  return value;
}

std::vector<float> Encoding::table(std::size_t codes) const {
  std::vector<float> light(codes);
  for (std::size_t code = 0; code < codes; ++code) {
    light[code] = static_cast<float>(decode(static_cast<double>(code) / static_cast<double>(codes - 1)));
  }
  return light;
}

}  // namespace orv::host
