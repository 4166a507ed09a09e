#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orv::scene {

/// A file that appears whole or not at all. It has no name while it is written, where the file system can do
/// that (`O_TMPFILE`), so that nothing is left of it however the program ends; elsewhere it is written under
/// a hidden name beside its target. When it is complete it is linked in its target's place, or, where there
/// is a file to be replaced, under a hidden name that is renamed at once. A target that is no regular file (a
/// pipe, a device) gets its bytes when it is committed; so does a descriptor that the program was started
/// with, which `-` (standard output), `/dev/stdout`, `/dev/fd/3` and the like name: it is written where it
/// stands, whatever it leads to. Other symbolic links are followed, so that a link stays a link. One thread.
class OutputFile {
 public:
  /// How the file is kept while it is written.
  enum class Kept { unnamedIfPossible, hidden };

  /// Checks the target and makes the file. Hidden files that runs left which are no more are removed from the
  /// target's folder. @param path UTF-8.
  /// @throws FileError when the target is a folder or can not be written or replaced.
  explicit OutputFile(std::string path, Kept kept = Kept::unnamedIfPossible);
  /// Removes what was not committed.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& path() const { return path_; }
  /// What messages call it.
  const std::string& name() const { return name_; }

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
  void checkTarget();
  void openBeside(Kept kept);
  bool openUnnamed(const std::string& folder);
  void openHidden(const std::string& folder);
  void openInTemporaryFolder();
  /// Makes the next hidden name beside the target, known to `removeUnfinishedFiles` before the file exists.
  void chooseHiddenName();
  void forgetHiddenName() noexcept;
  void linkHidden();
  void commitInPlace();
  bool flush() noexcept;
  [[noreturn]] void fail(int error) const;

  std::string path_;
  std::string name_;
  std::string target_;  ///< `path_` with links followed
  std::string hidden_;  ///< path of the file beside the target; empty without one
  bool inPlace_ = false;
  bool exists_ = false;  ///< the target did, when this began
  unsigned mode_ = 0666;
  int given_ = -1;       ///< the descriptor that the path names; -1 for none
  int descriptor_ = -1;  ///< of what is being written
  int error_ = 0;        ///< errno of the first failure
  int slot_ = -1;
  std::uint64_t size_ = 0;
  std::vector<unsigned char> buffer_;  ///< bytes to be written at `bufferOffset_`
  std::uint64_t bufferOffset_ = 0;
};

/// Commits finished files. @throws FileError when one is refused; it names those that are in place already.
void commitAll(const std::vector<std::unique_ptr<OutputFile>>& files);

/// The file that writing to `path` makes or replaces: absolute, with links followed, those of files that do
/// not exist too; two paths of one output give the same, two names of one
/// descriptor too. Of what can not be found out, the path as it is.
std::string outputTarget(const std::string& path);

/// The path that stands for standard output.
inline constexpr const char* kStandardOutput = "-";

/// The descriptor that a path names: `-`, `/dev/stdout`, `/dev/stderr`, `/dev/fd/N`, `/proc/self/fd/N`; -1
/// for any other.
int outputDescriptor(const std::string& path);

/// Removes every file that is still being written. Safe in a signal handler, right before the process ends.
void removeUnfinishedFiles() noexcept;

}  // namespace orv::scene
