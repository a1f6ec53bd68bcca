#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "apps/audio_files/audio_format.h"
#include "apps/audio_files/audio_tags.h"
#include "platform/atomic_file.h"
#include "platform/byte_stream.h"

/// Writes an audio file that gets its name only on `commit`; without that nothing is left. Its
/// bytes depend only on what is written. Every error is a `Failure` that names the file.
/// What goes to a stream is gone at once; its header tells the length only if that is known.
class AudioWriter {
 public:
  /// `expectedFrames`, if known, lets it refuse at once what the container cannot hold. A stream
  /// must get as many. `tags` are written as far as the container holds them.
  AudioWriter(std::string path, const AudioFormat& format, int sampleRate, int channels,
              std::optional<std::int64_t> expectedFrames, AudioTags tags = {});
  AudioWriter(const AudioWriter&) = delete;
  AudioWriter& operator=(const AudioWriter&) = delete;

  /// Appends frames; full scale is 1.0. Integer formats round to the nearest step, after
  /// dither if the format asks for it, and clip beyond full scale.
  void write(const double* interleaved, int frames);
  void commit();

  [[nodiscard]] std::int64_t clippedSamples() const noexcept { return clipped; }
  /// Names the tags that the container cannot hold.
  [[nodiscard]] const std::vector<std::string>& lost() const noexcept { return lostNames; }

 private:
  struct Close {
    void operator()(SNDFILE* handle) const noexcept { sf_close(handle); }
  };
  /// The destination of the library's bytes.
  struct Target {
    AtomicFile file;
    ByteStream stream;  // instead
    std::int64_t position = 0;
    std::error_code fault;  // the first one
  };

  static SF_VIRTUAL_IO callbacks() noexcept;
  static SF_VIRTUAL_IO streamCallbacks() noexcept;
  void setUp(SNDFILE* made) const;
  void openFile(SF_INFO info);
  void openStream(SF_INFO info, std::optional<std::int64_t> bytes);
  [[nodiscard]] std::string headOf(SF_INFO info, std::optional<std::int64_t> bytes) const;
  void checkSize(std::int64_t frames) const;
  void checkFault() const;
  [[nodiscard]] double dither();
  [[nodiscard]] sf_count_t writeIntegers(const double* samples, std::size_t count, int bits);

  std::string path;
  const bool isStreamed;
  bool isPadded = false;  // at the end of a stream
  AudioFormat format;
  int channels;
  AudioTags tags;
  std::vector<std::string> lostNames;
  Target target;  // outlives `file`, which writes its header to it when it closes
  std::unique_ptr<SNDFILE, Close> file;
  std::vector<int> integers;
  std::mt19937 random;  // always from the same seed
  std::int64_t framesWritten = 0;
  std::int64_t clipped = 0;
};
