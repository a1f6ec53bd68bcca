#include "tests/apps/test_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

void writeAudio(const std::string& path, const Audio& audio, int format) {
  SF_INFO info{};
  info.samplerate = audio.sampleRate;
  info.channels = audio.channels;
  info.format = format;
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
  const auto count = static_cast<sf_count_t>(audio.samples.size());
  const int samples = format & SF_FORMAT_SUBMASK;
  if (samples == SF_FORMAT_FLOAT || samples == SF_FORMAT_DOUBLE) {
    EXPECT_EQ(sf_write_double(file, audio.samples.data(), count), count);
  } else {
    // The library scales doubles by a step less than full scale; whole numbers stay as they are.
    std::vector<int> steps;
    for (const double x : audio.samples) {
      steps.push_back(static_cast<int>(std::clamp(x * 0x1p31, -0x1p31, 0x1p31 - 1.0)));
    }
    EXPECT_EQ(sf_write_int(file, steps.data(), count), count);
  }
  sf_close(file);
}

Audio readAudio(const std::string& path) {
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  EXPECT_NE(file, nullptr) << path << ": " << sf_strerror(nullptr);
  if (file == nullptr) return {};
  Audio audio{info.samplerate, info.channels, {}};
  // Not by the header, which does not always know.
  std::vector<double> block(4096);
  while (const sf_count_t got = sf_read_double(file, block.data(), 4096)) {
    audio.samples.insert(audio.samples.end(), block.begin(), block.begin() + got);
  }
  sf_close(file);
  return audio;
}

Audio makeSignal(int frames, int channels, int sampleRate, unsigned seed) {
  std::mt19937 random(seed);
  Audio audio{sampleRate, channels, {}};
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      const double noise = static_cast<double>(random()) / 4294967296.0 - 0.5;
      audio.samples.push_back(0.3 * std::sin(0.05 * (c + 1) * i) + 0.3 * noise);
    }
  }
  return audio;
}
