#include "bench/rows.h"

#include <algorithm>

namespace bench {
namespace {

using enum Measure;

/// The one place that knows what is held to what. Maps have 4096 x 2048 pixels and every thread, unless a row
/// says otherwise.
const std::vector<Row>& rows() {
  static const std::vector<Row> table = {
      // Backgrounds
      {"blurMap/width:4096/radius:20", "blur of radius 20", {{milliseconds, 30}, {fasterThanPeer, 6.5}}},
      {"blurMap/width:4096/radius:100", "blur of radius 100", {{milliseconds, 90}}},
      {"blurMap/width:4096/radius:400", "blur of radius 400", {{milliseconds, 90}}},
      {"blurMap/width:4096/radius:1000", "blur of radius 1000", {{milliseconds, 90}}},
      {"blurMap/width:2048/radius:400", "blur of radius 400, 2048 x 1024", {{fasterThanPeer, 60}}},
      {"sphereBlur/width:4096/sigma:1440", "blur on the sphere, 14.4 degrees", {{milliseconds, 51}}},
      {"sphereBlur/width:4096/sigma:360", "blur on the sphere, 3.6 degrees", {{milliseconds, 62}}},
      {"sphereBlur/width:4096/sigma:180", "blur on the sphere, 1.8 degrees", {{milliseconds, 109}}},
      {"sphereBlur/width:4096/sigma:90", "blur on the sphere, 0.9 degrees", {{milliseconds, 177}}},
      {"sphereBlur/width:4096/sigma:45", "blur on the sphere, 0.45 degrees", {{milliseconds, 478}}},
      {"tiltMap/width:4096/tenths:3", "rotation, 0.3 rad", {{milliseconds, 24}, {fasterThanPeer, 1.4}}},
      {"tiltMap/width:4096/tenths:12", "rotation, 1.2 rad", {{fasterThanPeer, 1}}},
      {"colorFresh/width:4096", "color map into fresh memory", {{timesPeer, 1.5}}},
      {"colorAgain/width:4096", "color map, painted again", {{timesPeer, 1.15}}},
      {"gradientAgain/width:4096", "gradient map, painted again", {}},
      {"imageConverted/width:4096", "image of the map's size, converted", {{timesPeer, 1}}},
      {"imageAdjusted/width:4096", "the same with all color adjustments", {}},
      {"imageScaledOnOneThread", "image of half the size, single pixels, one thread", {{milliseconds, 6}}},
      {"scaleBesideCopy/from:4096/to:2048", "image resampled, 4096 to 2048 columns", {{timesPeer, 2}}},
      {"skyOnOneThread", "sky, tables ready, one thread", {{milliseconds, 9}}},
      {"skyBesideNewSun/width:4096", "sky, tables ready", {}},
      {"sunBesideSky/width:256/tenths:900/size:30",
       "sky with a sun of 30 times its size, 256 x 128",
       {{timesPeer, 3}}},
      // Pins
      {"gradientEvaluation/stops:2", "gradient of 2 stops, colors, one thread", {{nanoseconds, 8}}},
      {"gradientEvaluation/stops:4", "gradient of 4 stops, colors, one thread", {{nanoseconds, 8}}},
      {"backgroundFill/turn:40/tilt:0", "background fill, turned, one thread", {{nanoseconds, 38}}},
      {"backgroundFill/turn:40/tilt:20", "background fill, tilted, one thread", {{nanoseconds, 49}}},
      {"image/filtered:0", "image fill, plain, one thread", {{nanoseconds, 60}}},
      {"image/filtered:1", "image fill, filtered, one thread", {{nanoseconds, 250}}},
      {"paint/circles_beside_scalar/64", "64 circles of light over a color", {}},
      {"paint/small_circles_beside_none",
       "10,000 small circles that nothing of is seen",
       {{moreThanPeer, 3}}},
      {"studioKept", "studio.json, background kept", {{timesPeer, 3}}},
      {"lightsOverColor", "64 lights over a color, 8192 x 4096", {{milliseconds, 1000.0 / 60}}},
      {"lightsOverKeptImage", "kept image below 64 lights, without theirs, 8192 x 4096", {{timesPeer, 1.15}}},
      // Threads
      {"threads/blur", "all threads: blur of radius 20", {{fasterThanPeer, 1.85}}},
      {"threads/sphere_blur", "all threads: blur on the sphere, 3.6 degrees", {{fasterThanPeer, 1.85}}},
      {"threads/tilt", "all threads: rotation, 0.3 rad", {{fasterThanPeer, 1.85}}},
      {"threads/adjust", "all threads: color adjustments", {{fasterThanPeer, 1.85}}},
      {"threads/sky", "all threads: sky", {{fasterThanPeer, 1.85}}},
      {"threads/gradients", "all threads: 64 circles of gradients", {{fasterThanPeer, 1.85}}},
      // The command
      {"command/version", "orvpaint --version", {{milliseconds, 15}}},
      {"command/small_exr", "a color of 512 x 256 into .exr", {{milliseconds, 40}}},
      {"command/small_pfm", "a color of 512 x 256 into .pfm", {{milliseconds, 30}}},
      {"command/exr_sky", "sky into .exr (ZIP)", {{fasterThanPeer, 3}, {timesBytes, 1.03}}},
      {"command/exr_photograph", "photograph into .exr (ZIP)", {{fasterThanPeer, 3}, {timesBytes, 1.03}}},
      {"command/exr_none", "writing .exr without compression", {{timesPeer, 1.3}}},
      {"command/hdr", "photograph into .hdr", {{fasterThanPeer, 1}}},
      {"command/png", "photograph into .png", {{fasterThanPeer, 1}}},
      {"command/read_zip", "reading .exr, floats, ZIP (orvpaint info)", {{fasterThanPeer, 3}}},
      {"command/read_piz", "reading .exr, halves, PIZ (orvpaint info)", {{fasterThanPeer, 1.7}}},
      {"command/dev_paint", "./dev paint with nothing to build", {{moreThanPeer, 100}}},
      // Memory: 100.7 MB are a map.
      {"memory/color", "memory of a color", {{megabytes, 1.2 * 100.7}}},
      {"memory/image", "memory of an image", {{megabytes, 1.2 * 201.4}}},
      {"memory/image_blurred", "memory of an image, blurred", {{megabytes, 1.2 * 201.4 + 100.7}}},
      {"memory/image_blurred_on_sphere",
       "memory of an image, blurred on the sphere",
       {{megabytes, 1.2 * 201.4 + 100.7}}},
  };
  return table;
}

}  // namespace

const Row* findRow(std::string_view benchmark) {
  const auto found =
      std::find_if(rows().begin(), rows().end(), [&](const Row& row) { return row.benchmark == benchmark; });
  return found == rows().end() ? nullptr : &*found;
}

}  // namespace bench
