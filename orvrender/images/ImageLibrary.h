#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "orvrender/images/HostImage.h"
#include "orvrender/images/ImageSource.h"

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
  static std::optional<FileStamp> of(const std::string& path);
};

/// The images of a scene: those in use, and within a budget of bytes those that were handed back, the least
/// recently used to go first. An image in use is never dropped. Thread-safe.
class ImageLibrary {
 public:
  ImageLibrary(const ImageLimits& limits, std::uint64_t budgetBytes)
      : limits_(limits), budget_(budgetBytes) {}

  /// The image of a file. With `cached` one user gets the image of another as long as the file has not
  /// changed.
  /// @return null with the reason in the log.
  orvImage* load(const std::string& path, orvTexture_profile profile, bool cached);

  /// Takes an image back from one of its users. @param discard true: nobody else shall get it any more.
  void giveBack(const orvImage* image, bool discard);

  /// While `keep`, images that come back count as used most recently and nothing is dropped; the closing call
  /// brings the images down to the budget. Images that come back outside are the first to go.
  /// @param discardAll true: those that nobody uses are dropped, the others given to nobody else.
  void setKeep(bool keep, bool discardAll);

 private:
  struct Entry {
    std::unique_ptr<HostImage> image;
    FileStamp stamp;
    std::uint64_t users = 0;
    bool shared = false;  // may be given to another user
  };
  using Entries = std::list<Entry>;

  // The mutex is held in all of these.
  Entries::iterator find(const std::string& path, orvTexture_profile profile, const FileStamp& stamp);
  void drop(Entries::iterator entry);
  void trim();

  const ImageLimits limits_;
  const std::uint64_t budget_;
  std::mutex mutex_;
  Entries entries_;  // the least recently used first
  bool keep_ = false;
};

}  // namespace orv::host
