#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

/// Makes broken pictures out of whole ones.
namespace sweeps {

struct BrokenPicture {
  std::string name;  ///< the whole one's, how it was broken and a number
  std::string bytes;
};

/// Breaks a whole picture in the `number`-th way; the same for the same number.
inline BrokenPicture broken(const std::string& name, const std::string& whole, unsigned number) {
  std::mt19937 random(number * 2654435761u + static_cast<unsigned>(whole.size()));
  std::string bytes = whole;
  const auto below = [&](std::size_t n) { return n == 0 ? 0 : static_cast<std::size_t>(random() % n); };
  // Headers decide what is asked of memory: half of all changes hit the first bytes.
  const auto place = [&] {
    return below(random() % 2 ? bytes.size() : std::min<std::size_t>(bytes.size(), 256));
  };
  const auto put = [&](std::size_t at, std::size_t count, std::uint32_t value) {
    for (std::size_t i = 0; i < count && at + i < bytes.size(); ++i)
      bytes[at + i] = static_cast<char>(value >> (8 * i));
  };
  const char* how = "";
  switch (number % 8) {
    case 0:
      how = "cut";
      bytes.resize(below(bytes.size()));
      break;
    case 1:
      how = "cut in the header";
      bytes.resize(below(std::min<std::size_t>(bytes.size(), 400)));
      break;
    case 2:
      how = "flipped bits";
      for (std::size_t i = 1 + below(8); i > 0; --i) bytes[place()] ^= static_cast<char>(1u << below(8));
      break;
    case 3: {
      how = "extreme number";
      constexpr std::uint32_t kExtremes[] = {0,       1,       0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u,
                                             0xFFFFu, 0x7FFFu, 0x00010000u, 0x00FFFFFFu, 0x40000000u};
      put(place(), 1 + below(4), kExtremes[below(std::size(kExtremes))]);
      break;
    }
    case 4: {
      how = "digits";
      // Text headers: another number where one stands.
      for (std::size_t i = 0; i < std::min<std::size_t>(bytes.size(), 256); ++i)
        if (bytes[i] >= '0' && bytes[i] <= '9' && below(3) == 0)
          bytes[i] = static_cast<char>('0' + below(10));
      bytes[place()] = '9';
      break;
    }
    case 5: {
      how = "block moved";
      const std::size_t count = below(bytes.size() / 2);
      const std::size_t from = below(bytes.size() - count);
      const std::string block = bytes.substr(from, count);
      bytes.insert(place(), block);
      break;
    }
    case 6: {
      how = "hole";
      const std::size_t at = place();
      const auto count = static_cast<std::ptrdiff_t>(below(bytes.size() - at));
      std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, static_cast<char>(random()));
      break;
    }
    default:
      how = "bytes missing";
      bytes.erase(place(), 1 + below(32));
  }
  return {name + ", " + how + ", " + std::to_string(number), std::move(bytes)};
}

/// `count` broken pictures out of the files in `folder`, turn about.
inline std::vector<BrokenPicture> brokenPictures(const std::string& folder, unsigned count) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  std::vector<BrokenPicture> pictures;
  for (unsigned i = 0; i < count && !paths.empty(); ++i) {
    // Rounds of the files and of the ways to break them must not keep step.
    const std::filesystem::path& path = paths[i % paths.size()];
    std::ifstream file(path, std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    pictures.push_back(broken(path.filename().string(), whole, i + i / static_cast<unsigned>(paths.size())));
  }
  return pictures;
}

}  // namespace sweeps
