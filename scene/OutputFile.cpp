#include "scene/OutputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
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

/// The file that `path` leads to, which need not exist; `error` is set where links lead nowhere, as in a
/// loop.
std::string followLinks(const std::string& path, int& error) {
  fs::path target(path);
  std::error_code ignored;
  // As many links as the system itself would follow.
  for (int i = 0; i <= 40; ++i) {
    if (!fs::is_symlink(fs::symlink_status(target, ignored))) return target.string();
    std::error_code unread;
    const fs::path next = fs::read_symlink(target, unread);
    if (unread) {
      error = unread.value();
      return path;
    }
    target = target.parent_path() / next;
  }
  error = ELOOP;
  return path;
}

constexpr std::string_view kHiddenStart = ".orvpaint-";
constexpr std::string_view kHiddenEnd = ".tmp";

/// The process that a hidden file's name carries; 0 for any other name.
pid_t writerOf(std::string_view name) {
  if (!name.starts_with(kHiddenStart) || !name.ends_with(kHiddenEnd)) return 0;
  name.remove_prefix(kHiddenStart.size());
  pid_t writer = 0;
  const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), writer);
  return error == std::errc() && writer > 0 && rest != name.data() + name.size() && *rest == '-' ? writer : 0;
}

/// Removes the hidden files of a folder whose writers are gone: there is no such process here, nor any
/// elsewhere (another machine, another container) that holds the file's lock.
void removeLeftovers(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const pid_t writer = writerOf(entry->path().filename().string());
    if (writer == 0 || ::kill(writer, 0) == 0 || errno != ESRCH) continue;
    const int file = ::open(entry->path().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) continue;
    if (::flock(file, LOCK_EX | LOCK_NB) == 0) ::unlink(entry->path().c_str());
    ::close(file);
  }
}

bool writeAll(int descriptor, const unsigned char* data, std::size_t size, std::uint64_t offset,
              bool atOffset) {
  while (size > 0) {
    const ssize_t n = atOffset ? ::pwrite(descriptor, data, size, static_cast<off_t>(offset))
                               : ::write(descriptor, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno == EAGAIN) {
      // Somebody made the pipe one that does not wait.
      pollfd pipe{descriptor, POLLOUT, 0};
      ::poll(&pipe, 1, -1);
      continue;
    }
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

/// Cuts off what lies behind the place where an open file is written, so that it ends with what is written.
void endAtPosition(int descriptor) {
  struct stat status {};
  if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return;
  const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
  const bool appends = (::fcntl(descriptor, F_GETFL) & O_APPEND) != 0;
  // Where that fails, writing tells.
  if (position >= 0 && !appends) static_cast<void>(!::ftruncate(descriptor, position));
}

}  // namespace

OutputFile::OutputFile(std::string path, Kept kept)
    : path_(std::move(path)), name_(path_ == kStandardOutput ? "standard output" : path_) {
  buffer_.reserve(kBufferBytes);
  checkTarget();
  if (inPlace_)
    openInTemporaryFolder();
  else
    openBeside(kept);
}

OutputFile::~OutputFile() {
  if (!hidden_.empty()) ::unlink(hidden_.c_str());
  if (descriptor_ >= 0) ::close(descriptor_);
  forgetHiddenName();
}

/// Finds out before anything is written what would be refused at the end.
void OutputFile::checkTarget() {
  given_ = outputDescriptor(path_);
  if (given_ >= 0) {
    inPlace_ = true;
    target_ = path_;
    const int access = ::fcntl(given_, F_GETFL);
    // What the program has opened itself is closed to others.
    if (access < 0 || (access & O_ACCMODE) == O_RDONLY || (::fcntl(given_, F_GETFD) & FD_CLOEXEC) != 0)
      fail(EBADF);
    return;
  }
  struct stat status {};
  // The system follows links that have no path to be read, such as those to a pipe.
  exists_ = ::stat(path_.c_str(), &status) == 0;
  if (!exists_ && errno != ENOENT && errno != ENOTDIR) fail(errno);
  inPlace_ = exists_ && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
  target_ = path_;
  if (!inPlace_) {
    int error = 0;
    target_ = followLinks(path_, error);
    if (error != 0) fail(error);
  }
  if (!exists_) return;
  // An open file that has lost its name is reached through the process that holds it alone.
  struct stat named {};
  const bool isNamed = inPlace_ || (::stat(target_.c_str(), &named) == 0 && named.st_dev == status.st_dev &&
                                    named.st_ino == status.st_ino);
  if (!isNamed) {
    inPlace_ = true;
    target_ = path_;
  }
  if (S_ISDIR(status.st_mode)) fail(EISDIR);
  if (::access(path_.c_str(), W_OK) != 0) fail(errno);
  if (inPlace_) return;
  // The permissions of the old file, but none of its special bits: another owner must not inherit those.
  mode_ = status.st_mode & 0777u;
  // In a folder such as /tmp only who owns the file or the folder may replace it.
  struct stat folder {};
  const std::string parent = fs::path(target_).parent_path().string();
  if (::stat(parent.empty() ? "." : parent.c_str(), &folder) != 0) fail(errno);
  const uid_t user = ::geteuid();
  const bool restricted = (folder.st_mode & S_ISVTX) != 0;
  if (restricted && user != 0 && user != status.st_uid && user != folder.st_uid) fail(EPERM);
}

void OutputFile::openBeside(Kept kept) {
  const fs::path parent = fs::path(target_).parent_path();
  const std::string folder = parent.empty() ? "." : parent.string();
  std::error_code ignored;
  if (!fs::exists(folder, ignored))
    throw FileError(name_ + ": cannot be written: the folder " + folder + " does not exist");
  if (kept == Kept::hidden || !openUnnamed(folder)) openHidden(folder);
  // What the process masks off is given back to a file that had it.
  if (exists_) ::fchmod(descriptor_, mode_);
}

/// @return false where the file system has no such files or the system no path by which to link them.
bool OutputFile::openUnnamed(const std::string& folder) {
  descriptor_ = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode_);
  if (descriptor_ < 0) return false;
  if (::access(("/proc/self/fd/" + std::to_string(descriptor_)).c_str(), F_OK) == 0) return true;
  ::close(std::exchange(descriptor_, -1));
  return false;
}

void OutputFile::openHidden(const std::string& folder) {
  removeLeftovers(folder);
  int error = EEXIST;
  // A name that is taken is left by a run that was killed, or by a process of the same number elsewhere.
  for (int attempt = 0; attempt < 100 && error == EEXIST; ++attempt) {
    chooseHiddenName();
    descriptor_ = ::open(hidden_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode_);
    if (descriptor_ >= 0) {
      ::flock(descriptor_, LOCK_EX | LOCK_NB);
      return;
    }
    error = errno;
    forgetHiddenName();
  }
  fail(error);
}

void OutputFile::chooseHiddenName() {
  static std::atomic<unsigned> count{0};
  const std::string name = std::string(kHiddenStart) + std::to_string(::getpid()) + "-" +
                           std::to_string(++count) + std::string(kHiddenEnd);
  hidden_ = (fs::path(target_).parent_path() / name).string();
  slot_ = takeSlot(hidden_.c_str());
  if (slot_ >= 0) return;
  hidden_.clear();
  fail(EMFILE);
}

void OutputFile::forgetHiddenName() noexcept {
  if (slot_ >= 0) unfinished[static_cast<std::size_t>(std::exchange(slot_, -1))] = nullptr;
  hidden_.clear();
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
  // An unnamed file needs its descriptor to get a name. Some file systems tell of failed writes only here;
  // they know no unnamed files.
  if (!hidden_.empty() && ::close(std::exchange(descriptor_, -1)) != 0) fail(errno);
}

void OutputFile::commit() {
  if (inPlace_) return commitInPlace();
  if (hidden_.empty()) linkHidden();
  // Linked to the target itself already, where nothing was there.
  if (!hidden_.empty() && ::rename(hidden_.c_str(), target_.c_str()) != 0) fail(errno);
  forgetHiddenName();
}

/// Gives an unnamed file its name: the target's where there is none of that name, else a hidden one.
void OutputFile::linkHidden() {
  const std::string self = "/proc/self/fd/" + std::to_string(descriptor_);
  const auto link = [&](const std::string& name) {
    return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
  };
  int error = link(target_);
  for (int attempt = 0; attempt < 100 && error == EEXIST; ++attempt) {
    forgetHiddenName();
    chooseHiddenName();
    error = link(hidden_);
  }
  if (error == 0) return;
  forgetHiddenName();
  fail(error);
}

void OutputFile::commitInPlace() {
  const int target = given_ >= 0 ? given_ : ::open(target_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (target < 0) fail(errno);
  endAtPosition(given_);
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
  if (target != given_ && ::close(target) != 0 && error == 0) error = errno;
  if (error != 0) fail(error);
}

void OutputFile::fail(int error) const {
  throw FileError(name_ + ": cannot be written: " + std::strerror(error));
}

void commitAll(const std::vector<std::unique_ptr<OutputFile>>& files) {
  std::string placed;
  // Pipes and devices first: they are the ones that can still fail.
  for (const bool inPlace : {true, false}) {
    for (const auto& file : files) {
      if (file->inPlace() != inPlace) continue;
      try {
        file->commit();
      } catch (const FileError& error) {
        throw FileError(error.what() + (placed.empty() ? "" : "; in place already: " + placed));
      }
      placed.append(placed.empty() ? "" : ", ").append(file->name());
    }
  }
}

int outputDescriptor(const std::string& path) {
  if (path == kStandardOutput || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(folder)) continue;
    int number = -1;
    const char* const end = path.data() + path.size();
    const auto [rest, error] = std::from_chars(path.data() + folder.size(), end, number);
    if (error == std::errc() && rest == end && number >= 0) return number;
  }
  return -1;
}

std::string outputTarget(const std::string& path) {
  std::error_code error;
  if (const int descriptor = outputDescriptor(path); descriptor >= 0) {
    const std::string target =
        fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error).string();
    return error ? path : target;
  }
  std::string canonical = fs::canonical(path, error).string();
  if (!error) return canonical;
  int unresolved = 0;
  const fs::path target(followLinks(path, unresolved));
  const fs::path folder = fs::canonical(target.has_parent_path() ? target.parent_path() : ".", error);
  return error ? path : (folder / target.filename()).string();
}

void removeUnfinishedFiles() noexcept {
  for (const std::atomic<const char*>& path : unfinished)
    if (const char* name = path.load()) ::unlink(name);
}

}  // namespace orv::scene
