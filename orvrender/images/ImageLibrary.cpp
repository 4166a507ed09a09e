#include "orvrender/images/ImageLibrary.h"

#include <tbb/task_arena.h>

#include <algorithm>
#include <exception>
#include <new>
#include <string_view>
#include <utility>

#include "host/orvLog.h"
#include "orvrender/files/ImageError.h"
#include "orvrender/images/resample.h"

namespace orv::host {
namespace {

bool isNameOfGiven(std::string_view name) {
  constexpr std::string_view kStart = "memory:";
  return name.size() > kStart.size() && name.starts_with(kStart);
}

}  // namespace

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
  std::uint64_t sum = content && !given ? content->bytes() : 0;
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
  auto entry = findGiven(path);
  if (entry == entries_.end() && isNameOfGiven(path)) {
    fail(path, "there is no image of that name in memory; give it to the scene first (orv_image_add)");
    return nullptr;
  }
  if (entry == entries_.end() && cached) entry = find(path, profile, stamp, wanted);
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

void ImageLibrary::fail(const std::string& image, const std::string& reason) const {
  orv_critical("%s: %s\n", image.c_str(), reason.c_str());
  failures_.add(image, reason);
}

std::unique_ptr<ImageContent> ImageLibrary::take(const std::string& image,
                                                 const std::function<ReadImage()>& get) const {
  try {
    std::unique_ptr<ImageContent> content;
    // A thread that waits for its rows must not start on work that asks for the lock it holds.
    tbb::this_task_arena::isolate([&] {
      ReadImage got = get();
      if (got.replaced.pixels > 0) {
        orv_critical(
            "%s: %llu of its pixels are not finite; NaN counts as 0 and an infinity as 65504: save it "
            "without them\n",
            image.c_str(), static_cast<unsigned long long>(got.replaced.pixels));
      }
      content = std::make_unique<ImageContent>(std::move(got.pixels));
    });
    return content;
  } catch (const LoopStopped&) {
    // Nobody wants it any more.
  } catch (const ImageError& error) {
    fail(image, error.what());
  } catch (const std::bad_alloc&) {
    fail(image, "there is no memory to read it; close other programs");
  } catch (const std::exception& error) {
    fail(image, std::string("cannot be read (") + error.what() + "); save or copy it again");
  }
  return nullptr;
}

std::unique_ptr<ImageContent> ImageLibrary::read(const std::string& path, orvTexture_profile profile) const {
  return take(path, [&] {
    const Cancel::Scope cancels(cancel_);
    StopCheck::ask();
    return readImage(path, profile, limits_);
  });
}

bool ImageLibrary::add(const std::string& name, const float* rgb, std::uint32_t width, std::uint32_t height) {
  if (!isNameOfGiven(name)) {
    fail(name, "an image from memory needs a name such as memory:studio");
    return false;
  }
  if (!rgb) {
    fail(name, "it has no pixels; give some");
    return false;
  }
  // The copy is made before others wait for the lock.
  std::unique_ptr<ImageContent> content = take(name, [&] { return copyImage(rgb, width, height, limits_); });
  if (!content) return false;
  const std::lock_guard lock(mutex_);
  const ImageHeader header{name, orvTexture_profile::environment, width, height, false};
  const auto added = entries_.insert(entries_.end(), {header, {}, std::move(content), {}, true});
  if (const auto old = findGiven(name); old != entries_.end()) release(old);
  added->given = true;
  return true;
}

bool ImageLibrary::remove(const std::string& name) {
  const std::lock_guard lock(mutex_);
  const auto found = findGiven(name);
  if (found == entries_.end()) return false;
  release(found);
  return true;
}

ImageLibrary::Entries::iterator ImageLibrary::findGiven(const std::string& name) {
  return std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
    return entry.given && entry.shared && entry.header.path == name;
  });
}

void ImageLibrary::release(Entries::iterator given) {
  given->shared = false;
  if (given->users.empty()) entries_.erase(given);
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
  if (discard && !entry->given) entry->shared = false;
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
    entries_.remove_if([](const Entry& entry) { return entry.users.empty() && !entry.given; });
    for (Entry& entry : entries_) {
      if (!entry.given) entry.shared = false;
      if (!entry.given && !entry.isContentAsked()) entry.content.reset();
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
    const Cancel::Scope cancels(cancel_);
    tbb::this_task_arena::isolate([&] { scaled = resample(entry.content->pixels, size.width, size.height); });
    if (scaled.rgb) return &entry.scaled.emplace_back(std::move(scaled));
  } catch (const LoopStopped&) {
    return nullptr;
  } catch (const std::bad_alloc&) {
  }
  fail(entry.header.path, "there is no memory to scale it to " + sizeText(size.width, size.height) +
                              " pixels, so single ones are taken; close other programs");
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
    fail(header.path, "it is " + sizeText(pixels.width, pixels.height) + " pixels now and was " +
                          sizeText(header.width, header.height) + " when it was loaded; load it again");
  } else if (cancel_.isAsked()) {
    // Black for who asks now; whoever comes next has it read.
    return;
  }
  // Black for who has the image, and for nobody else.
  entry.shared = false;
  entry.content.reset();
  Pixels black{header.width, header.height, nullptr, nullptr};
  black.rgb = allocateFloats(3 * black.count());
  if (!black.rgb) return;
  std::fill_n(black.rgb.get(), 3 * black.count(), 0.0f);
  entry.content.reset(new (std::nothrow) ImageContent(std::move(black)));
}

const MipPyramid* ImageLibrary::pyramidFor(const HostImage& image) {
  const std::lock_guard lock(mutex_);
  const Entry& entry = *entryOf(&image);
  if (!entry.content) return nullptr;
  ImageContent& content = *entry.content;
  try {
    if (!content.pyramid) {
      const Cancel::Scope cancels(cancel_);
      tbb::this_task_arena::isolate([&] { content.pyramid = std::make_unique<MipPyramid>(content.pixels); });
    }
  } catch (const LoopStopped&) {
    // It is not looked up any more.
  } catch (const std::bad_alloc&) {
    fail(entry.header.path,
         "there is no memory to filter it, so it is looked up without; close other programs");
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
        if (entry->users.empty() && entry->bytes() == 0 && !entry->given) entries_.erase(entry);
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
  if (bytes > budget_ && entry.content && !entry.given && !entry.isContentAsked()) {
    bytes -= entry.content->bytes();
    entry.content.reset();
  }
  if (last != scaled.end()) dropScaled(last);
}

}  // namespace orv::host
