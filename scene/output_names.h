#pragma once

#include <span>
#include <string>

#include "scene/Job.h"

namespace orv::scene {

/// A name with `{name}`, `{frame}`, `{index}` and `{size}` of a job in their places: frames and indices have
/// four digits at least, a size is `2048x1024`; `{{` and `}}` are braces.
/// @param index the job's among all of the call, from 0. @param scenes reads the scene where its size is
/// asked
///        for. @throws SettingError for an unknown word in braces, or a frame or a size that is not known;
///        FileError, SceneErrors of the scene.
std::string expandName(const std::string& name, const Job& job, std::size_t index, JobScenes& scenes);

/// @throws SettingError when two outputs are one file, one is a scene that is painted, or one of several
/// jobs' is in a folder that is not there.
void checkOutputs(std::span<const Job> jobs);

}  // namespace orv::scene
