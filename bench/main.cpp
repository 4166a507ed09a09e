// All benchmarks: orvhdri_bench [--report=FILE] [Google Benchmark's options].

#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "bench/RowReporter.h"
#include "orvrender/orvHost.h"

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::string report;
  for (int i = 1; i < argc; ++i) {
    constexpr std::string_view kReport = "--report=";
    const std::string_view argument = argv[i];
    if (!argument.starts_with(kReport)) {
      std::fprintf(stderr, "orvhdri_bench: unknown argument '%s'\n", argv[i]);
      return 2;
    }
    report = argument.substr(kReport.size());
  }
  // A host has a scene while its user paints again and again: big blocks of memory wait for the next paint.
  const std::unique_ptr<orvScene, void (*)(orvScene*)> scene(orv_scene_create({}), orv_scene_destroy);
  bench::RowReporter reporter;
  const std::size_t count = benchmark::RunSpecifiedBenchmarks(&reporter);
  if (count == 0) std::fprintf(stderr, "orvhdri_bench: no benchmark has such a name\n");
  if (!report.empty() && !reporter.writeReport(report)) {
    std::fprintf(stderr, "orvhdri_bench: %s: cannot be written\n", report.c_str());
    return 1;
  }
  return count == 0 || reporter.failed() ? 1 : 0;
}
