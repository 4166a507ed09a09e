#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

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

/// Times `subject` and `peer` turn about, after one warm-up of each. Counters: the median milliseconds of
/// both and `vs_<name>` = subject / peer, below 1 where the subject is faster.
inline void compare(benchmark::State& state, const std::string& name, const auto& subject, const auto& peer,
                    int count = rounds()) {
  subject();
  peer();
  std::vector<double> own, other;
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      own.push_back(milliseconds(subject));
      other.push_back(milliseconds(peer));
    }
    state.SetIterationTime(median(own) * 1e-3);
  }
  state.counters["own_ms"] = median(own);
  state.counters[name + "_ms"] = median(other);
  state.counters["vs_" + name] = median(own) / median(other);
}

/// Times `subject` alone where its peer is not installed, and says so.
inline void withoutPeer(benchmark::State& state, const std::string& peer, const auto& subject,
                        int count = rounds()) {
  subject();
  std::vector<double> own;
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) own.push_back(milliseconds(subject));
    state.SetIterationTime(median(own) * 1e-3);
  }
  state.counters["own_ms"] = median(own);
  state.SetLabel("alone: " + peer + " is not installed");
}

}  // namespace bench
