#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

/// Reads an audio file from its start, block by block. Every error is a `Failure` that names the
/// file.
class AudioReader {
 public:
  /// Opens a regular file of one or two channels that is as long as its header says.
  explicit AudioReader(std::string path);

  /// Reads up to `frames` frames into `interleaved` and returns their number: fewer, or none, only
  /// at the end. Integers are scaled to -1..1; NaN and infinities are passed on. A file that ends
  /// too early is an error.
  int read(double* interleaved, int frames);

  [[nodiscard]] const std::string& name() const noexcept { return path; }
  [[nodiscard]] int sampleRate() const noexcept { return info.samplerate; }  ///< Hz
  [[nodiscard]] int channels() const noexcept { return info.channels; }
  /// Number of frames by the header; 0 if unknown, an estimate for a few compressed formats.
  [[nodiscard]] std::int64_t frames() const noexcept;

 private:
  struct Close {
    void operator()(SNDFILE* handle) const noexcept { sf_close(handle); }
  };

  void checkKind() const;
  void checkLength();
  [[nodiscard]] bool lengthIsExact() const noexcept;

  std::string path;
  SF_INFO info{};
  std::unique_ptr<SNDFILE, Close> file;
  std::int64_t framesRead = 0;
};
