#include "RunReport.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "console.h"
#include "orvrender/printable_text.h"
#include "text_columns.h"

namespace orvpaint {
namespace {

namespace scene = orv::scene;

double secondsBetween(std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace

std::string byteText(std::uint64_t bytes) {
  constexpr std::array kUnits{"kB", "MB", "GB", "TB"};
  if (bytes < 1000) return std::to_string(bytes) + " B";
  double amount = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  // Where it would be rounded to a thousand, the next one is meant.
  for (; amount >= 999.95 && unit + 1 < kUnits.size(); ++unit) amount /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f %s", amount, kUnits[unit]);
  return text;
}

std::string secondsText(double seconds) {
  // Where it would be rounded to a minute.
  if (seconds >= 59.95) return clockText(seconds) + (seconds > 3599 ? " h" : " min");
  char text[32];
  std::snprintf(text, sizeof text, seconds < 9.995 ? "%.2f s" : "%.1f s", seconds);
  return text;
}

RunReport::RunReport(Talk talk, std::size_t maps)
    : talk_(talk), maps_(maps), bar_(talk != Talk::quiet), progress_({}) {}

void RunReport::begin(const std::string& title, std::vector<const scene::MapFormat*> files) {
  title_ = title;
  progress_ = MapProgress(files);
  phases_.clear();
  files_.clear();
  mapStart_ = phaseStart_ = Clock::now();
  phase_.clear();
  phase("Reading", 0);
}

void RunReport::phase(const std::string& phase, double amount) {
  if (phase != phase_) {
    const Clock::time_point now = Clock::now();
    if (!phase_.empty()) phases_.emplace_back(phase_, secondsBetween(phaseStart_, now));
    phaseStart_ = now;
    phase_ = phase;
  }
  const double ofMap = progress_.at(phase, amount);
  const std::string count =
      maps_ > 1 ? std::to_string(done_ + 1) + "/" + std::to_string(maps_) + " " : std::string();
  bar_.show(count + phase, (static_cast<double>(done_) + ofMap) / static_cast<double>(maps_));
}

void RunReport::written(const scene::WrittenFile& file) { files_.push_back(file); }

void RunReport::end() {
  const Clock::time_point now = Clock::now();
  phases_.emplace_back(phase_, secondsBetween(phaseStart_, now));
  ++done_;
  if (talk_ == Talk::verbose) tellPhases();
  if (files_.empty()) return;
  ++painted_;
  if (firstFile_.empty()) firstFile_ = files_.front().name;
  lastFile_ = files_.back().name;
  for (const scene::WrittenFile& file : files_) bytes_ += file.bytes;
  if (talk_ == Talk::verbose || (talk_ == Talk::normal && maps_ == 1))
    tellFiles(secondsBetween(mapStart_, now));
}

void RunReport::tellPhases() {
  std::size_t width = 0;
  for (const auto& [phase, seconds] : phases_) width = std::max(width, columnsOf(phase));
  std::string lines = orv::printableText(title_) + "\n";
  for (const auto& [phase, seconds] : phases_) {
    lines.append("  ").append(orv::printableText(phase)).append(width - columnsOf(phase) + 2, ' ');
    lines.append(secondsText(seconds)).append("\n");
  }
  printText(lines);
}

void RunReport::tellFiles(double seconds) {
  std::string lines;
  for (const scene::WrittenFile& file : files_) {
    lines += boldText(orv::printableText(file.name), Stream::error);
    if (file.size.width > 0)
      lines.append("  ")
          .append(std::to_string(file.size.width))
          .append("x")
          .append(std::to_string(file.size.height));
    lines.append("  ").append(byteText(file.bytes)).append("  ").append(secondsText(seconds)).append("\n");
  }
  printText(lines);
}

void RunReport::finish() {
  if (talk_ == Talk::quiet || maps_ == 1 || painted_ == 0) return;
  std::string files = orv::printableText(firstFile_);
  if (firstFile_ != lastFile_) files.append(" ... ").append(orv::printableText(lastFile_));
  printText(boldText(files, Stream::error) + "  " + std::to_string(painted_) +
            (painted_ == 1 ? " map  " : " maps  ") + byteText(bytes_) + "  " +
            secondsText(secondsBetween(start_, Clock::now())) + "\n");
}

}  // namespace orvpaint
