#pragma once

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>

#include "apps/audio_files/audio_stream.h"
#include "apps/audio_files/audio_tags.h"

/// Reads an audio file from its start, block by block. Every error is a `Failure` that names the
/// file.
class AudioReader {
 public:
  /// Opens a regular file of one or two channels that is as long as its header says, or a stream.
  explicit AudioReader(std::string path);

  /// Reads up to `frames` frames into `interleaved` and returns their number: fewer, or none, only
  /// at the end. Integers are scaled to -1..1; NaN and infinities are passed on. A file that ends
  /// too early is an error.
  int read(double* interleaved, int frames);

  [[nodiscard]] const std::string& name() const noexcept { return path; }
  [[nodiscard]] int sampleRate() const noexcept { return info.samplerate; }  ///< Hz
  [[nodiscard]] int channels() const noexcept { return info.channels; }
  /// Number of frames by the header; 0 if unknown, an estimate unless `lengthIsExact`.
  [[nodiscard]] std::int64_t frames() const noexcept;
  [[nodiscard]] bool lengthIsExact() const noexcept;
  [[nodiscard]] const AudioTags& tags() const noexcept { return ownTags; }
  /// After the end: how many bytes of a stream follow its audio, unread.
  [[nodiscard]] std::int64_t bytesBehind() const noexcept { return behind; }

 private:
  struct Close {
    void operator()(SNDFILE* handle) const noexcept { sf_close(handle); }
  };

  void checkKind() const;
  void checkLength();
  void openFile();
  void openStream(const std::string& source);

  std::string path;
  SF_INFO info{};
  std::unique_ptr<AudioStream> stream;  // outlives `file`, which reads from it; null for a file
  std::unique_ptr<SNDFILE, Close> file;
  std::int64_t framesRead = 0;
  std::int64_t behind = 0;  // bytes
  AudioTags ownTags;
};
