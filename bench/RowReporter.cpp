#include "bench/RowReporter.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string_view>
#include <thread>

#include "bench/interleaved.h"

namespace bench {
namespace {

constexpr double kDisturbed = 0.9;  // of the best reading

template <typename... Values>
std::string text(const char* format, Values... values) {
  char buffer[200];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

/// Three digits with the unit that suits.
std::string timeText(double ms) {
  const auto digits = [](double value) { return value < 9.995 ? 2 : value < 99.95 ? 1 : 0; };
  if (ms < 1e-3) return text("%.*f ns", digits(ms * 1e6), ms * 1e6);
  if (ms < 1) return text("%.*f us", digits(ms * 1e3), ms * 1e3);
  if (ms < 1e4) return text("%.*f ms", digits(ms), ms);
  return text("%.1f s", ms * 1e-3);
}

/// What a comparison of a subject and its peer has counted.
struct Figures {
  double ms = 0, peerMs = 0, nanoseconds = 0, sizeRatio = 0, megabytes = 0;
  std::string peer;
};

Figures figuresOf(const benchmark::BenchmarkReporter::Run& run) {
  Figures figures;
  // Google Benchmark's own loops have no counter of ours.
  figures.ms = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e3;
  for (const auto& [name, counter] : run.counters) {
    if (name == "own_ms") {
      figures.ms = counter.value;
    } else if (name.size() > 3 && name.ends_with("_ms")) {
      figures.peer = name.substr(0, name.size() - 3);
      figures.peerMs = counter.value;
    } else if (name == "ns_per_block") {
      figures.nanoseconds = counter.value;
    } else if (name == "time/block") {
      figures.nanoseconds = counter.value * 1e9;
    } else if (name == "size_ratio") {
      figures.sizeRatio = counter.value;
    } else if (name == "peak_MB") {
      figures.megabytes = counter.value;
    }
  }
  return figures;
}

std::string targetText(const Target& target) {
  switch (target.measure) {
    case Measure::milliseconds:
      return "at most " + timeText(target.limit);
    case Measure::nanoseconds:
      return text("at most %g ns a block", target.limit);
    case Measure::timesPeer:
      return text("at most %gx", target.limit);
    case Measure::fasterThanPeer:
      return text("%gx faster", target.limit);
    case Measure::moreThanPeer:
      return "at most " + timeText(target.limit) + " more";
    case Measure::timesBytes:
      return text("at most %gx the bytes", target.limit);
    case Measure::megabytes:
      return text("at most %.0f MB", target.limit);
  }
  return {};
}

bool isMet(const Target& target, const Figures& figures) {
  switch (target.measure) {
    case Measure::milliseconds:
      return figures.ms <= target.limit;
    case Measure::nanoseconds:
      return figures.nanoseconds <= target.limit;
    case Measure::timesPeer:
      return figures.peerMs > 0 && figures.ms <= target.limit * figures.peerMs;
    case Measure::fasterThanPeer:
      return figures.peerMs >= target.limit * figures.ms;
    case Measure::moreThanPeer:
      return figures.ms - figures.peerMs <= target.limit;
    case Measure::timesBytes:
      return figures.sizeRatio <= target.limit;
    case Measure::megabytes:
      return figures.megabytes <= target.limit;
  }
  return false;
}

/// How subject and peer compare, in the words of the targets.
std::string ratioText(const Figures& figures, const std::vector<Target>& targets) {
  if (figures.peer.empty()) return {};
  std::string ratio;
  const bool asDifference = !targets.empty() && targets[0].measure == Measure::moreThanPeer;
  const bool asTimes = !targets.empty() && targets[0].measure == Measure::timesPeer;
  if (asDifference) {
    ratio = timeText(std::max(figures.ms - figures.peerMs, 0.0)) + " more";
  } else if (figures.peerMs >= figures.ms && !asTimes) {
    ratio = text("%.*fx faster", figures.peerMs >= 10 * figures.ms ? 0 : 2, figures.peerMs / figures.ms);
  } else {
    ratio = text("%.2fx", figures.ms / figures.peerMs);
  }
  if (figures.sizeRatio > 0) ratio += text(", %.3fx the bytes", figures.sizeRatio);
  return ratio;
}

std::string rateText(const benchmark::BenchmarkReporter::Run& run, const Figures& figures) {
  if (figures.megabytes > 0) return text("%.0f MB", figures.megabytes);
  if (figures.nanoseconds > 0) return text("%.1f ns a block", figures.nanoseconds);
  for (const char* unit : {"Mpixel/s", "GB/s"})
    if (const auto found = run.counters.find(unit); found != run.counters.end())
      return text("%.*f %s", found->second.value < 99.95 ? 1 : 0, found->second.value, unit);
  return {};
}

std::string processorName() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);)
    if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
  return "unknown processor";
}

std::string shareText(double value, double best) { return text("%.0f %%", 100 * value / best); }

}  // namespace

bool RowReporter::Line::disturbed() const {
  // Nobody waits for quiet in a smoke run.
  return !smoke() && speed.allThreads > 0 &&
         (speed.allThreads < kDisturbed * bestSpeed().allThreads ||
          speed.oneThread < kDisturbed * bestSpeed().oneThread);
}

RowReporter::Line RowReporter::lineOf(const Run& run) {
  const std::string name =
      run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args);
  const Row* const row = findRow(name);
  Line line;
  line.what = row ? row->what : name;
  if (run.error_occurred) {
    line.time = "failed: " + run.error_message;
    return line;
  }
  const Figures figures = figuresOf(run);
  line.time = timeText(figures.ms);
  line.rate = rateText(run, figures);
  if (!figures.peer.empty()) line.peer = figures.peer + " " + timeText(figures.peerMs);
  if (line.peer.empty()) line.peer = run.report_label;
  static const std::vector<Target> none;
  const std::vector<Target>& targets = row ? row->targets : none;
  line.ratio = ratioText(figures, targets);
  bool met = true;
  for (const Target& target : targets) {
    line.target += (line.target.empty() ? "" : ", ") + targetText(target);
    met = met && isMet(target, figures);
  }
  if (!targets.empty()) line.met = met ? "met" : "not met";
  const auto speed = run.counters.find("speed_all");
  if (speed != run.counters.end()) line.speed = {run.counters.at("speed_one").value, speed->second.value};
  return line;
}

bool RowReporter::ReportContext(const Context&) {
  const Speed speed = measureSpeed();
  GetOutputStream() << processorName() << ", " << std::thread::hardware_concurrency() << " threads; "
                    << text("%.0f", speed.oneThread) << " (one thread) and " << text("%.0f", speed.allThreads)
                    << " (all) 1e9 multiply-adds a second\n"
                    << text("%-58s %-9s %-16s %-30s %-14s %-32s %s\n", "what", "time", "rate",
                            "peer or limit", "ratio", "target", "met");
  return true;
}

void RowReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    failed_ = failed_ || run.error_occurred;
    const Line line = lineOf(run);
    std::ostream& out = GetOutputStream();
    out << text("%-58s %-9s %-16s %-30s %-14s %-32s %s", line.what.c_str(), line.time.c_str(),
                line.rate.c_str(), line.peer.c_str(), line.ratio.c_str(), line.target.c_str(),
                line.met.c_str());
    if (line.disturbed())
      out << " (disturbed: neighbours left " << shareText(line.speed.allThreads, bestSpeed().allThreads)
          << ')';
    out << std::endl;
    lines_.push_back(line);
  }
}

bool RowReporter::writeReport(const std::string& path) const {
  // A document keeps what stands around its marks.
  const std::string begin = "<!-- report -->\n", end = "<!-- end of report -->\n";
  std::string before, after;
  if (std::ifstream document(path); document) {
    const std::string whole{std::istreambuf_iterator<char>(document), {}};
    const std::size_t first = whole.find(begin), last = whole.find(end);
    if (first != std::string::npos && last != std::string::npos && first < last) {
      before = whole.substr(0, first + begin.size());
      after = whole.substr(last);
    }
  }
  std::ofstream file(path);
  file << before;
  const std::time_t now = std::time(nullptr);
  char date[20];
  std::strftime(date, sizeof date, "%Y-%m-%d", std::localtime(&now));
  utsname system{};
  uname(&system);
  file << "Measured " << date << ": " << processorName() << ", " << std::thread::hardware_concurrency()
       << " threads, " << static_cast<long>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE) / (1L << 30)
       << " GiB; Linux " << system.release << "; g++ " << __VERSION__
       << ". Best speed of the run: " << text("%.0f and %.0f", bestSpeed().oneThread, bestSpeed().allThreads)
       << " 1e9 multiply-adds a second on one and on all threads; \"quiet\" is the share of it that the "
          "slower of the "
          "readings before and after a row found, and rows below 90 % were disturbed.\n";
  for (const bool withTarget : {true, false}) {
    file << (withTarget
                 ? "\n| what | time | rate | peer or limit | ratio | target | met | quiet: one, all |\n"
                   "|---|---|---|---|---|---|---|---|\n"
                 : "\nWithout a target:\n\n| what | time | rate | peer or limit | ratio | quiet: one, all |\n"
                   "|---|---|---|---|---|---|\n");
    for (const Line& line : lines_) {
      if (line.target.empty() == withTarget) continue;
      file << "| " << line.what << " | " << line.time << " | " << line.rate << " | " << line.peer << " | "
           << line.ratio << " | ";
      if (withTarget) file << line.target << " | " << line.met << " | ";
      if (line.speed.allThreads > 0)
        file << shareText(line.speed.oneThread, bestSpeed().oneThread) << ", "
             << shareText(line.speed.allThreads, bestSpeed().allThreads);
      file << " |\n";
    }
  }
  file << after;
  return static_cast<bool>(file.flush());
}

}  // namespace bench
