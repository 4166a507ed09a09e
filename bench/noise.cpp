#include "bench/noise.h"

#include <immintrin.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "bench/interleaved.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSteps = 1 << 17, kChains = 12;
constexpr double kQuiet = 0.92;  // of the best

Speed best;

void multiplyAdd() {
  __m256 sums[kChains];
  for (__m256& sum : sums) sum = _mm256_setzero_ps();
  __m256 a = _mm256_set1_ps(1.0000001f);
  benchmark::DoNotOptimize(a);
  for (int i = 0; i < kSteps; ++i)
    for (__m256& sum : sums) sum = _mm256_fmadd_ps(sum, a, a);
  for (__m256& sum : sums) benchmark::DoNotOptimize(sum);
}

/// 1e9 steps a second of `threads` threads.
double speedOf(int threads) {
  constexpr int kTasks = 4;  // a thread
  double fastest = 1e300;
  for (int round = 0; round < 4; ++round) {
    fastest = std::min(fastest, milliseconds([&] {
                         if (threads == 1) {
                           for (int i = 0; i < kTasks; ++i) multiplyAdd();
                         } else {
                           tbb::parallel_for(
                               0, kTasks * threads, [](int) { multiplyAdd(); }, tbb::simple_partitioner());
                         }
                       }));
  }
  return 8.0 * kChains * kSteps * kTasks * threads / fastest * 1e-6;
}

}  // namespace

Speed measureSpeed() {
  const Speed speed = {speedOf(1), speedOf(tbb::this_task_arena::max_concurrency())};
  best.oneThread = std::max(best.oneThread, speed.oneThread);
  best.allThreads = std::max(best.allThreads, speed.allThreads);
  return speed;
}

Speed bestSpeed() { return best; }

Speed awaitQuiet() {
  static std::chrono::duration<double> waited{};
  const auto start = Clock::now();
  Speed speed = measureSpeed();
  while (!smoke() && speed.allThreads < kQuiet * best.allThreads && waited.count() < 120 &&
         Clock::now() - start < std::chrono::seconds(10)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    speed = measureSpeed();
  }
  waited += Clock::now() - start;
  return speed;
}

}  // namespace bench
