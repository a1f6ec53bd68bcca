#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

/// Reads an audio file from its start, block by block. Every fault is a `Failure` that names the
/// file.
class AudioReader {
 public:
  /// Opens a regular file of one or two channels that is as long as its header says.
  explicit AudioReader(std::string path);

  /// Fills `interleaved` with up to `frames` frames; fewer, or none, only at the end. Integers
  /// become -1..1; NaN and infinities come as they are. A file that ends before its time is a
  /// fault.
  int read(double* interleaved, int frames);

  [[nodiscard]] const std::string& name() const noexcept { return path; }
  [[nodiscard]] int sampleRate() const noexcept { return info.samplerate; }  ///< Hz
  [[nodiscard]] int channels() const noexcept { return info.channels; }
  /// As the header tells; 0 if it does not. Of a few compressed formats it is an estimate.
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
