#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

#include "tests/support/test_directory.h"

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
