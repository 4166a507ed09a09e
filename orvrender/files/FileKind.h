#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace orv::host {

/// The image files that the host reads.
enum class FileKind { openexr, radiance, pfm, tiff, png, jpeg };

/// What a file of a kind is called, and the reader of OpenImageIO that opens it.
struct FileKindNames {
  const char* title;
  const char* reader;
};

/// How many of a file's first bytes tell its kind.
inline constexpr std::size_t kFirstBytes = 16;

FileKindNames namesOf(FileKind kind);

/// The kind that a file's first bytes name, whatever the file is called; none for any other file.
std::optional<FileKind> kindOf(std::span<const unsigned char> firstBytes);

/// What a regular file is: its kind and its size. Throws ImageError when there is none that the host reads.
struct FileFacts {
  FileKind kind;
  std::size_t bytes;
};
FileFacts inspectFile(const std::string& path);

/// Whether the header of the Radiance file says that its pixels are CIE XYZ.
bool holdsXyz(const std::string& path);

}  // namespace orv::host
