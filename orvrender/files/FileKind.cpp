#include "orvrender/files/FileKind.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

#include "orvrender/files/ImageError.h"

namespace orv::host {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view bytes;
  FileKind kind;
};

constexpr Signature kSignatures[] = {
    {"\x76\x2F\x31\x01"sv, FileKind::openexr},
    {"#?RADIANCE"sv, FileKind::radiance},
    {"#?RGBE"sv, FileKind::radiance},
    {"II\x2A\0"sv, FileKind::tiff},
    {"MM\0\x2A"sv, FileKind::tiff},
    {"II\x2B\0"sv, FileKind::tiff},
    {"MM\0\x2B"sv, FileKind::tiff},
    {"\x89PNG\r\n\x1A\n"sv, FileKind::png},
    {"\xFF\xD8\xFF"sv, FileKind::jpeg},
};

struct CloseFile {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

bool isSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

}  // namespace

FileKindNames namesOf(FileKind kind) {
  switch (kind) {
    case FileKind::openexr:
      return {"OpenEXR", "openexr"};
    case FileKind::radiance:
      return {"Radiance HDR", "hdr"};
    case FileKind::pfm:
      return {"PFM", "pnm"};
    case FileKind::tiff:
      return {"TIFF", "tiff"};
    case FileKind::png:
      return {"PNG", "png"};
    case FileKind::jpeg:
      break;
  }
  return {"JPEG", "jpeg"};
}

std::optional<FileKind> kindOf(std::span<const unsigned char> firstBytes) {
  const std::string_view text(reinterpret_cast<const char*>(firstBytes.data()), firstBytes.size());
  for (const Signature& signature : kSignatures) {
    if (text.starts_with(signature.bytes)) return signature.kind;
  }
  const bool isFloatMap = text.starts_with("PF") || text.starts_with("Pf");
  if (isFloatMap && firstBytes.size() > 2 && isSpace(firstBytes[2])) return FileKind::pfm;
  return std::nullopt;
}

FileFacts inspectFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) throw ImageError("there is no such file; check the path");
    throw ImageError(std::string("cannot be reached (") + std::strerror(errno) +
                     "); check the path and its rights");
  }
  if (S_ISDIR(status.st_mode)) throw ImageError("is a folder; give an image file");
  if (!S_ISREG(status.st_mode)) throw ImageError("is not a regular file; give an image file");
  if (status.st_size == 0) throw ImageError("is empty (0 bytes); save or copy it again");

  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    throw ImageError(std::string("cannot be opened (") + std::strerror(errno) + "); check its rights");
  }
  std::array<unsigned char, kFirstBytes> first{};
  const std::size_t got = std::fread(first.data(), 1, first.size(), file.get());
  const std::optional<FileKind> kind = kindOf({first.data(), got});
  if (!kind) {
    throw ImageError(
        "its first bytes name none of OpenEXR, Radiance HDR, PFM, TIFF, PNG and JPEG; convert it to one of "
        "them");
  }
  return {*kind, static_cast<std::size_t>(status.st_size)};
}

bool holdsXyz(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  // The header ends with an empty line; one of a picture is short.
  constexpr int kMostLines = 1000;
  std::string line;
  for (int i = 0; i < kMostLines && std::getline(file, line) && !line.empty(); ++i)
    if (line.starts_with("FORMAT=") && line.find("xyze") != std::string::npos) return true;
  return false;
}

}  // namespace orv::host
