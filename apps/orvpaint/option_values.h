#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "commands.h"
#include "scene/Scene.h"

namespace orvpaint {

// Readers of what options are given. Each puts the value and returns what is wrong with the text, or nothing.

/// `WxH`.
std::string readSize(const std::string& text, std::optional<orv::scene::MapSize>& size);
/// A number of stops, or `auto`, which gives none.
std::string readExposure(const std::string& text, std::optional<float>& stops);
std::string readLimit(const std::string& text, std::optional<float>& limit);
std::string readPixels(const std::string& text, std::uint64_t& pixels);
/// Degrees.
std::string readAzimuth(const std::string& text, float& azimuth);
/// `I/N`.
std::string readShard(const std::string& text, Shard& shard);
std::string readThreads(const std::string& text, int& threads);
std::string readLayout(const std::string& text, orv::scene::Layout& layout);
std::string readCompression(const std::string& text, std::string& compression);
/// The ending of a format, with or without its point.
std::string readFormat(const std::string& text, const orv::scene::MapFormat*& format);
/// The path of a USD layer.
std::string readUsd(const std::string& text, std::string& path);

/// The usual endings of previews, or of formats that hold floats: `.png and .jpg`.
std::string endingsText(bool previews);
/// `EXR: none, rle` and so on, of each format that has a choice.
std::string compressionsText();

/// What a value is, by the name that help gives it: the words that it is one of, or the files.
struct ValueKind {
  std::vector<std::string_view> words = {};    ///< empty: any
  std::vector<std::string_view> endings = {};  ///< of the files that it may name; empty: any
  bool isFile = false;
};
ValueKind valueKind(std::string_view name);

}  // namespace orvpaint
