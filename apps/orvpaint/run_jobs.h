#pragma once

#include <vector>

#include "commands.h"
#include "scene/Job.h"

namespace orvpaint {

/// Paints jobs whose outputs are named, as a call's arguments say: their shard, without those that are there.
/// A failure of one is told, and the others are painted.
/// @return the greatest status of all maps. @throws PainterError; FileError of the manifest.
ExitStatus runJobs(std::vector<orv::scene::Job> jobs, const MapArguments& arguments);

/// Gives each job without outputs those of the call, and the call's size where it has none.
void nameOutputs(std::vector<orv::scene::Job>& jobs, const MapArguments& arguments);

}  // namespace orvpaint
