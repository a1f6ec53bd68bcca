#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>

/// A file in memory for the audio library.
struct MemoryFile {
  std::string bytes;
  std::int64_t position = 0;

  /// The library's calls for it; their user pointer is the `MemoryFile`.
  [[nodiscard]] static SF_VIRTUAL_IO callbacks() noexcept;
};
