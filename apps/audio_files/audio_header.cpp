#include "apps/audio_files/audio_header.h"

#include <array>
#include <istream>
#include <string>
#include <string_view>

namespace {

/// The layout of chunks in a kind of file.
struct Layout {
  std::string_view magic;
  std::string_view dataId;
  unsigned firstChunk;  // offset
  unsigned idBytes;
  unsigned sizeBytes;
  bool bigEndian;
  bool sizeCountsHeader;
  unsigned alignment;
};
constexpr std::array<Layout, 6> kLayouts = {{
    {"RIFF", "data", 12, 4, 4, false, false, 2},
    {"RIFX", "data", 12, 4, 4, true, false, 2},
    {"RF64", "data", 12, 4, 4, false, false, 2},
    {"FORM", "SSND", 12, 4, 4, true, false, 2},
    {"caff", "data", 8, 4, 8, true, false, 1},
    {"riff", "data", 40, 16, 8, false, true, 8},
}};

std::string bytesAt(std::istream& file, std::uint64_t offset, unsigned count) {
  std::string bytes(count, '\0');
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(bytes.data(), count);
  if (file.gcount() != static_cast<std::streamsize>(count)) bytes.clear();
  return bytes;
}

std::uint64_t number(std::string_view bytes, bool bigEndian) {
  std::uint64_t result = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char byte = bytes[bigEndian ? i : bytes.size() - 1 - i];
    result = result << 8 | static_cast<unsigned char>(byte);
  }
  return result;
}

/// Lengths that mean "unknown", as written by programs that write to a pipe.
bool isOpenEnded(std::uint64_t size, unsigned sizeBytes) {
  if (sizeBytes == 8) return size == ~std::uint64_t{0};
  return size == 0xFFFFFFFFU || size == 0x7FFFF000U;
}

std::optional<AudioExtent> extentFrom(std::uint64_t promised, std::uint64_t start,
                                      std::uint64_t fileSize) {
  return AudioExtent{promised, fileSize > start ? fileSize - start : 0};
}

std::optional<AudioExtent> walkChunks(std::istream& file, const Layout& layout,
                                      std::uint64_t fileSize) {
  const unsigned headerBytes = layout.idBytes + layout.sizeBytes;
  std::uint64_t longDataSize = ~std::uint64_t{0};  // of an RF64 file
  std::uint64_t chunk = layout.firstChunk;
  while (chunk + headerBytes <= fileSize) {
    const std::string header = bytesAt(file, chunk, headerBytes);
    if (header.empty()) return std::nullopt;
    std::uint64_t size = number(std::string_view(header).substr(layout.idBytes), layout.bigEndian);
    const std::uint64_t start = chunk + headerBytes;
    if (header.starts_with("ds64")) {
      const std::string sizes = bytesAt(file, start + 8, 8);
      if (!sizes.empty()) longDataSize = number(sizes, false);
    }
    const bool isOpen = isOpenEnded(size, layout.sizeBytes);
    if (layout.sizeCountsHeader) size = size > headerBytes ? size - headerBytes : 0;
    if (header.starts_with(layout.dataId)) {
      if (!isOpen) return extentFrom(size, start, fileSize);
      if (longDataSize == ~std::uint64_t{0}) return std::nullopt;
      return extentFrom(longDataSize, start, fileSize);
    }
    if (size > fileSize) return std::nullopt;
    const std::uint64_t end = start + size;
    chunk = (end + layout.alignment - 1) / layout.alignment * layout.alignment;
  }
  return std::nullopt;
}

}  // namespace

std::optional<AudioExtent> audioExtent(std::istream& file) {
  file.seekg(0, std::ios::end);
  const std::streamoff end = file.tellg();
  if (end < 0) return std::nullopt;
  const auto fileSize = static_cast<std::uint64_t>(end);
  const std::string head = bytesAt(file, 0, 12);
  const bool isBigAu = head.starts_with(".snd");
  if (isBigAu || head.starts_with("dns.")) {
    const std::uint64_t size = number(std::string_view(head).substr(8, 4), isBigAu);
    if (isOpenEnded(size, 4)) return std::nullopt;
    return extentFrom(size, number(std::string_view(head).substr(4, 4), isBigAu), fileSize);
  }
  for (const Layout& layout : kLayouts) {
    if (head.starts_with(layout.magic)) return walkChunks(file, layout, fileSize);
  }
  return std::nullopt;
}
