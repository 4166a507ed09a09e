#include "orvrender/Failures.h"

#include <new>

#include "host/orvPaint.h"
#include "orvrender/Scene.h"

namespace orv::host {

void Failures::set(const std::string& image, const std::string& reason, std::int32_t pin) {
  any_ = false;
  failure_ = {};
  try {
    image_ = image;
    reason_ = reason;
  } catch (const std::bad_alloc&) {
    // That something went wrong is told all the same.
    image_.clear();
    reason_.clear();
  }
  failure_ = {image_.c_str(), reason_.c_str(), pin};
  any_ = true;
}

void Failures::add(const std::string& image, const std::string& reason) {
  const std::lock_guard lock(mutex_);
  set(image, reason, orvFailure_nowhere);
}

void Failures::place(std::int32_t pin) {
  const std::lock_guard lock(mutex_);
  if (!any_ || failure_.pin != orvFailure_nowhere) set({}, "it could not be painted", pin);
  failure_.pin = pin;
}

void Failures::clear() {
  const std::lock_guard lock(mutex_);
  any_ = false;
}

const orvFailure* Failures::last() const {
  const std::lock_guard lock(mutex_);
  return any_ ? &failure_ : nullptr;
}

}  // namespace orv::host

extern "C" {

void orv_fallback(orvScene* scene, std::int32_t pin) {
  if (scene) scene->failures.place(pin);
}

const orvFailure* orv_failure_last(orvScene* scene) { return scene ? scene->failures.last() : nullptr; }

void orv_failure_clear(orvScene* scene) {
  if (scene) scene->failures.clear();
}

}  // extern "C"
