#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include "apps/audio_files/audio_format.h"
#include "platform/atomic_file.h"

/// Writes an audio file that gets its name only on `commit`; without that nothing is left. Its
/// bytes depend only on what is written. Every error is a `Failure` that names the file.
class AudioWriter {
 public:
  /// `expectedFrames` (0 if unknown) lets it refuse at once what the container cannot hold.
  AudioWriter(std::string path, const AudioFormat& format, int sampleRate, int channels,
              std::int64_t expectedFrames);
  AudioWriter(const AudioWriter&) = delete;
  AudioWriter& operator=(const AudioWriter&) = delete;

  /// Appends frames; full scale is 1.0. Integer formats round to the nearest step, after
  /// dither if the format asks for it, and clip beyond full scale.
  void write(const double* interleaved, int frames);
  void commit();

  [[nodiscard]] std::int64_t clippedSamples() const noexcept { return clipped; }

 private:
  struct Close {
    void operator()(SNDFILE* handle) const noexcept { sf_close(handle); }
  };
  /// The destination of the library's bytes.
  struct Target {
    AtomicFile file;
    std::int64_t position = 0;
    std::error_code fault;  // the first one
  };

  static SF_VIRTUAL_IO callbacks() noexcept;
  void checkSize(std::int64_t frames) const;
  void checkFault() const;
  [[nodiscard]] double dither();
  [[nodiscard]] sf_count_t writeIntegers(const double* samples, std::size_t count, int bits);

  std::string path;
  AudioFormat format;
  int channels;
  Target target;  // outlives `file`, which writes its header to it when it closes
  std::unique_ptr<SNDFILE, Close> file;
  std::vector<int> integers;
  std::mt19937 random;  // always from the same seed
  std::int64_t framesWritten = 0;
  std::int64_t clipped = 0;
};
