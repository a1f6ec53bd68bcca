#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

/// The size of a file's audio in bytes: as its header says, and as it is.
struct AudioExtent {
  std::uint64_t promised;  ///< by the header
  std::uint64_t present;   ///< from the audio's first byte to the end of the file
};

/// Finds the audio in the headers of RIFF, RF64, W64, AIFF, CAF and AU files. None for other files
/// and if the header leaves the length open. Needed because audio libraries just read what is
/// there, so that a truncated file would pass for a complete one.
[[nodiscard]] std::optional<AudioExtent> audioExtent(std::istream& file);

/// The length in W64 streams whose length is unknown. Larger numbers would suit as well, but some
/// readers fail on them.
inline constexpr std::int64_t kEndlessBytes = std::int64_t{1} << 50;

/// The beginning of a stream.
struct StreamHead {
  std::string bytes;                        ///< up to the first sample
  std::optional<std::uint64_t> audioBytes;  ///< none if only the end of the stream will tell
};
/// Reads the head of a RIFF, RF64 or W64 stream by `read`, which returns as many bytes as it is
/// asked for, or fewer at the end. None for other streams.
[[nodiscard]] std::optional<StreamHead> streamHead(
    const std::function<std::string(std::size_t)>& read);
/// That head as a file of its own that holds no audio: a RIFF or W64 one.
[[nodiscard]] std::string emptyFile(const StreamHead& head);
