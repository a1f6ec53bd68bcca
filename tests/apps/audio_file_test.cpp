#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <thread>

#include "apps/audio_format.h"
#include "apps/audio_reader.h"
#include "apps/audio_writer.h"
#include "apps/failure.h"
#include "tests/apps/program.h"

namespace {

const char* const kEndings[] = {"wav", "w64", "rf64", "aiff", "flac", "caf", "au"};

/// What comes out of `path` in uneven blocks, or the reason why not all of it does.
struct Reading {
  std::vector<double> samples;
  std::string complaint;
};

Reading readIn(const std::string& path, int blockFrames = 100) {
  Reading result;
  try {
    AudioReader reader(path);
    std::vector<double> block(static_cast<std::size_t>(blockFrames * reader.channels()));
    while (const int got = reader.read(block.data(), blockFrames)) {
      const auto end = block.begin() + std::ptrdiff_t{got} * reader.channels();
      result.samples.insert(result.samples.end(), block.begin(), end);
    }
  } catch (const Failure& failure) {
    result.complaint = failure.what();
  }
  return result;
}

void write(const std::string& path, const Audio& audio, std::optional<SampleFormat> sample = {}) {
  AudioWriter writer(path, audioFormatFor(path, sample), audio.sampleRate, audio.channels, 0);
  const auto frames = static_cast<int>(audio.samples.size()) / audio.channels;
  writer.write(audio.samples.data(), frames / 3);
  writer.write(audio.samples.data() + frames / 3 * audio.channels, frames - frames / 3);
  writer.commit();
}

/// How chunks stand in a kind of file.
struct Kind {
  int format;
  std::string dataId;
  std::size_t idBytes = 4;
  std::size_t sizeBytes = 4;
  bool isBig = false;
  std::size_t alignment = 2;
  std::size_t extra = 0;  // bytes of the audio's chunk before the samples
};
const Kind kKinds[] = {
    {SF_FORMAT_WAV, "data"},
    {SF_FORMAT_WAV | SF_ENDIAN_BIG, "data", 4, 4, true},
    {SF_FORMAT_RF64, "data"},
    {SF_FORMAT_W64, "data", 16, 8, false, 8},
    {SF_FORMAT_AIFF, "SSND", 4, 4, true, 2, 8},
    {SF_FORMAT_AIFF | SF_ENDIAN_LITTLE, "SSND", 4, 4, true, 2, 8},
    {SF_FORMAT_CAF, "data", 4, 8, true, 1, 4},
    {SF_FORMAT_CAF | SF_ENDIAN_LITTLE, "data", 4, 8, true, 1, 4},
    {SF_FORMAT_AU, ""},
    {SF_FORMAT_AU | SF_ENDIAN_LITTLE, ""},
};

std::string number(std::size_t value, std::size_t count, bool isBig) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i));
  if (isBig) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

/// A chunk that no reader knows, of an odd size but in RF64, where the library takes none.
std::string oddChunk(const Kind& kind) {
  const std::string body = kind.format == SF_FORMAT_RF64 ? "123456" : "12345";
  const bool isW64 = kind.idBytes == 16;
  const std::string id = isW64 ? "odd!\xf3\xac\xd3\x11\x8c\xd1\x01\xc1\x4f\x8e\xdb\x8a" : "odd!";
  std::string chunk =
      id + number(body.size() + (isW64 ? 24 : 0), kind.sizeBytes, kind.isBig) + body;
  chunk.resize((chunk.size() + kind.alignment - 1) / kind.alignment * kind.alignment);
  return chunk;
}

/// Writes `bytes` with odd chunks around its audio, which ends at the returned place.
std::size_t writeWithOddChunks(const std::string& path, std::string bytes, const Kind& kind,
                               std::size_t audioBytes) {
  std::size_t start = 24;  // of an AU file
  if (!kind.dataId.empty()) {
    const std::string odd = oddChunk(kind);
    const std::size_t chunk = bytes.find(kind.dataId);
    start = chunk + kind.idBytes + kind.sizeBytes + kind.extra;
    bytes.resize((start + audioBytes + kind.alignment - 1) / kind.alignment * kind.alignment);
    // The library rounds the size of an AIFF's audio up.
    if (kind.extra == 8) bytes.replace(chunk + 4, 4, number(audioBytes + 8, 4, true));
    bytes = bytes.insert(chunk, odd + odd) + odd;
    start += 2 * odd.size();
    if (kind.sizeBytes == 4) bytes.replace(4, 4, number(bytes.size() - 8, 4, kind.isBig));
  }
  writeBytes(path, bytes);
  return start + audioBytes;
}

TEST(AudioFiles, ofEveryKindAreReadExactlyAmongChunksOfAnySizeAndToldWhenCutShort) {
  const TestDirectory directory;
  const std::string path = directory.path("x");
  const struct {
    int format;
    std::size_t bits;
  } formats[] = {{SF_FORMAT_PCM_S8, 8},  {SF_FORMAT_PCM_U8, 8},  {SF_FORMAT_PCM_16, 16},
                 {SF_FORMAT_PCM_24, 24}, {SF_FORMAT_PCM_32, 32}, {SF_FORMAT_FLOAT, 32},
                 {SF_FORMAT_DOUBLE, 64}};
  int taken = 0;
  for (const Kind& kind : kKinds) {
    for (const auto& format : formats) {
      for (const int channels : {1, 2}) {
        SF_INFO info{};
        info.samplerate = 48000;
        info.channels = channels;
        info.format = kind.format | format.format;
        if (sf_format_check(&info) == 0) continue;
        SCOPED_TRACE(testing::Message() << std::hex << info.format << ", channels " << channels);
        // Every step of the shortest samples, at both ends and between.
        Audio audio{48000, channels, {}};
        for (int i = -128; i < 126 + channels; ++i) audio.samples.push_back(i / 128.0);
        writeAudio(path, audio, info.format);
        const std::size_t audioBytes = audio.samples.size() * format.bits / 8;
        const std::size_t end = writeWithOddChunks(path, readBytes(path), kind, audioBytes);
        EXPECT_EQ(readIn(path).samples, audio.samples) << readIn(path).complaint;
        const std::string promised = std::to_string(audioBytes + kind.extra);
        std::filesystem::resize_file(path, end - 1);
        EXPECT_EQ(readIn(path).complaint,
                  path + ": cut short: its header promises " + promised + " bytes of audio, only " +
                      std::to_string(audioBytes + kind.extra - 1) + " are there");
        ++taken;
      }
    }
  }
  EXPECT_GT(taken, 80);
}

TEST(AudioFiles, comeBackAsTheyWereWrittenWheneverThatWas) {
  const TestDirectory directory;
  const auto begin = std::chrono::steady_clock::now();
  const Audio noise = makeSignal(2000, 2, 44100, 7);
  for (const char* ending : kEndings) write(directory.path(std::string("a.") + ending), noise);
  const struct {
    SampleFormat sample;
    double step;
  } formats[] = {{SampleFormat::kInt16, 1.0 / (1 << 15)}, {SampleFormat::kInt24, 1.0 / (1 << 23)}};
  for (const char* ending : kEndings) {
    SCOPED_TRACE(ending);
    const std::string path = directory.path(std::string("steps.") + ending);
    for (const auto& format : formats) {
      // Every step of a stretch around zero and at both ends.
      Audio audio{44100, 1, {-1.0, -1.0 + format.step, 1.0 - format.step}};
      for (int i = -300; i <= 300; ++i) audio.samples.push_back(i * format.step);
      write(path, audio, format.sample);
      EXPECT_EQ(readAudio(path).samples, audio.samples);
    }
    for (const int frames : {0, 1, 2, 3, 7}) {
      write(path, makeSignal(frames, 1, 44100, 5));
      EXPECT_EQ(readAudio(path).samples.size(), static_cast<std::size_t>(frames));
    }
    const std::string whole = readBytes(directory.path(std::string("a.") + ending));
    for (const std::size_t missing : {std::size_t{8}, whole.size() / 2}) {
      writeBytes(path, whole.substr(0, whole.size() - missing));
      EXPECT_NE(readIn(path).complaint, "") << missing << " bytes missing";
    }
  }
  std::this_thread::sleep_until(begin + std::chrono::milliseconds(1100));  // headers count seconds
  for (const char* ending : kEndings) {
    const std::string path = directory.path(std::string("b.") + ending);
    write(path, noise);
    EXPECT_EQ(readBytes(path), readBytes(directory.path(std::string("a.") + ending))) << path;
  }
}

TEST(AudioFiles, roundToTheNearestStepAndHoldWhatIsBeyond) {
  const TestDirectory directory;
  const std::string path = directory.path("x.wav");
  const double step = 1.0 / 32768.0;
  const Audio beyond{44100, 2, {1.0, 1.5, -1.25, 1e30, 1e-9, -1.0, 0.6 * step, -1.6 * step}};
  AudioWriter writer(path, audioFormatFor(path, SampleFormat::kInt16), 44100, 2, 4);
  writer.write(beyond.samples.data(), 4);
  writer.commit();
  EXPECT_EQ(writer.clippedSamples(), 4);
  const double most = 1.0 - step;
  const std::vector<double> held = {most, most, -1.0, most, 0.0, -1.0, step, -2.0 * step};
  EXPECT_EQ(readAudio(path).samples, held);
}

TEST(AudioFiles, takeTheirNameOnlyWhenTheyAreWhole) {
  const TestDirectory directory;
  const Audio audio = makeSignal(100, 1, 48000, 1);
  const std::string path = directory.path("target.wav");
  writeBytes(path, "what stood there");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  const std::string link = directory.path("link.wav");
  std::filesystem::create_symlink("target.wav", link);
  {
    AudioWriter writer(link, audioFormatFor(link, {}), 48000, 1, 0);
    writer.write(audio.samples.data(), 100);
    EXPECT_EQ(directory.names().size(), 3U);
  }
  EXPECT_EQ(directory.names(), (std::vector<std::string>{"link.wav", "target.wav"}));
  EXPECT_EQ(readBytes(path), "what stood there");
  write(link, audio, SampleFormat::kFloat64);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(readAudio(path).samples, audio.samples);
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all);
  // What is longer than a container can tell is refused before a byte of it is written.
  const std::int64_t sixGiB = (std::int64_t{6} << 30) / 8;
  for (const std::string ending : kEndings) {
    const std::string large = directory.path("large." + ending);
    const auto open = [&] {
      const AudioWriter writer(large, audioFormatFor(large, {}), 48000, 2, sixGiB);
    };
    if (ending == "wav" || ending == "aiff" || ending == "au") {
      EXPECT_THROW(open(), Failure) << ending;
    } else {
      EXPECT_NO_THROW(open()) << ending;
    }
  }
  EXPECT_EQ(directory.names().size(), 2U);
}

}  // namespace
