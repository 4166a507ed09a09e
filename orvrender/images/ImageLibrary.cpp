#include "orvrender/images/ImageLibrary.h"

#include <sys/stat.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <exception>
#include <new>

#include "host/orvLog.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/images/read_image.h"

namespace orv::host {

std::optional<FileStamp> FileStamp::of(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileStamp{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
                   static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

bool ImageLibrary::Entry::isAsked() const {
  return std::any_of(users.begin(), users.end(), [](const HostImage& user) { return user.hasAsked(); });
}

orvImage* ImageLibrary::load(const std::string& path, orvTexture_profile profile, bool cached) {
  const std::lock_guard lock(mutex_);
  // Taken before the file is read: a change in between makes the next load read it again.
  const FileStamp stamp = FileStamp::of(path).value_or(FileStamp{});
  auto entry = cached ? find(path, profile, stamp) : entries_.end();
  if (entry == entries_.end()) {
    std::unique_ptr<ImageContent> content = read(path, profile);
    if (!content) return nullptr;
    const Pixels& pixels = content->pixels;
    const ImageHeader header{path, profile, pixels.width, pixels.height, pixels.alpha != nullptr};
    entry = entries_.insert(entry, {header, stamp, std::move(content), {}, cached});
  }
  entries_.splice(entries_.end(), entries_, entry);
  HostImage& user = entry->users.emplace_back(*this, entry->header);
  trim(&*entry);
  return &user;
}

std::unique_ptr<ImageContent> ImageLibrary::read(const std::string& path, orvTexture_profile profile) const {
  try {
    auto content = std::make_unique<ImageContent>();
    // A thread that waits for its rows must not start on work that asks for the lock it holds.
    tbb::this_task_arena::isolate([&] {
      ReadImage read = readImage(path, profile, limits_);
      if (read.replacedPixels > 0) {
        orv_critical(
            "%s: %llu of its pixels are not finite; NaN counts as 0 and an infinity as 65504: save it "
            "without them\n",
            path.c_str(), static_cast<unsigned long long>(read.replacedPixels));
      }
      content->pixels = std::move(read.pixels);
    });
    return content;
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
  const auto entry = entryOf(image);
  if (entry == entries_.end()) {
    orv_critical("an image was handed back that nobody uses; hand each image back once\n");
    return;
  }
  entry->users.remove_if([image](const HostImage& user) { return &user == image; });
  if (discard) entry->shared = false;
  if (entry->isAsked()) return;
  if (entry->users.empty() && !entry->shared) {
    entries_.erase(entry);
    return;
  }
  entries_.splice(keep_ ? entries_.end() : entries_.begin(), entries_, entry);
  trim();
}

void ImageLibrary::setKeep(bool keep, bool discardAll) {
  const std::lock_guard lock(mutex_);
  keep_ = keep;
  if (discardAll) {
    entries_.remove_if([](const Entry& entry) { return entry.users.empty(); });
    for (Entry& entry : entries_) {
      entry.shared = false;
      if (!entry.isAsked()) entry.content.reset();
    }
  }
  trim();
}

const ImageContent& ImageLibrary::contentFor(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  Entry& entry = *entryOf(&image);
  if (!entry.content) {
    readAgain(entry);
    trim(&entry);
  }
  static const ImageContent black{};
  const ImageContent& content = entry.content ? *entry.content : black;
  image.give(content);
  return content;
}

void ImageLibrary::readAgain(Entry& entry) const {
  const ImageHeader& header = entry.header;
  entry.stamp = FileStamp::of(header.path).value_or(FileStamp{});
  entry.content = read(header.path, header.profile);
  if (entry.content) {
    const Pixels& pixels = entry.content->pixels;
    if (pixels.width == header.width && pixels.height == header.height &&
        (pixels.alpha != nullptr) == header.hasAlpha)
      return;
    orv_critical("%s: it is %u x %u pixels now and was %u x %u when it was loaded; load it again\n",
                 header.path.c_str(), pixels.width, pixels.height, header.width, header.height);
  }
  // Black for who has the image, and for nobody else.
  entry.shared = false;
  entry.content.reset();
  Pixels black{header.width, header.height, nullptr, nullptr};
  black.rgb = allocateFloats(3 * black.count());
  if (!black.rgb) return;
  std::fill_n(black.rgb.get(), 3 * black.count(), 0.0f);
  entry.content.reset(new (std::nothrow) ImageContent{std::move(black), nullptr});
}

const FilteredLookup* ImageLibrary::filtered(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  const Entry& entry = *entryOf(&image);
  if (!entry.content) return nullptr;
  ImageContent& content = *entry.content;
  try {
    if (!content.filtered) {
      tbb::this_task_arena::isolate([&] { content.filtered = orv_image_module()->filter(content.pixels); });
    }
  } catch (const std::bad_alloc&) {
    orv_critical("%s: there is no memory to filter it, so it is looked up without; close other programs\n",
                 entry.header.path.c_str());
  } catch (const ImageError& error) {
    orv_critical("%s: it is looked up without filtering: %s\n", entry.header.path.c_str(), error.what());
  }
  return content.filtered.get();
}

std::uint64_t ImageLibrary::bytesOf(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  return entryOf(&image)->bytes();
}

ImageLibrary::Entries::iterator ImageLibrary::find(const std::string& path, orvTexture_profile profile,
                                                   const FileStamp& stamp) {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const auto next = std::next(entry);
    if (entry->shared && entry->content && entry->header.profile == profile && entry->header.path == path) {
      if (entry->stamp == stamp) return entry;
      // The file has changed: its old pixels are of no use to anyone new.
      entry->shared = false;
      if (entry->users.empty()) entries_.erase(entry);
    }
    entry = next;
  }
  return entries_.end();
}

ImageLibrary::Entries::iterator ImageLibrary::entryOf(const orvImage* image) {
  return std::find_if(entries_.begin(), entries_.end(), [image](const Entry& entry) {
    return std::any_of(entry.users.begin(), entry.users.end(),
                       [image](const HostImage& user) { return &user == image; });
  });
}

void ImageLibrary::trim(const Entry* spared) {
  if (keep_) return;
  std::uint64_t bytes = 0;
  for (const Entry& entry : entries_) bytes += entry.bytes();
  // Those that nobody uses go before those whose users may yet ask for pixels.
  for (const bool used : {false, true}) {
    for (auto entry = entries_.begin(); entry != entries_.end() && bytes > budget_;) {
      const auto next = std::next(entry);
      if (&*entry != spared && entry->users.empty() != used && !entry->isAsked()) {
        bytes -= entry->bytes();
        entry->content.reset();
        if (!used) entries_.erase(entry);
      }
      entry = next;
    }
  }
}

}  // namespace orv::host
