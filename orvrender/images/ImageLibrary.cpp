#include "orvrender/images/ImageLibrary.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <exception>
#include <new>

#include "host/orvLog.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/images/read_image.h"
#include "orvrender/images/resample.h"

namespace orv::host {

bool ImageLibrary::Entry::isContentAsked() const {
  return std::any_of(users.begin(), users.end(), [](const HostImage& user) { return user.hasAsked(); });
}

bool ImageLibrary::Entry::isAsked(const Pixels& scaledPixels) const {
  return std::any_of(users.begin(), users.end(),
                     [&](const HostImage& user) { return user.hasAskedFor(scaledPixels); });
}

bool ImageLibrary::Entry::isAsked() const {
  return isContentAsked() ||
         std::any_of(scaled.begin(), scaled.end(), [this](const Pixels& pixels) { return isAsked(pixels); });
}

std::list<Pixels>::iterator ImageLibrary::Entry::findScaled(const ImageSize& wanted) {
  return std::find_if(scaled.begin(), scaled.end(), [&](const Pixels& pixels) {
    return ImageSize{pixels.width, pixels.height} == wanted;
  });
}

std::uint64_t ImageLibrary::Entry::bytes() const {
  std::uint64_t sum = content ? content->bytes() : 0;
  for (const Pixels& pixels : scaled) sum += pixels.bytes();
  return sum;
}

void ImageLibrary::setEnvironmentSize(const ImageSize& size) {
  const std::lock_guard lock(mutex_);
  const bool fits = std::max(size.width, size.height) <= limits_.side &&
                    std::uint64_t{size.width} * size.height <= environmentPixels_;
  if (!fits) {
    orv_critical(
        "environment images of %u x %u pixels are above the limits of %u a side and %llu pixels; set a "
        "smaller size\n",
        size.width, size.height, limits_.side, static_cast<unsigned long long>(environmentPixels_));
  }
  const bool isSize = fits && size.width > 0 && size.height > 0;
  environmentSize_ = isSize ? size : ImageSize{};
}

orvImage* ImageLibrary::load(const std::string& path, orvTexture_profile profile, bool cached) {
  const std::lock_guard lock(mutex_);
  // Taken before the file is read: a change in between makes the next load read it again.
  const FileStamp stamp = FileStamp::of(path).value_or(FileStamp{});
  const ImageSize wanted = profile == orvTexture_profile::environment ? environmentSize_ : ImageSize{};
  auto entry = cached ? find(path, profile, stamp, wanted) : entries_.end();
  if (entry == entries_.end()) {
    std::unique_ptr<ImageContent> content = read(path, profile);
    if (!content) return nullptr;
    const Pixels& pixels = content->pixels;
    const ImageHeader header{path, profile, pixels.width, pixels.height, pixels.alpha != nullptr};
    entry = entries_.insert(entry, {header, stamp, std::move(content), {}, cached});
  }
  entries_.splice(entries_.end(), entries_, entry);
  HostImage& user =
      entry->users.emplace_back(*this, entry->header, wanted == ImageSize{} ? entry->size() : wanted);
  trim(&*entry);
  return &user;
}

std::unique_ptr<ImageContent> ImageLibrary::read(const std::string& path, orvTexture_profile profile) const {
  try {
    auto content = std::make_unique<ImageContent>();
    // A thread that waits for its rows must not start on work that asks for the lock it holds.
    tbb::this_task_arena::isolate([&] {
      ReadImage read = readImage(path, profile, limits_);
      if (read.replaced.pixels > 0) {
        orv_critical(
            "%s: %llu of its pixels are not finite; NaN counts as 0 and an infinity as 65504: save it "
            "without them\n",
            path.c_str(), static_cast<unsigned long long>(read.replaced.pixels));
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
  if (entry->users.empty() && !entry->shared) {
    entries_.erase(entry);
    return;
  }
  if (!entry->shared) entry->scaled.remove_if([&](const Pixels& pixels) { return !entry->isAsked(pixels); });
  if (!entry->isAsked()) entries_.splice(keep_ ? entries_.end() : entries_.begin(), entries_, entry);
  trim();
}

void ImageLibrary::setKeep(bool keep, bool discardAll) {
  const std::lock_guard lock(mutex_);
  keep_ = keep;
  if (discardAll) {
    entries_.remove_if([](const Entry& entry) { return entry.users.empty(); });
    for (Entry& entry : entries_) {
      entry.shared = false;
      if (!entry.isContentAsked()) entry.content.reset();
      entry.scaled.remove_if([&](const Pixels& pixels) { return !entry.isAsked(pixels); });
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

const Pixels& ImageLibrary::scaledFor(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  Entry& entry = *entryOf(&image);
  const auto found = entry.findScaled(image.size());
  const Pixels* pixels = nullptr;
  if (found != entry.scaled.end()) {
    pixels = &*found;
    entry.scaled.splice(entry.scaled.end(), entry.scaled, found);
  } else {
    if (!entry.content) readAgain(entry);
    if (entry.content) pixels = makeScaled(entry, image.size());
  }
  static const Pixels none{};
  if (!pixels) pixels = &none;
  image.give(*pixels);
  // What it was made of may go.
  trim();
  return *pixels;
}

const Pixels* ImageLibrary::makeScaled(Entry& entry, const ImageSize& size) const {
  try {
    Pixels scaled;
    tbb::this_task_arena::isolate([&] { scaled = resample(entry.content->pixels, size.width, size.height); });
    if (scaled.rgb) return &entry.scaled.emplace_back(std::move(scaled));
  } catch (const std::bad_alloc&) {
  }
  orv_critical(
      "%s: there is no memory to scale it to %u x %u pixels, so single ones are taken; close other "
      "programs\n",
      entry.header.path.c_str(), size.width, size.height);
  return nullptr;
}

void ImageLibrary::readAgain(Entry& entry) const {
  const ImageHeader& header = entry.header;
  const FileStamp stamp = FileStamp::of(header.path).value_or(FileStamp{});
  // Scaled pixels of the file as it was are for nobody new.
  if (!entry.scaled.empty() && stamp != entry.stamp) entry.shared = false;
  entry.stamp = stamp;
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

const MipPyramid* ImageLibrary::pyramidFor(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  const Entry& entry = *entryOf(&image);
  if (!entry.content) return nullptr;
  ImageContent& content = *entry.content;
  try {
    if (!content.pyramid) {
      tbb::this_task_arena::isolate([&] { content.pyramid = std::make_unique<MipPyramid>(content.pixels); });
    }
  } catch (const std::bad_alloc&) {
    orv_critical("%s: there is no memory to filter it, so it is looked up without; close other programs\n",
                 entry.header.path.c_str());
  }
  return content.pyramid.get();
}

std::uint64_t ImageLibrary::bytesOf(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  Entry& entry = *entryOf(&image);
  const auto scaled = entry.findScaled(image.size());
  return (entry.content ? entry.content->bytes() : 0) + (scaled != entry.scaled.end() ? scaled->bytes() : 0);
}

ImageLibrary::Entries::iterator ImageLibrary::find(const std::string& path, orvTexture_profile profile,
                                                   const FileStamp& stamp, const ImageSize& wanted) {
  for (auto entry = entries_.begin(); entry != entries_.end();) {
    const auto next = std::next(entry);
    const bool hasPixels = entry->content || entry->findScaled(wanted) != entry->scaled.end();
    if (entry->shared && hasPixels && entry->header.profile == profile && entry->header.path == path) {
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
      if (&*entry != spared && entry->users.empty() != used) {
        dropUnasked(*entry, bytes);
        if (entry->users.empty() && entry->bytes() == 0) entries_.erase(entry);
      }
      entry = next;
    }
  }
}

void ImageLibrary::dropUnasked(Entry& entry, std::uint64_t& bytes) const {
  std::list<Pixels>& scaled = entry.scaled;
  const auto dropScaled = [&](std::list<Pixels>::iterator pixels) {
    if (bytes <= budget_ || entry.isAsked(*pixels)) return std::next(pixels);
    bytes -= pixels->bytes();
    return scaled.erase(pixels);
  };
  // The size used last goes last: who shows it again does without the file.
  const auto last = scaled.empty() ? scaled.end() : std::prev(scaled.end());
  for (auto pixels = scaled.begin(); pixels != last;) pixels = dropScaled(pixels);
  if (bytes > budget_ && entry.content && !entry.isContentAsked()) {
    bytes -= entry.content->bytes();
    entry.content.reset();
  }
  if (last != scaled.end()) dropScaled(last);
}

}  // namespace orv::host
