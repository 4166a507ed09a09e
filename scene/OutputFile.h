#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orv::scene {

/// A file that appears whole or not at all: it is written beside its target and renamed when it is complete.
/// A target that is no regular file (a pipe, a device) gets its bytes when it is committed. Symbolic links
/// are followed, so that a link stays a link. One thread.
class OutputFile {
 public:
  /// Checks the target and makes the file beside it. @param path UTF-8.
  /// @throws FileError when the target is a folder or can not be written.
  explicit OutputFile(std::string path);
  /// Removes what was not committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& path() const { return path_; }

  /// Writes at an offset. The first failure is kept, and nothing is written from then on.
  /// @return false after a failure.
  bool write(const void* data, std::size_t size, std::uint64_t offset) noexcept;
  /// Reads back what was written; the number of bytes read.
  std::size_t read(void* data, std::size_t size, std::uint64_t offset) noexcept;
  std::uint64_t size() const { return size_; }

  /// Hands buffered bytes to the system. @throws FileError with the reason of the first failure.
  void flushOrThrow();
  /// Ends the writing. @throws FileError with the reason of the first failure.
  void finish();

  /// Puts the finished file in its target's place. @throws FileError; the target is then as it was before.
  void commit();

  /// Whether the target's bytes are written in place instead of being replaced as a whole.
  bool inPlace() const { return inPlace_; }

 private:
  void openBeside();
  void openInTemporaryFolder();
  void giveSlotBack() noexcept;
  bool flush() noexcept;
  [[noreturn]] void fail(int error) const;

  std::string path_;
  std::string target_;     ///< `path_` with links followed
  std::string temporary_;  ///< empty once it is gone
  bool inPlace_ = false;
  int descriptor_ = -1;
  int error_ = 0;  ///< errno of the first failure
  int slot_ = -1;
  std::uint64_t size_ = 0;
  std::vector<unsigned char> buffer_;  ///< bytes to be written at `bufferOffset_`
  std::uint64_t bufferOffset_ = 0;
};

/// Removes every file that is still being written. Safe in a signal handler, right before the process ends.
void removeUnfinishedFiles() noexcept;

}  // namespace orv::scene
