#pragma once

#include <memory>

#include "orvrender/Cancel.h"
#include "orvrender/Failures.h"
#include "orvrender/Progress.h"
#include "orvrender/SceneApi.h"
#include "orvrender/images/ImageLibrary.h"
#include "orvrender/orvHost.h"
#include "orvrender/sky/ReferenceSky.h"

/// A scene of the reference host: what its operations work on.
class orvScene {
 public:
  explicit orvScene(const orvScene_options& options);
  ~orvScene();
  orvScene(const orvScene&) = delete;
  orvScene& operator=(const orvScene&) = delete;

  const orvScene_options options;
  orv::host::Cancel cancel;
  orv::host::Failures failures;
  orv::host::Progress progress;
  orv::host::SceneApi api;
  orv::host::ImageLibrary images;
  std::unique_ptr<orv::host::ReferenceSky> sky;  ///< null: the scene has none
};
