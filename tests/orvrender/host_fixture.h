#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/orvImage.h"
#include "orvrender/orvHost.h"

/// A folder of the test's own, gone with it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "orvrender_test_XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// Collects the log's lines while it lives.
class LogLines {
 public:
  LogLines() { orv_log_set_listener(&LogLines::hear, this); }
  ~LogLines() { orv_log_set_listener(nullptr, nullptr); }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  const std::vector<std::string>& lines() const { return lines_; }

 private:
  static void hear(void* user, const char* line) { static_cast<LogLines*>(user)->lines_.emplace_back(line); }
  std::vector<std::string> lines_;
};

/// A scene and the log for tests of images.
class HostTest : public testing::Test {
 protected:
  ~HostTest() override { orv_scene_destroy(scene_); }

  orvScene* scene() {
    if (!scene_) scene_ = orv_scene_create(options);
    return scene_;
  }
  orvImage* load(const std::string& path, orvTexture_profile profile = orvTexture_profile::environment,
                 bool cached = true) {
    return orv_image_load(scene(), path.c_str(), profile, cached, nullptr);
  }

  orvScene_options options;
  TempFolder folder;
  LogLines log;

 private:
  orvScene* scene_ = nullptr;
};

inline void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The three floats of a pixel.
inline std::vector<float> pixel(const orvImage& image, int x, int y) {
  std::vector<float> rgb(3);
  image.get_pixel(x, y, rgb.data());
  return rgb;
}
