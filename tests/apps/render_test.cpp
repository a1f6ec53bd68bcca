// What the built program does to audio.

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <span>
#include <system_error>
#include <thread>

#include "apps/batch.h"
#include "platform/stop_request.h"
#include "state/json_document.h"
#include "tests/apps/program.h"

namespace {

class Render : public ProgramTest {
 protected:
  /// Renders `in.wav` and returns what came out.
  Audio render(const std::string& options) const {
    const ProgramRun done = run("render --quiet @in.wav @out.wav " + options);
    EXPECT_EQ(done.status, 0) << done.err;
    return done.status == 0 ? readAudio(file("out.wav")) : Audio{};
  }
  JsonTree report(const std::string& options) const {
    JsonTree tree(jsonParse(run("render --json @in.wav @out.wav " + options).out.c_str()));
    EXPECT_NE(tree, nullptr);
    return tree;
  }
  void writeInput(const Audio& audio) { writeAudio(file("in.wav"), audio); }
};

double numberAt(const JsonTree& tree, const char* group, const char* key) {
  const JsonNode* const node = jsonGetObjectItem(jsonGetObjectItem(tree.get(), group), key);
  return node == nullptr ? std::numeric_limits<double>::quiet_NaN() : node->valueDouble;
}

// A new gain is reached in 1000 frames.
constexpr int kRampFrames = 1000;

TEST_F(Render, theInputComesOutBitForBitWithoutBandsAndInItsPlaceBehindALatency) {
  for (const int frames : {0, 1, 7, 5000}) {
    const Audio audio = makeSignal(frames, 1 + frames % 2, 44100, 11);
    writeInput(audio);
    const Audio out = render("--double --format f64 --set kB1State=0");
    EXPECT_EQ(out.sampleRate, 44100);
    EXPECT_EQ(out.channels, audio.channels);
    EXPECT_EQ(out.samples, audio.samples);
    EXPECT_EQ(run("render @in.wav @out.wav").status, 0) << "with a report";
    for (const char* block : {"1", "64", "1535", "100000"}) {
      SCOPED_TRACE(testing::Message() << frames << " frames in blocks of " << block);
      const Audio late = render(std::string("--double --format f64 --block ") + block);
      ASSERT_EQ(late.samples.size(), audio.samples.size());
      for (std::size_t i = 0; i < audio.samples.size(); ++i) {
        ASSERT_NEAR(late.samples[i], audio.samples[i], 1e-12) << i;
      }
    }
  }
}

TEST_F(Render, blocksOfAnySizeGiveTheSameAndSoDoesASecondRun) {
  writeInput(makeSignal(10007, 2, 48000, 12));
  const std::string options =
      "--format f64 --set kIpTrim=-7 --set kB1Threshold=-30 --set kB1Ratio=0.5 --set kWetDry=70 ";
  const Audio expected = render(options + "--block 1024");
  ASSERT_EQ(expected.samples.size(), 2U * 10007U);
  for (const char* block : {"1", "64", "1000", "8192", "100000"}) {
    EXPECT_EQ(render(options + "--block " + block).samples, expected.samples) << block;
  }
  const std::string first = readBytes(file("out.wav"));
  render(options + "--block 100000");
  EXPECT_EQ(readBytes(file("out.wav")), first);
}

TEST_F(Render, settingsApplyInTheOrderOfTheCommandLine) {
  const Audio audio = makeSignal(3000, 1, 48000, 13);
  writeInput(audio);
  const struct {
    const char* options;
    double gainDb;
  } cases[] = {{"--set kIpTrim=-6", -6.0},
               {"--setn kIpTrim=0.25", -12.0},
               {"--set kIpTrim=6 --setn kIpTrim=0.25 --setn kOpTrim=1 --set kOpTrim=3", -9.0},
               {"--setn kIpTrim=0.25 --set kIpTrim=6 --set kOpTrim=3 --setn kOpTrim=0.5", 6.0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.options);
    const Audio out = render(std::string("--double --format f64 --set kB1State=0 ") + c.options);
    ASSERT_EQ(out.samples.size(), audio.samples.size());
    const double gain = std::pow(10.0, c.gainDb * 0.05);
    for (std::size_t i = kRampFrames; i < out.samples.size(); ++i) {
      ASSERT_NEAR(out.samples[i], gain * audio.samples[i], 1e-6) << i;  // 32-bit parameters
    }
  }
}

TEST_F(Render, automationTakesEffectAtTheBlockThatHoldsIt) {
  const Audio audio = makeSignal(6000, 1, 48000, 14);
  writeInput(audio);
  writeBytes(file("moves.csv"), "0.05,kIpTrim,-12\n");  // frame 2400
  const struct {
    int block;
    std::size_t firstChanged;
  } cases[] = {{1, 2400}, {100, 2400}, {1000, 2000}, {4096, 0}};
  for (const auto& c : cases) {
    for (const char* level : {"", " --realtime"}) {
      SCOPED_TRACE(testing::Message() << c.block << level);
      const Audio out = render(
          "--double --format f64 --set kB1State=0 --automation @moves.csv "
          "--block " +
          std::to_string(c.block) + level);
      ASSERT_EQ(out.samples.size(), audio.samples.size());
      std::size_t changed = 0;
      while (changed < 6000 && out.samples[changed] == audio.samples[changed]) ++changed;
      // The ramp's first sample still has the old gain.
      EXPECT_LE(c.firstChanged, changed);
      EXPECT_LE(changed, c.firstChanged + 2);
      EXPECT_NEAR(out.samples[5999], audio.samples[5999] * std::pow(10.0, -0.6), 1e-6);
    }
  }
}

// A live effect puts new filters off by the clock; a render must not depend on it.
TEST_F(Render, automatedFiltersMoveAtOnceLiveAndOffline) {
  writeInput(makeSignal(9600, 2, 48000, 16));
  std::string moves;
  for (int i = 1; i < 40; ++i) {
    moves += std::to_string(i * 0.005) + ",kB1Frequency," + std::to_string(150 * i) + "\n";
  }
  writeBytes(file("moves.csv"), moves);
  const std::string options =
      "--double --format f64 --block 240 --set kB1Type=1 --set kB1Solo=1 --set kB1Bypass=1 ";
  const Audio offline = render(options + "--automation @moves.csv");
  const Audio live = render(options + "--realtime --automation @moves.csv");
  EXPECT_EQ(live.samples, offline.samples);
  EXPECT_NE(live.samples, render(options + "--set kB1Frequency=5850").samples);
}

// The file says where each band is; unlike under a hand, none makes room for another.
TEST_F(Render, automationMovesNothingButWhatItNames) {
  writeInput(makeSignal(4800, 1, 48000, 17));
  const std::string bands =
      "--double --format f64 --set kB1Solo=1 --set kB1Bypass=1 --set kB2State=1 "
      "--set kB2Frequency=2000 --set kBandOrder=0.836735 ";
  writeBytes(file("moves.csv"), "0,kB1Frequency,1900\n");
  const Audio moved = render(bands + "--automation @moves.csv");
  EXPECT_EQ(moved.samples, render(bands + "--set kB1Frequency=1900").samples);
}

TEST_F(Render, whatIsNoNumberComesOutAsZero) {
  Audio audio = makeSignal(48000, 2, 48000, 15);
  std::vector<double> expected = audio.samples;
  const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                        std::numeric_limits<double>::infinity(),
                        -std::numeric_limits<double>::infinity()};
  for (std::size_t i = 0; i < 300; ++i) {
    audio.samples[i * 13] = odd[i % 3];
    expected[i * 13] = 0.0;
  }
  writeInput(audio);
  EXPECT_EQ(render("--double --format f64 --set kB1State=0").samples, expected);
  const JsonTree tree = report("--set kB1State=0");
  EXPECT_EQ(jsonGetArraySize(jsonGetObjectItem(tree.get(), "warnings")), 1);
  for (const char* group : {"loudnessLufs", "truePeakDbtp"}) {
    EXPECT_NEAR(numberAt(tree, group, "before"), numberAt(tree, group, "after"), 1e-3) << group;
  }
}

TEST_F(Render, aSidechainOfAnyLengthAndBothChannelCountsIsTaken) {
  const Audio audio = makeSignal(3000, 2, 48000, 16);
  for (const int channels : {1, 2}) {
    writeInput(makeSignal(3000, channels, 48000, 16));
    for (const int sideChannels : {1, 2}) {
      for (const int frames : {0, 100, 9000}) {
        SCOPED_TRACE(testing::Message() << channels << sideChannels << ", " << frames << " frames");
        writeAudio(file("side.wav"), makeSignal(frames, sideChannels, 48000, 17));
        const Audio out = render("--sidechain @side.wav --set kB1SCSrc=2");
        EXPECT_EQ(out.samples.size(), static_cast<std::size_t>(3000 * channels));
      }
    }
  }
}

TEST_F(Render, loudnessIsMatched) {
  writeInput(makeSignal(96000, 2, 48000, 18));
  for (const char* options : {"--set kIpTrim=-9", "--set kIpTrim=5 --set kOpTrim=-20",
                              "--set kIpTrim=-7 --set kWetDry=50"}) {
    SCOPED_TRACE(options);
    const JsonTree tree = report(std::string("--match-loudness ") + options);
    const double before = numberAt(tree, "loudnessLufs", "before");
    EXPECT_NEAR(numberAt(tree, "loudnessLufs", "after"), before, 0.05);
    EXPECT_NE(numberAt(tree, "outputTrimDb", "after"), numberAt(tree, "outputTrimDb", "before"));
  }
  const JsonTree outOfReach = report("--match-loudness --set kIpTrim=-24 --set kWetDry=10");
  EXPECT_EQ(numberAt(outOfReach, "outputTrimDb", "after"), 24.0);
  EXPECT_EQ(jsonGetArraySize(jsonGetObjectItem(outOfReach.get(), "warnings")), 1);
}

TEST_F(Render, autoGainSetsTheTrimWhileItRenders) {
  writeInput(makeSignal(96000, 2, 48000, 19));
  const JsonTree tree = report("--set kAutoGain=1 --set kOpTrim=9");
  EXPECT_EQ(numberAt(tree, "outputTrimDb", "before"), 9.0);
  EXPECT_NEAR(numberAt(tree, "outputTrimDb", "after"), 0.0, 0.01);
}

TEST_F(Render, autoGainMeasuresForASecondOfTheFilesOwnRate) {
  const Audio audio = makeSignal(144000, 1, 96000, 20);
  writeInput(audio);
  const Audio out =
      render("--double --format f64 --set kAutoGain=1 --set kOpTrim=9 --set kB1State=0");
  ASSERT_EQ(out.samples.size(), audio.samples.size());
  EXPECT_NEAR(out.samples[95999], audio.samples[95999] * std::pow(10.0, 0.45), 1e-6);
  EXPECT_NEAR(out.samples[143999], audio.samples[143999], 1e-6);
}

TEST_F(Render, aBatchRendersEveryFileAsItAloneAndTellsOfThoseThatFail) {
  std::string inputs;
  for (const unsigned seed : {1U, 2U, 3U, 4U, 5U}) {
    const std::string name = std::to_string(seed) + ".wav";
    writeAudio(file(name), makeSignal(4000 * static_cast<int>(seed), 2, 48000, seed));
    inputs += "@" + name + " ";
  }
  writeBytes(file("text.wav"), "no audio");
  const std::string options = " --set kIpTrim=-3";
  const ProgramRun batch =
      run("render --jobs 3 --out-dir @done " + inputs + "@text.wav @none.wav" + options);
  EXPECT_EQ(batch.status, 1);
  EXPECT_EQ(lineCount(batch.err), 2) << batch.err;
  EXPECT_EQ(lineCount(batch.out), 7) << batch.out;  // heading, five files, sum
  for (int seed = 1; seed <= 5; ++seed) {
    const std::string name = std::to_string(seed) + ".wav";
    EXPECT_EQ(run("render @" + name + " @alone.wav" + options).status, 0);
    EXPECT_EQ(readBytes(file("done/" + name)), readBytes(file("alone.wav")));
  }
  EXPECT_FALSE(std::filesystem::exists(file("done/text.wav")));
}

TEST_F(Render, aBatchThatGetsNoThreadGoesOnAlone) {
  std::vector<RenderItem> items;
  for (const std::string name : {"1.wav", "2.wav", "3.wav"}) {
    writeAudio(file(name), makeSignal(4000, 2, 48000, 1));
    items.push_back({file(name), file("done" + name)});
  }
  // A stack that no address space holds.
  pthread_attr_t usual;
  pthread_attr_t boundless;
  ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
  ASSERT_EQ(pthread_getattr_default_np(&boundless), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&boundless, std::size_t{1} << 50), 0);
  ASSERT_EQ(pthread_setattr_default_np(&boundless), 0);
  EXPECT_THROW(std::thread([] {}).join(), std::system_error);
  ProgressBar progress(false);
  for (const RenderOutcome& outcome : renderAll(items, {}, 3, progress)) {
    EXPECT_TRUE(outcome.report.has_value()) << outcome.failure;
  }
  pthread_setattr_default_np(&usual);
  const auto stopped = [&] {
    catchStopRequests();
    ::raise(SIGTERM);
    static_cast<void>(renderAll(std::span(items).first(1), {}, 1, progress));
    std::exit(0);
  };
  EXPECT_EXIT(stopped(), testing::ExitedWithCode(0), "interrupted") << "the only file has its line";
}

}  // namespace
