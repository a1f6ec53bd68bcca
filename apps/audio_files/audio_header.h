#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

/// The size of a file's audio in bytes: as its header says, and as it is.
struct AudioExtent {
  std::uint64_t promised;  ///< by the header
  std::uint64_t present;   ///< from the audio's first byte to the end of the file
};

/// Finds the audio in the headers of RIFF, RF64, W64, AIFF, CAF and AU files. None for other files
/// and if the header leaves the length open. Needed because audio libraries just read what is
/// there, so that a truncated file would pass for a complete one.
[[nodiscard]] std::optional<AudioExtent> audioExtent(std::istream& file);
