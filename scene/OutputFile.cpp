#include "scene/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "scene/SceneErrors.h"

namespace orv::scene {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

/// Paths of the files being written, where a signal handler finds them.
std::array<std::atomic<const char*>, 64> unfinished;

/// A slot that holds `path` until it is given back; -1 when all are taken.
int takeSlot(const char* path) {
  for (std::size_t i = 0; i < unfinished.size(); ++i) {
    const char* none = nullptr;
    if (unfinished[i].compare_exchange_strong(none, path)) return static_cast<int>(i);
  }
  return -1;
}

/// The file that `path` leads to, which need not exist.
std::string followLinks(const std::string& path) {
  fs::path target(path);
  std::error_code error;
  // As many links as the system itself would follow.
  for (int i = 0; i < 40 && fs::is_symlink(fs::symlink_status(target, error)); ++i) {
    const fs::path next = fs::read_symlink(target, error);
    if (error) break;
    target = target.parent_path() / next;
  }
  return target.string();
}

bool writeAll(int descriptor, const unsigned char* data, std::size_t size, std::uint64_t offset,
              bool atOffset) {
  while (size > 0) {
    const ssize_t n = atOffset ? ::pwrite(descriptor, data, size, static_cast<off_t>(offset))
                               : ::write(descriptor, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
    offset += static_cast<std::uint64_t>(n);
  }
  return true;
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), target_(followLinks(path_)) {
  buffer_.reserve(kBufferBytes);
  struct stat status {};
  const bool exists = ::stat(target_.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) fail(EISDIR);
  if (exists && ::access(target_.c_str(), W_OK) != 0) fail(errno);
  inPlace_ = exists && !S_ISREG(status.st_mode);
  if (inPlace_)
    openInTemporaryFolder();
  else
    openBeside();
  if (!inPlace_ && exists) ::fchmod(descriptor_, status.st_mode & 07777u);
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
  giveSlotBack();
}

void OutputFile::openBeside() {
  static std::atomic<unsigned> count{0};
  const fs::path folder = fs::path(target_).parent_path();
  int error = EEXIST;
  // A name that is taken is left by a run that was killed, or by a process of the same number elsewhere.
  for (int attempt = 0; attempt < 100 && error == EEXIST; ++attempt) {
    const std::string name =
        ".orvpaint-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".tmp";
    temporary_ = (folder / name).string();
    // Known to the signal handler before it exists.
    slot_ = takeSlot(temporary_.c_str());
    if (slot_ < 0) {
      temporary_.clear();
      fail(EMFILE);
    }
    descriptor_ = ::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return;
    error = errno;
    giveSlotBack();
  }
  temporary_.clear();
  const std::string shown = folder.empty() ? "." : folder.string();
  std::error_code ignored;
  if (!fs::exists(shown, ignored))
    throw FileError(path_ + ": cannot be written: the folder " + shown + " does not exist");
  fail(error);
}

void OutputFile::giveSlotBack() noexcept {
  if (slot_ >= 0) unfinished[static_cast<std::size_t>(std::exchange(slot_, -1))] = nullptr;
}

void OutputFile::openInTemporaryFolder() {
  std::error_code error;
  std::string name = (fs::temp_directory_path(error) / "orvpaint-XXXXXX").string();
  descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
  if (descriptor_ < 0) throw FileError(name + ": cannot be made: " + std::strerror(errno));
  ::unlink(name.c_str());
}

bool OutputFile::flush() noexcept {
  if (error_ != 0) return false;
  if (!writeAll(descriptor_, buffer_.data(), buffer_.size(), bufferOffset_, true)) error_ = errno;
  bufferOffset_ += buffer_.size();
  buffer_.clear();
  return error_ == 0;
}

bool OutputFile::write(const void* data, std::size_t size, std::uint64_t offset) noexcept {
  const auto* bytes = static_cast<const unsigned char*>(data);
  size_ = std::max(size_, offset + size);
  if (offset != bufferOffset_ + buffer_.size() || buffer_.size() + size > kBufferBytes) {
    if (!flush()) return false;
    bufferOffset_ = offset;
  }
  if (error_ != 0) return false;
  if (size <= kBufferBytes) {
    buffer_.insert(buffer_.end(), bytes, bytes + size);
    return true;
  }
  if (!writeAll(descriptor_, bytes, size, offset, true)) error_ = errno;
  bufferOffset_ = offset + size;
  return error_ == 0;
}

std::size_t OutputFile::read(void* data, std::size_t size, std::uint64_t offset) noexcept {
  if (!flush()) return 0;
  const ssize_t n = ::pread(descriptor_, data, size, static_cast<off_t>(offset));
  return n > 0 ? static_cast<std::size_t>(n) : 0;
}

void OutputFile::flushOrThrow() {
  if (!flush()) fail(error_);
}

void OutputFile::finish() {
  flushOrThrow();
  if (inPlace_) return;
  if (::close(std::exchange(descriptor_, -1)) != 0) fail(errno);
}

void OutputFile::commit() {
  if (!inPlace_) {
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
    giveSlotBack();
    temporary_.clear();
    return;
  }
  const int target = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
  if (target < 0) fail(errno);
  std::vector<unsigned char> chunk(kBufferBytes);
  int error = 0;
  std::uint64_t done = 0;
  while (error == 0 && done < size_) {
    const std::size_t n = read(chunk.data(), chunk.size(), done);
    if (n == 0)
      error = EIO;
    else if (!writeAll(target, chunk.data(), n, 0, false))
      error = errno;
    done += n;
  }
  if (::close(target) != 0 && error == 0) error = errno;
  if (error != 0) fail(error);
}

void OutputFile::fail(int error) const {
  throw FileError(path_ + ": cannot be written: " + std::strerror(error));
}

void removeUnfinishedFiles() noexcept {
  for (const std::atomic<const char*>& path : unfinished)
    if (const char* name = path.load()) ::unlink(name);
}

}  // namespace orv::scene
