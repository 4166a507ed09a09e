#include "orvrender/images/ImageLibrary.h"

#include <sys/stat.h>

#include <algorithm>
#include <exception>
#include <new>

#include "host/orvLog.h"
#include "orvrender/images/ImageError.h"
#include "orvrender/images/read_image.h"

namespace orv::host {

std::optional<FileStamp> FileStamp::of(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileStamp{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
                   static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

orvImage* ImageLibrary::load(const std::string& path, orvTexture_profile profile, bool cached) {
  const std::lock_guard lock(mutex_);
  try {
    // Taken before the file is read: a change in between makes the next load read it again.
    const FileStamp stamp = FileStamp::of(path).value_or(FileStamp{});
    if (cached) {
      const auto found = find(path, profile, stamp);
      if (found != entries_.end()) {
        ++found->users;
        entries_.splice(entries_.end(), entries_, found);
        return found->image.get();
      }
    }

    ReadImage read = readImage(path, profile, limits_);
    if (read.replacedPixels > 0) {
      orv_critical(
          "%s: %llu of its pixels are not finite; NaN counts as 0 and an infinity as 65504: save it without "
          "them\n",
          path.c_str(), static_cast<unsigned long long>(read.replacedPixels));
    }
    auto image = std::make_unique<HostImage>(path, profile, std::move(read.pixels));
    Entry& entry = entries_.emplace_back();
    entry.image = std::move(image);
    entry.stamp = stamp;
    entry.users = 1;
    entry.shared = cached;
    trim();
    return entry.image.get();
  } catch (const ImageError& error) {
    orv_critical("%s: %s\n", path.c_str(), error.what());
  } catch (const std::bad_alloc&) {
    orv_critical("%s: there is no memory to read it; close other programs\n", path.c_str());
  } catch (const std::exception& error) {
    orv_critical("%s: cannot be read (%s); save or copy it again\n", path.c_str(), error.what());
  }
  return nullptr;
}

void ImageLibrary::giveBack(const orvImage* image, bool discard) {
  if (!image) return;
  const std::lock_guard lock(mutex_);
  const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [image](const Entry& e) { return e.image.get() == image; });
  if (entry == entries_.end() || entry->users == 0) {
    orv_critical("an image was handed back that nobody uses; hand each image back once\n");
    return;
  }
  --entry->users;
  if (discard) entry->shared = false;
  if (entry->users > 0) return;
  if (!entry->shared) {
    drop(entry);
    return;
  }
  entries_.splice(keep_ ? entries_.end() : entries_.begin(), entries_, entry);
  trim();
}

void ImageLibrary::setKeep(bool keep, bool discardAll) {
  const std::lock_guard lock(mutex_);
  keep_ = keep;
  if (discardAll) {
    entries_.remove_if([](const Entry& entry) { return entry.users == 0; });
    for (Entry& entry : entries_) entry.shared = false;
  }
  trim();
}

ImageLibrary::Entries::iterator ImageLibrary::find(const std::string& path, orvTexture_profile profile,
                                                   const FileStamp& stamp) {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const auto next = std::next(entry);
    if (entry->shared && entry->image->profile() == profile && path == entry->image->path()) {
      if (entry->stamp == stamp) return entry;
      // The file has changed: its old pixels are of no use to anyone new.
      entry->shared = false;
      if (entry->users == 0) drop(entry);
    }
    entry = next;
  }
  return entries_.end();
}

void ImageLibrary::drop(Entries::iterator entry) { entries_.erase(entry); }

void ImageLibrary::trim() {
  if (keep_) return;
  std::uint64_t bytes = 0;
  for (const Entry& entry : entries_) bytes += entry.image->memory();
  for (auto entry = entries_.begin(); entry != entries_.end() && bytes > budget_;) {
    const auto next = std::next(entry);
    if (entry->users == 0) {
      bytes -= entry->image->memory();
      drop(entry);
    }
    entry = next;
  }
}

}  // namespace orv::host
