#pragma once

#include <string>

#include "hdri/Brush.h"

namespace orv::hdri {

/// An image file, read by the host.
class ImageBrush final : public Brush {
 public:
  explicit ImageBrush(std::string path) : path_(std::move(path)) {}

  /// Path of the file, UTF-8.
  const std::string& path() const { return path_; }
  void setPath(std::string path) { path_ = std::move(path); }

  BrushKind kind() const override { return BrushKind::image; }
  bool equals(const Brush& other) const override;
  std::shared_ptr<Brush> clone() const override;
  orvNode* hostNode(orvScene* scene) override;

 private:
  orvNode* hostNode_ = nullptr;
  std::string path_;
};

}  // namespace orv::hdri
