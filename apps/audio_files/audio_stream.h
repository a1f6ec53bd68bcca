#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>
#include <system_error>

#include "platform/byte_stream.h"

/// The audio of a WAV or W64 stream, read in order. Errors are `Failure`s that name `name`.
class AudioStream {
 public:
  /// Reads to the first sample. `name` is for messages.
  AudioStream(const std::string& path, std::string name);

  /// The stream's head as a file without audio, for what else it tells.
  [[nodiscard]] const std::string& emptyFile() const noexcept { return head; }
  /// Opens the samples, which are of the encoding, rate and channels in `info`; sets its `frames`,
  /// to SF_COUNT_MAX if only the end will tell. Null if the library does not know them.
  [[nodiscard]] SNDFILE* open(SF_INFO& info, int frameBytes);
  /// Throws if reading has failed.
  void check() const;
  /// Reads what follows the audio, so that the writer can end; returns how many bytes that were.
  [[nodiscard]] std::int64_t drain();

 private:
  static constexpr std::int64_t kNoEnd = std::int64_t{1} << 62;

  [[nodiscard]] static SF_VIRTUAL_IO callbacks() noexcept;
  [[nodiscard]] std::size_t read(void* bytes, std::size_t count);

  std::string name;
  ByteStream stream;
  std::string head;
  std::int64_t length = kNoEnd;  // bytes of audio
  std::int64_t position = 0;     // bytes
  std::error_code fault;
};
