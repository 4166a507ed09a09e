#pragma once

namespace bench {

/// What the processors give at the moment, in 1e9 fused multiply-adds a second (eight lanes count as eight).
/// A neighbour on a shared machine takes from it for minutes, which no clock shows.
struct Speed {
  double oneThread = 0;
  double allThreads = 0;
};

/// A loop of multiply-adds with nothing to load, the best of a few of some milliseconds.
Speed measureSpeed();

/// The best that any reading of this run has shown.
Speed bestSpeed();

/// Waits until the processors are nearly as fast as they have been in this run, for some seconds at most and
/// for two minutes in a whole run. @return the last reading.
Speed awaitQuiet();

}  // namespace bench
