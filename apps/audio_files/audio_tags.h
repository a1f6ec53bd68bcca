#pragma once

#include <sndfile.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What a file tells of its audio besides the samples, but for the name of the program that wrote
/// it.
struct AudioTags {
  // The longest that the library writes.
  using Broadcast = SF_BROADCAST_INFO_VAR(15 << 10);

  std::vector<std::pair<int, std::string>> texts;  ///< by the library's number
  std::optional<Broadcast> broadcast;              ///< description and timecode of a BWF file
  std::vector<std::string> unread;                 ///< names of what the library does not read

  /// Moves the timecode for a file that begins `frames` earlier; not before midnight.
  void beginEarlier(std::int64_t frames) noexcept;
};

[[nodiscard]] AudioTags readTags(SNDFILE* file);
/// Call before anything else is written. What the container cannot hold is left out.
void writeTags(SNDFILE* file, const AudioTags& tags);
/// Names what a file of the format `info` would not give back, for people.
[[nodiscard]] std::vector<std::string> lostTags(SF_INFO info, const AudioTags& tags);
