#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>

#include "orvrender/Cancel.h"
#include "orvrender/Failures.h"
#include "orvrender/files/image_checks.h"
#include "orvrender/images/FileStamp.h"
#include "orvrender/images/HostImage.h"
#include "orvrender/images/read_image.h"

namespace orv::host {

/// The images of a scene: those in use, and within a budget of bytes those that were handed back, the least
/// recently used to go first. Each user has an image object of its own; users of one file share its pixels.
/// Pixels that a user has asked for are never dropped; of an image whose users have asked for none (only for
/// its size, say) the header alone stays when the budget is exceeded. An image may be shown at other sizes:
/// its users of one size share the scaled pixels, which count and go like the file's own. Images that were
/// given from memory stay until they are taken away, and do not count. Thread-safe.
class ImageLibrary {
 public:
  /// @param limits of images; environmentPixels: most of a size that `setEnvironmentSize` takes; cancel,
  ///        failures: the scene's, which outlive the library.
  ImageLibrary(const ImageLimits& limits, std::uint64_t environmentPixels, std::uint64_t budgetBytes,
               const Cancel& cancel, Failures& failures)
      : limits_(limits),
        environmentPixels_(environmentPixels),
        budget_(budgetBytes),
        cancel_(cancel),
        failures_(failures) {}

  /// Sets the size at which images of the environment that are loaded from now on show their pixels; 0 x 0:
  /// each at its own; so does one beyond the limits of images, with a line in the log.
  void setEnvironmentSize(const ImageSize& size);

  /// The image of a file, or one of this name that was given from memory. With `cached` one user shares
  /// pixels with another as long as the file has not changed.
  /// @return null with the reason in the log, or without one when the scene's work is cancelled.
  orvImage* load(const std::string& path, orvTexture_profile profile, bool cached);

  /// Keeps a copy of pixels under a name (`orv_image_add`), for who loads it from now on.
  /// @return false with the reason in the log.
  bool add(const std::string& name, const float* rgb, std::uint32_t width, std::uint32_t height);

  /// Takes such an image away. @return false when there is none.
  bool remove(const std::string& name);

  /// Takes an image back from its user. @param discard true: nobody else shall share its pixels any more.
  void giveBack(const orvImage* image, bool discard);

  /// While `keep`, images that come back count as used most recently and nothing is dropped; the closing call
  /// brings the images down to the budget. Images that come back outside are the first to go.
  /// @param discardAll true: pixels that no user has asked for are dropped, the others shared with nobody
  /// else.
  void setKeep(bool keep, bool discardAll);

  /// Gives the user of `image` its pixels, which then stay with it: read again where they were dropped, and
  /// black with the reason in the log where the file no longer holds an image of that size.
  const ImageContent& contentFor(const HostImage& image);

  /// As `contentFor`, for scaled pixels; without any (`rgb` null) when there is no memory for them.
  const Pixels& scaledFor(const HostImage& image);

  /// The smaller copies of an image that has its pixels; null, with a line in the log, when there is no
  /// memory for them.
  const MipPyramid* pyramidFor(const HostImage& image);

  std::uint64_t bytesOf(const HostImage& image);

 private:
  struct Entry {
    ImageHeader header;
    FileStamp stamp;
    std::unique_ptr<ImageContent> content;  // null: dropped
    std::list<HostImage> users;
    bool shared;                 // may get another user
    bool given = false;          // from memory, and not taken away: nothing can be read again
    std::list<Pixels> scaled{};  // at sizes that users wanted, the least recently used first

    ImageSize size() const { return {header.width, header.height}; }
    bool isAsked() const;
    bool isContentAsked() const;
    bool isAsked(const Pixels& scaledPixels) const;
    std::list<Pixels>::iterator findScaled(const ImageSize& wanted);
    std::uint64_t bytes() const;
  };
  using Entries = std::list<Entry>;

  // The mutex is held in all of these.
  void fail(const std::string& image, const std::string& reason) const;
  std::unique_ptr<ImageContent> take(const std::string& image, const std::function<ReadImage()>& get) const;
  std::unique_ptr<ImageContent> read(const std::string& path, orvTexture_profile profile) const;
  Entries::iterator findGiven(const std::string& name);
  void release(Entries::iterator given);
  Entries::iterator find(const std::string& path, orvTexture_profile profile, const FileStamp& stamp,
                         const ImageSize& wanted);
  Entries::iterator entryOf(const orvImage* image);
  void readAgain(Entry& entry) const;
  const Pixels* makeScaled(Entry& entry, const ImageSize& size) const;
  void trim(const Entry* spared = nullptr);
  void dropUnasked(Entry& entry, std::uint64_t& bytes) const;

  const ImageLimits limits_;
  const std::uint64_t environmentPixels_;
  const std::uint64_t budget_;
  const Cancel& cancel_;
  Failures& failures_;
  std::mutex mutex_;
  Entries entries_;  // the least recently used first
  bool keep_ = false;
  ImageSize environmentSize_;
};

}  // namespace orv::host
