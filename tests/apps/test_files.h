#pragma once

#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// A directory of its own for the files of one test, gone with it.
class TestDirectory {
 public:
  TestDirectory();
  ~TestDirectory();
  TestDirectory(const TestDirectory&) = delete;
  TestDirectory& operator=(const TestDirectory&) = delete;

  [[nodiscard]] std::string path(const std::string& name) const { return (root / name).string(); }
  /// Names of everything in it, sorted, hidden files too.
  [[nodiscard]] std::vector<std::string> names() const;

 private:
  std::filesystem::path root;
};

/// Interleaved samples with what a file says about them.
struct Audio {
  int sampleRate = 48000;
  int channels = 2;
  std::vector<double> samples;
};

void writeAudio(const std::string& path, const Audio& audio,
                int format = SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
[[nodiscard]] Audio readAudio(const std::string& path);

/// A tone with noise, the same for the same seed; within -0.5..0.5.
[[nodiscard]] Audio makeSignal(int frames, int channels, int sampleRate, unsigned seed);

void writeBytes(const std::string& path, const std::string& bytes);
[[nodiscard]] std::string readBytes(const std::string& path);
