#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "apps/audio_format.h"
#include "apps/audio_reader.h"
#include "apps/audio_writer.h"
#include "apps/failure.h"
#include "tests/apps/test_files.h"

namespace {

const char* const kEndings[] = {"wav", "w64", "rf64", "aiff", "flac", "caf", "au"};

void write(const std::string& path, const Audio& audio, std::optional<SampleFormat> sample = {}) {
  AudioWriter writer(path, audioFormatFor(path, sample), audio.sampleRate, audio.channels, 0);
  const auto frames = static_cast<int>(audio.samples.size()) / audio.channels;
  writer.write(audio.samples.data(), frames / 3);
  writer.write(audio.samples.data() + frames / 3 * audio.channels, frames - frames / 3);
  writer.commit();
}

TEST(AudioFiles, comeBackAsTheyWereWritten) {
  const TestDirectory directory;
  const struct {
    SampleFormat sample;
    double step;
  } formats[] = {{SampleFormat::kInt16, 1.0 / (1 << 15)}, {SampleFormat::kInt24, 1.0 / (1 << 23)}};
  for (const auto& format : formats) {
    // Every step of a stretch around zero and at both ends.
    Audio audio{44100, 1, {-1.0, -1.0 + format.step, 1.0 - format.step}};
    for (int i = -300; i <= 300; ++i) audio.samples.push_back(i * format.step);
    for (const char* ending : kEndings) {
      SCOPED_TRACE(ending);
      const std::string path = directory.path(std::string("steps.") + ending);
      write(path, audio, format.sample);
      EXPECT_EQ(readAudio(path).samples, audio.samples);
    }
  }
  Audio beyond{44100, 2, {1.0, 1.5, -1.25, 1e30, 1e-9, -1.0}};
  const std::string path = directory.path("beyond.wav");
  AudioWriter writer(path, audioFormatFor(path, SampleFormat::kInt16), 44100, 2, 3);
  writer.write(beyond.samples.data(), 3);
  writer.commit();
  EXPECT_EQ(writer.clippedSamples(), 4);
  const double most = 1.0 - 1.0 / 32768.0;
  EXPECT_EQ(readAudio(path).samples, (std::vector<double>{most, most, -1.0, most, 0.0, -1.0}));
}

TEST(AudioFiles, aFewFramesAreNotMoreWhenTheyAreReadAgain) {
  const TestDirectory directory;
  for (const char* ending : kEndings) {
    for (const int frames : {0, 1, 2, 3, 7}) {
      SCOPED_TRACE(testing::Message() << frames << " frames, " << ending);
      const std::string path = directory.path(std::string("short.") + ending);
      write(path, makeSignal(frames, 1, 44100, 5));
      EXPECT_EQ(readAudio(path).samples.size(), static_cast<std::size_t>(frames));
    }
  }
}

TEST(AudioFiles, theMomentOfWritingChangesNoByte) {
  const TestDirectory directory;
  const Audio audio = makeSignal(500, 2, 48000, 7);
  for (const char* ending : kEndings) write(directory.path(std::string("a.") + ending), audio);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // headers count seconds
  for (const char* ending : kEndings) {
    SCOPED_TRACE(ending);
    write(directory.path(std::string("b.") + ending), audio);
    EXPECT_EQ(readBytes(directory.path(std::string("a.") + ending)),
              readBytes(directory.path(std::string("b.") + ending)));
  }
}

TEST(AudioFiles, aFileCutShortIsToldFromAWholeOne) {
  const TestDirectory directory;
  const Audio audio = makeSignal(2000, 2, 48000, 3);
  for (const char* ending : kEndings) {
    SCOPED_TRACE(ending);
    const std::string path = directory.path(std::string("x.") + ending);
    write(path, audio);
    const std::string whole = readBytes(path);
    const auto readAll = [&path] {
      AudioReader reader(path);
      std::vector<double> block(2000);
      int frames = 0;
      while (const int got = reader.read(block.data(), 1000)) frames += got;
      return frames;
    };
    EXPECT_EQ(readAll(), 2000);
    writeBytes(path, whole + std::string(64, 'x'));  // what follows the audio is no fault
    if (std::string(ending) != "flac") {
      EXPECT_EQ(readAll(), 2000);
    }
    for (const std::size_t missing : {std::size_t{8}, whole.size() / 2}) {
      writeBytes(path, whole.substr(0, whole.size() - missing));
      EXPECT_THROW(readAll(), Failure) << missing << " bytes missing";
    }
  }
}

TEST(AudioFiles, nothingIsLeftOfAFileThatIsNotCommitted) {
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
  EXPECT_EQ(directory.names().size(), 2U);
}

TEST(AudioFiles, aContainerIsAskedOnlyForWhatItHolds) {
  EXPECT_EQ(audioFormatFor("x.flac", {}).sample, SampleFormat::kInt24);
  EXPECT_EQ(audioFormatFor("x.WAV", {}).sample, SampleFormat::kFloat32);
  EXPECT_THROW(static_cast<void>(audioFormatFor("wav", {})), WrongArguments);
  const TestDirectory directory;
  const std::int64_t sixGiB = (std::int64_t{6} << 30) / 8;
  for (const char* name : {"long.wav", "long.aiff"}) {
    const std::string path = directory.path(name);
    EXPECT_THROW(AudioWriter(path, audioFormatFor(path, {}), 48000, 2, sixGiB), Failure);
  }
  const std::string path = directory.path("long.w64");
  EXPECT_NO_THROW(AudioWriter(path, audioFormatFor(path, {}), 48000, 2, sixGiB));
  EXPECT_TRUE(directory.names().empty());
}

}  // namespace
