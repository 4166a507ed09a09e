#include "scene/Session.h"

#include <new>

#include "hdri/ImageBrush.h"
#include "scene/LogCollector.h"

namespace orv::scene {

void Session::DestroyScene::operator()(orvScene* host) const { orv_scene_destroy(host); }

Session::Session(const std::string& painter, const orvScene_options& host)
    : library_(painter), host_(orv_scene_create(host)) {
  if (!host_) throw std::bad_alloc();
  painter_ = library_.create();
}

Session::~Session() = default;

PaintResult Session::paint(const Scene& scene, const PaintOptions& options) {
  return paintScene(scene, *painter_, host_.get(), options, &kept_);
}

void Session::addImage(const std::string& name, const float* rgb, std::uint32_t width, std::uint32_t height) {
  const LogCollector log;
  if (!orv_image_add(host_.get(), name.c_str(), rgb, width, height)) throw FileError(log.joined());
  forgetBackgroundOf(name);
}

bool Session::removeImage(const std::string& name) {
  const bool removed = orv_image_remove(host_.get(), name.c_str());
  if (removed) forgetBackgroundOf(name);
  return removed;
}

void Session::forgetBackgroundOf(const std::string& image) {
  if (!kept_.brush || kept_.brush->kind() != hdri::BrushKind::image) return;
  if (static_cast<const hdri::ImageBrush&>(*kept_.brush).path() == image) forgetBackground();
}

void Session::forgetBackground() {
  painter_->setOptions({});
  painter_->clear();
  kept_ = {};
}

}  // namespace orv::scene
