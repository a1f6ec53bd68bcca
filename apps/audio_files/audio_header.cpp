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

/// Gives the bytes at an offset; nothing if they are not all there.
using ByteSource = std::function<std::string(std::uint64_t offset, std::size_t count)>;

std::string bytesAt(std::istream& file, std::uint64_t offset, std::size_t count) {
  std::string bytes(count, '\0');
  file.clear();
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(bytes.data(), static_cast<std::streamsize>(count));
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

/// Where the audio lies.
struct AudioPlace {
  std::uint64_t start;
  std::optional<std::uint64_t> bytes;  // none if the header leaves it open
};

AudioExtent extentFrom(std::uint64_t promised, std::uint64_t start, std::uint64_t fileSize) {
  return {promised, fileSize > start ? fileSize - start : 0};
}

std::optional<AudioPlace> walkChunks(const ByteSource& source, const Layout& layout,
                                     std::uint64_t fileSize) {
  const unsigned headerBytes = layout.idBytes + layout.sizeBytes;
  std::uint64_t longDataSize = ~std::uint64_t{0};  // of an RF64 file
  std::uint64_t chunk = layout.firstChunk;
  while (chunk + headerBytes <= fileSize) {
    const std::string header = source(chunk, headerBytes);
    if (header.empty()) return std::nullopt;
    std::uint64_t size = number(std::string_view(header).substr(layout.idBytes), layout.bigEndian);
    const std::uint64_t start = chunk + headerBytes;
    if (header.starts_with("ds64")) {
      const std::string sizes = source(start + 8, 8);
      if (!sizes.empty()) longDataSize = number(sizes, false);
    }
    const bool isOpen = isOpenEnded(size, layout.sizeBytes);
    if (layout.sizeCountsHeader) size = size > headerBytes ? size - headerBytes : 0;
    if (header.starts_with(layout.dataId)) {
      if (!isOpen) return AudioPlace{start, size};
      if (longDataSize == ~std::uint64_t{0}) return AudioPlace{start, std::nullopt};
      return AudioPlace{start, longDataSize};
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
    if (!head.starts_with(layout.magic)) continue;
    const auto source = [&file](auto offset, auto count) { return bytesAt(file, offset, count); };
    const auto place = walkChunks(source, layout, fileSize);
    if (!place || !place->bytes) return std::nullopt;
    return extentFrom(*place->bytes, place->start, fileSize);
  }
  return std::nullopt;
}

std::optional<StreamHead> streamHead(const std::function<std::string(std::size_t)>& read) {
  constexpr std::uint64_t kLongestHead = std::uint64_t{64} << 20;
  StreamHead head;
  const auto source = [&](std::uint64_t offset, std::size_t count) {
    const std::uint64_t end = offset + count;
    if (end > head.bytes.size() && end <= kLongestHead) head.bytes += read(end - head.bytes.size());
    return end <= head.bytes.size() ? head.bytes.substr(offset, count) : std::string();
  };
  const std::string magic = source(0, 4);
  for (const Layout& layout : kLayouts) {
    const bool isStreamed = !layout.bigEndian && !magic.empty() && layout.magic == magic;
    if (!isStreamed) continue;
    const auto place = walkChunks(source, layout, kLongestHead);
    if (!place) return std::nullopt;
    // Writers that cannot go back leave 0 or a length that is not to be reached.
    const std::uint64_t least = magic == "RIFF" ? 0x7FFFF000U : std::uint64_t{kEndlessBytes};
    const std::uint64_t told = place->bytes.value_or(0);
    const bool isTold = told > 0 && told < least;
    if (isTold) head.audioBytes = told;
    return head;
  }
  return std::nullopt;
}

std::string emptyFile(const StreamHead& head) {
  std::string file = head.bytes;
  if (file.starts_with("riff")) {
    file.replace(file.size() - 8, 8, std::string("\x18\0\0\0\0\0\0\0", 8));  // its own size
    return file;
  }
  file.replace(0, 4, "RIFF");
  if (const std::size_t sizes = file.find("ds64"); sizes == 12) file.replace(sizes, 4, "JUNK");
  file.replace(file.size() - 4, 4, 4, '\0');
  return file;
}
