#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

/// What a file says about the bytes its audio takes, and what there is of them.
struct AudioExtent {
  std::uint64_t promised;
  std::uint64_t present;  ///< from the audio's first byte to the file's end
};

/// Looks the audio up in the headers of RIFF, RF64, W64, AIFF, CAF and AU files. Empty for all
/// others, and where the writer left the length open. Readers of audio go by the bytes that are
/// there, so that a file cut short would pass for a whole one.
[[nodiscard]] std::optional<AudioExtent> audioExtent(std::istream& file);
