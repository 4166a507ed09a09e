#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench/noise.h"
#include "bench/rows.h"

namespace bench {

/// Prints one line a benchmark: what, time, rate, peer, ratio, target and whether it is met; and keeps the
/// lines for a report in Markdown.
class RowReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;

  /// Between the marks `<!-- report -->` and `<!-- end of report -->` of a file that has them, else as the
  /// whole file.
  /// @return false when the file can not be written.
  bool writeReport(const std::string& path) const;
  /// Whether a benchmark could not be run.
  bool failed() const { return failed_; }

 private:
  struct Line {
    std::string what, time, rate, peer, ratio, target, met;
    Speed speed;
    bool disturbed() const;
  };
  static Line lineOf(const Run& run);

  std::vector<Line> lines_;
  bool failed_ = false;
};

}  // namespace bench
