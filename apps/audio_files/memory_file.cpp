#include "apps/audio_files/memory_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace {

MemoryFile& fileOf(void* user) noexcept { return *static_cast<MemoryFile*>(user); }

sf_count_t lengthOf(void* user) { return static_cast<sf_count_t>(fileOf(user).bytes.size()); }

sf_count_t seekIn(sf_count_t offset, int whence, void* user) {
  if (whence == SEEK_CUR) offset += fileOf(user).position;
  if (whence == SEEK_END) offset += lengthOf(user);
  return fileOf(user).position = std::max<sf_count_t>(offset, 0);
}

sf_count_t readFrom(void* bytes, sf_count_t count, void* user) {
  MemoryFile& file = fileOf(user);
  const auto size = static_cast<sf_count_t>(file.bytes.size());
  const sf_count_t got = std::clamp<sf_count_t>(size - file.position, 0, count);
  std::copy_n(file.bytes.data() + std::min(file.position, size), got, static_cast<char*>(bytes));
  file.position += got;
  return got;
}

sf_count_t writeTo(const void* bytes, sf_count_t count, void* user) {
  MemoryFile& file = fileOf(user);
  const auto start = static_cast<std::size_t>(file.position);
  const auto size = static_cast<std::size_t>(count);
  file.bytes.resize(std::max(file.bytes.size(), start + size));
  file.bytes.replace(start, size, static_cast<const char*>(bytes), size);
  file.position += count;
  return count;
}

}  // namespace

SF_VIRTUAL_IO MemoryFile::callbacks() noexcept {
  return {lengthOf, seekIn, readFrom, writeTo, [](void* user) { return fileOf(user).position; }};
}
