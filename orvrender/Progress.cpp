#include "orvrender/Progress.h"

#include <cmath>
#include <new>

#include "host/orvProgress.h"
#include "orvrender/Scene.h"

namespace orv::host {

void Progress::set(const char* text, float amount) {
  const std::lock_guard lock(mutex_);
  text_ = text ? text : "";
  amount_ = std::isfinite(amount) ? static_cast<double>(amount) : 0.0;
  tell();
}

void Progress::add(float amount) {
  if (!std::isfinite(amount)) return;
  const std::lock_guard lock(mutex_);
  amount_ += static_cast<double>(amount);
  tell();
}

void Progress::setListener(orvProgress_listener listener, void* user) {
  const std::lock_guard lock(mutex_);
  listener_ = listener;
  user_ = user;
}

void Progress::tell() {
  if (listener_) listener_(user_, text_.c_str(), amount_);
}

}  // namespace orv::host

extern "C" {

void orv_progress_set(orvScene* scene, const char* text, float amount) {
  if (!scene) return;
  try {
    scene->progress.set(text, amount);
  } catch (const std::bad_alloc&) {
    // The phase goes on under the name of the one before.
  }
}

void orv_progress_add(orvScene* scene, float amount) {
  if (scene) scene->progress.add(amount);
}

void orv_progress_set_listener(orvScene* scene, orvProgress_listener listener, void* user) {
  if (scene) scene->progress.setListener(listener, user);
}

}  // extern "C"
