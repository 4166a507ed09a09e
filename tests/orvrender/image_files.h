#pragma once

#include <OpenImageIO/imageio.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

/// Writes an image file with the writer of that name, whatever the path ends in.
inline void writeImage(const std::string& writer, const std::string& path, const OIIO::ImageSpec& spec,
                       const std::vector<float>& values) {
  const auto output = OIIO::ImageOutput::create(writer);
  if (!output || !output->open(path, spec) || !output->write_image(OIIO::TypeDesc::FLOAT, values.data()) ||
      !output->close()) {
    throw std::runtime_error("cannot write " + path);
  }
}

/// Writes the codes of an integer image as they are.
template <class Code>
void writeCodes(const std::string& writer, const std::string& path, const OIIO::ImageSpec& spec,
                const std::vector<Code>& codes) {
  const auto output = OIIO::ImageOutput::create(writer);
  if (!output || !output->open(path, spec) || !output->write_image(spec.format, codes.data()) ||
      !output->close()) {
    throw std::runtime_error("cannot write " + path);
  }
}

inline OIIO::ImageSpec floatSpec(int width, int height, int channels) {
  return OIIO::ImageSpec(width, height, channels, OIIO::TypeDesc::FLOAT);
}

/// `count` values 1, 2, 3 ...
inline std::vector<float> counted(std::size_t count) {
  std::vector<float> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = static_cast<float>(i + 1);
  return values;
}

/// A PFM file: `header` such as "PF\n2 1\n-1.0\n" before little-endian floats, the bottom row first.
inline std::string pfm(const std::string& header, const std::vector<float>& values) {
  std::string bytes = header;
  bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
  return bytes;
}
