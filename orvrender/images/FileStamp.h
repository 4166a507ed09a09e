#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

namespace orv::host {

/// What tells one state of a file from another.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t bytes = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  friend bool operator==(const FileStamp&, const FileStamp&) = default;

  /// The stamp of the file at `path`; none when it cannot be reached.
  static std::optional<FileStamp> of(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileStamp{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
                     static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec,
                     status.st_mtim.tv_nsec};
  }
};

}  // namespace orv::host
