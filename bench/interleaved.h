#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/noise.h"

/// Machines are shared and noisy, so a subject and its peer are timed turn about in one run, and their
/// medians compared.
namespace bench {

inline double milliseconds(const auto& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

/// Whether each benchmark is to run once only, to see that it works.
inline bool smoke() { return std::getenv("ORVHDRI_BENCH_SMOKE") != nullptr; }

/// Rounds of a comparison: at least 7 for a median.
inline int rounds() { return smoke() ? 1 : 9; }

/// Times work in the state that its user has, who does it again and again: once untimed, so that caches and
/// memory hold what its own last run left there and not what the other side's did.
inline double settledMilliseconds(const auto& work) {
  // What takes longer does not feel it.
  constexpr double kLong = 250;
  const double first = milliseconds(work);
  return smoke() || first > kLong ? first : milliseconds(work);
}

/// Notes the slower of the readings before and after a row.
inline void noteSpeed(benchmark::State& state, const Speed& before) {
  const Speed after = measureSpeed();
  state.counters["speed_one"] = std::min(before.oneThread, after.oneThread);
  state.counters["speed_all"] = std::min(before.allThreads, after.allThreads);
}

/// Times `subject` and `peer` turn about, after one warm-up of each. Counters: the median milliseconds of
/// both, `own_ms` and `<name>_ms`.
inline void compare(benchmark::State& state, const std::string& name, const auto& subject, const auto& peer,
                    int count = rounds()) {
  subject();
  peer();
  const Speed before = awaitQuiet();
  std::vector<double> own, other;
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      own.push_back(settledMilliseconds(subject));
      other.push_back(settledMilliseconds(peer));
    }
    state.SetIterationTime(median(own) * 1e-3);
  }
  noteSpeed(state, before);
  state.counters["own_ms"] = median(own);
  state.counters[name + "_ms"] = median(other);
}

/// Times `subject` alone, where there is no peer; `why` is shown.
inline void alone(benchmark::State& state, const std::string& why, const auto& subject,
                  int count = rounds()) {
  subject();
  const Speed before = awaitQuiet();
  std::vector<double> own;
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) own.push_back(milliseconds(subject));
    state.SetIterationTime(median(own) * 1e-3);
  }
  noteSpeed(state, before);
  state.counters["own_ms"] = median(own);
  state.SetLabel(why);
}

/// Times `subject` alone where its peer is not installed, and says so.
inline void withoutPeer(benchmark::State& state, const std::string& peer, const auto& subject,
                        int count = rounds()) {
  alone(state, peer + " is not installed", subject, count);
}

}  // namespace bench
