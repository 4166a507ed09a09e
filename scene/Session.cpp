#include "scene/Session.h"

#include <new>

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

void Session::forgetBackground() {
  painter_->setOptions({});
  painter_->clear();
  kept_ = {};
}

}  // namespace orv::scene
