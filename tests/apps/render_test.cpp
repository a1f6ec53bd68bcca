// What the built program does to audio, against the engine fed by hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "core/parameter_table.h"
#include "core/plug.h"
#include "platform/clock.h"
#include "state/json_document.h"
#include "state/machine.h"
#include "tests/apps/program.h"

namespace {

/// A member of the report, by its path: "loudnessLufs/before".
const JsonNode* at(const JsonTree& tree, const std::string& path) {
  const JsonNode* node = tree.get();
  std::istringstream keys(path);
  for (std::string key; std::getline(keys, key, '/');) {
    node = jsonIsType(node, kJsonArray) ? jsonGetArrayItem(node, std::stoi(key))
                                        : jsonGetObjectItem(node, key.c_str());
  }
  return node;
}

double numberAt(const JsonTree& tree, const std::string& path) {
  const JsonNode* const node = at(tree, path);
  return node == nullptr ? std::numeric_limits<double>::quiet_NaN() : node->valueDouble;
}

class Render : public ProgramTest {
 protected:
  /// Renders in.wav with a report.
  JsonTree render(const std::string& options, const std::string& out = "out.wav") const {
    JsonTree tree(jsonParse(run("render --json @in.wav @" + out + " " + options).out.c_str()));
    EXPECT_NE(tree, nullptr) << options;
    return tree;
  }
};

/// What moves.csv plays.
struct Move {
  double seconds;
  std::int32_t parameter;
  float plain;
};
constexpr Move kMoves[] = {
    {0.0, kWetDry, 90.0F},         {0.017625, kIpTrim, -10.0F},
    {0.05, kB1Frequency, 1900.0F}, {0.0875, bandParameterId(1, kB1Gain), -6.0F},
    {0.1, kOpTrim, -9.0F},         {0.1, kOpTrim, 3.0F}};

/// A line of renders.txt.
struct Row {
  int rate = 0;
  int channels = 0;
  int sideChannels = 0;
  int sideFrames = 0;
  int block = 0;
  bool moves = false;
  std::string output;
  std::string step;
  std::string options;
};

std::istream& operator>>(std::istream& line, Row& row) {
  line >> row.rate >> row.channels >> row.sideChannels >> row.sideFrames >> row.block >>
      row.moves >> row.output >> row.step;
  return std::getline(line, row.options);
}

/// Renders a row by its 64-bit entry, in pieces of other sizes, offline whatever the row says.
class Engine {
 public:
  explicit Engine(const Row& wanted)
      : row(wanted), channels(static_cast<std::size_t>(wanted.channels)) {
    plug.setSampleRate(static_cast<float>(row.rate));
    plug.setBlockSize(row.block);
    std::istringstream words(row.options);
    for (std::string word; words >> word;) {
      const bool isPlain = word == "--set";
      if (!isPlain && word != "--setn") continue;
      words >> word;
      const float value = std::stof(word.substr(word.find('=') + 1));
      const std::int32_t id = parameterKeyTable().find(word.substr(0, word.find('=')));
      plug.setParameter(id, isPlain ? plug.plainToNormalised(id, value) : value);
    }
    plug.resume();
    plug.onIdle();
    latency = plug.getInitialDelay();
  }

  void run(const Audio& main, const Audio& side) {
    const auto frames = static_cast<int>(main.samples.size() / channels);
    const int late = row.options.find("--keep-latency") == std::string::npos ? latency : 0;
    const int total = frames + late;
    fill(main, side, static_cast<std::size_t>(total));
    for (int done = 0; done < total;) {
      const int end = std::min(done + row.block, done < frames ? frames : total);
      if (row.moves && done < frames) moveBefore(end);
      for (int piece = 0; done < end; done += piece) {
        piece = std::min(end - done, 37 + done % 91);
        std::array<double*, 4> inputs{};
        std::array<double*, 2> outputs{};
        const std::size_t used = row.sideChannels > 0 ? 2 * channels : channels;
        for (std::size_t c = 0; c < used; ++c) inputs[c] = in[c].data() + done;
        for (std::size_t c = 0; c < channels; ++c) outputs[c] = planes[c].data() + done;
        plug.processDoubleReplacing(inputs.data(), outputs.data(), piece);
        readGains();
      }
      plug.onIdle();
    }
    out.reserve(main.samples.size());
    for (std::size_t i = 0; i < main.samples.size(); ++i) {
      out.push_back(planes[i % channels][i / channels + static_cast<std::size_t>(late)]);
    }
  }

  std::vector<double> out;
  std::array<double, kNumBands> lowest{};
  std::array<double, kNumBands> highest{};
  std::size_t next = 0;  // of the moves
  int latency = 0;
  Plug plug{[](AEffect*, std::int32_t opcode, std::int32_t, std::intptr_t, void*, float) {
              return opcode == kHostProcessLevel ? std::intptr_t{kProcessLevelOffline} : 0;
            },
            Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached()};

 private:
  /// The file's channels, then what each of them hears, with silence behind.
  void fill(const Audio& main, const Audio& side, std::size_t frames) {
    for (auto& plane : in) plane.resize(frames);
    planes = {in[0], in[0]};
    for (std::size_t i = 0; i < main.samples.size(); ++i) {
      in[i % channels][i / channels] = main.samples[i];
    }
    const auto width = static_cast<std::size_t>(side.channels);
    for (std::size_t i = 0; i < std::min(side.samples.size() / width, frames); ++i) {
      const double left = side.samples[i * width];
      const double right = side.samples[i * width + width - 1];
      in[channels][i] = channels == 1 ? 0.5 * (left + right) : left;
      in[3][i] = right;
    }
  }

  void moveBefore(int end) {
    for (; next < std::size(kMoves); ++next) {
      const Move& move = kMoves[next];
      if (std::floor(move.seconds * row.rate + 0.01) >= end) return;
      plug.setParameter(move.parameter, plug.plainToNormalised(move.parameter, move.plain));
    }
  }

  void readGains() {
    for (int i = 0; i < row.channels * kNumBands; ++i) {
      const auto band = static_cast<std::size_t>(i % kNumBands);
      const double gain = plug.getBandGain(i % kNumBands, 3, i / kNumBands);
      lowest[band] = std::min(lowest[band], gain);
      highest[band] = std::max(highest[band], gain);
    }
  }

  const Row& row;
  const std::size_t channels;
  std::array<std::vector<double>, 4> in;
  std::array<std::vector<double>, 2> planes;
};

void expectReported(const JsonTree& report, const Row& row, int frames, const Engine& engine) {
  const struct {
    const char* path;
    double value;
  } figures[] = {{"sampleRate", double(row.rate)},
                 {"channels", double(row.channels)},
                 {"frames", double(frames)},
                 {"seconds", double(frames) / row.rate},
                 {"latencySamples", double(engine.latency)},
                 {"passes", 1.0},
                 {"outputTrimDb/after", double(engine.plug.getPlainValue(kOpTrim))}};
  for (const auto& figure : figures) {
    EXPECT_NEAR(numberAt(report, figure.path), figure.value, 1e-6) << figure.path;
  }
  int place = 0;
  for (int band = 0; band < kNumBands; ++band) {
    if (engine.plug.getPlainValue(bandParameterId(band, kB1State)) == 0.0F) continue;
    const std::string entry = "gainReduction/" + std::to_string(place++);
    const auto i = static_cast<std::size_t>(band);
    // The largest gain within a block of another size is another one.
    EXPECT_EQ(numberAt(report, entry + "/band"), band + 1);
    EXPECT_NEAR(numberAt(report, entry + "/reductionDb"), -engine.lowest[i], 0.05) << entry;
    EXPECT_NEAR(numberAt(report, entry + "/boostDb"), engine.highest[i], 0.05) << entry;
  }
  EXPECT_EQ(jsonGetArraySize(at(report, "gainReduction")), place);
  EXPECT_EQ(jsonGetArraySize(at(report, "warnings")),
            row.moves && engine.next < std::size(kMoves) ? 1 : 0);
}

TEST_F(Render, isWhatTheEngineGivesInItsPlaceAndReportedAsItWas) {
  constexpr int kFrames = 5003;
  std::istringstream lines(readBytes(CORVANTHELIS_TEST_DATA "/renders.txt"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("#")) continue;
    SCOPED_TRACE(line);
    Row row;
    std::istringstream(line) >> row;
    const Audio main = makeSignal(kFrames, row.channels, row.rate, 12);
    const Audio side = makeSignal(row.sideFrames, std::max(row.sideChannels, 1), row.rate, 13);
    writeAudio(file("in.wav"), main);
    writeAudio(file("side.wav"), side);
    Engine engine(row);
    engine.run(main, side);
    const std::string moves = row.moves ? " --automation " CORVANTHELIS_TEST_DATA "/moves.csv" : "";
    const JsonTree report =
        render(row.options + moves + " --block " + std::to_string(row.block), row.output);
    expectReported(report, row, kFrames, engine);
    const Audio out = readAudio(file(row.output));
    EXPECT_EQ(out.sampleRate, row.rate);
    EXPECT_EQ(out.channels, row.channels);
    ASSERT_EQ(out.samples.size(), engine.out.size());
    const double step = std::stod(row.step);
    for (std::size_t i = 0; i < out.samples.size(); ++i) {
      // The 32-bit entry rounds what goes in, too.
      const double error = step == 0.0 ? 0.0 : step == 1.0 ? 1e-6 : 0.5 * step + 1e-6;
      ASSERT_NEAR(out.samples[i], engine.out[i], error) << i;
      const bool isWhole = step > 0.0 && step < 1.0;
      ASSERT_EQ(isWhole ? std::remainder(out.samples[i], step) : 0.0, 0.0) << i;
    }
  }
}

TEST_F(Render, givesTheInputBackWhereNothingIsAsked) {
  for (const int frames : {0, 1, 7, 48000}) {
    Audio audio = makeSignal(frames, 1 + frames % 2, 44100, 11);
    const auto half = audio.samples.begin() + frames / 2;
    std::transform(half, audio.samples.end(), half, [](double x) { return 0.1 * x; });
    writeAudio(file("in.wav"), audio);
    const JsonTree off = render("--double --format f64 --set kB1State=0");
    EXPECT_EQ(readAudio(file("out.wav")).samples, audio.samples);
    const JsonTree late = render("--double --format f64 --block 1535");
    EXPECT_GT(numberAt(late, "latencySamples"), 0.0);
    const Audio out = readAudio(file("out.wav"));
    ASSERT_EQ(out.samples.size(), audio.samples.size());
    for (std::size_t i = 0; i < out.samples.size(); ++i) {
      ASSERT_NEAR(out.samples[i], audio.samples[i], 1e-12) << i;
    }
    for (const std::string group : {"loudnessLufs", "truePeakDbtp"}) {
      EXPECT_NEAR(numberAt(late, group + "/before"), numberAt(late, group + "/after"), 1e-6);
    }
  }
  // What is no number counts as silence.
  Audio audio = makeSignal(48000, 2, 48000, 15);
  std::vector<double> expected = audio.samples;
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const double odd[] = {std::numeric_limits<double>::quiet_NaN(), kInfinity, -kInfinity};
  for (std::size_t i = 0; i < 300; ++i) {
    audio.samples[i * 13] = odd[i % 3];
    expected[i * 13] = 0.0;
  }
  writeAudio(file("in.wav"), audio);
  const JsonTree report = render("--double --format f64 --set kB1State=0");
  EXPECT_EQ(readAudio(file("out.wav")).samples, expected);
  EXPECT_EQ(std::string(at(report, "warnings/0")->valueString),
            "300 samples were not a finite number and became 0");
  EXPECT_NEAR(numberAt(report, "loudnessLufs/before"), numberAt(report, "loudnessLufs/after"),
              1e-6);
}

/// A tone of 997 Hz, at which the weighting of loudness is what its offset takes back.
Audio tone(int rate, const std::vector<double>& peaks, double seconds) {
  Audio audio{rate, static_cast<int>(peaks.size()), {}};
  for (int i = 0; i < seconds * rate; ++i) {
    for (const double peak : peaks) audio.samples.push_back(peak * std::sin(6264.335 * i / rate));
  }
  return audio;
}

TEST_F(Render, measuresLoudnessAndPeaksOfEachChannelBeforeAndAfter) {
  for (const int rate : {44100, 96000}) {
    for (const std::vector<double>& peaks :
         {std::vector{0.4}, std::vector{0.4, 0.05}, std::vector{0.05, 0.4}}) {
      SCOPED_TRACE(testing::Message() << rate << " Hz, " << peaks.size() << ", " << peaks[0]);
      writeAudio(file("in.wav"), tone(rate, peaks, 2.0));
      double power = 0.0;
      for (const double peak : peaks) power += 0.5 * peak * peak;
      const JsonTree report = render("--set kB1State=0 --set kIpTrim=6 --set kOpTrim=-1");
      const double loudness = 10.0 * std::log10(power);
      EXPECT_NEAR(numberAt(report, "loudnessLufs/before"), loudness, 0.02);
      EXPECT_NEAR(numberAt(report, "loudnessLufs/after"), loudness + 5.0, 0.1);
      EXPECT_NEAR(numberAt(report, "truePeakDbtp/before"), 20.0 * std::log10(0.4), 0.02);
      EXPECT_NEAR(numberAt(report, "truePeakDbtp/after"), 20.0 * std::log10(0.4) + 5.0, 0.02);
      EXPECT_NEAR(numberAt(report, "outputTrimDb/before"), -1.0, 1e-6);
    }
  }
  writeAudio(file("in.wav"), tone(48000, {0.0}, 1.0));
  const JsonTree silent = render("");
  for (const char* path :
       {"loudnessLufs/before", "loudnessLufs/after", "truePeakDbtp/before", "truePeakDbtp/after"}) {
    EXPECT_TRUE(jsonIsType(at(silent, path), kJsonNull)) << path;
  }
}

TEST_F(Render, matchesLoudnessByTheTrimAndTellsBothTrims) {
  writeAudio(file("in.wav"), makeSignal(96000, 2, 48000, 18));
  const struct {
    const char* options;
    double trim;
  } cases[] = {{"--set kIpTrim=-9", 0.0},
               {"--set kIpTrim=5 --set kOpTrim=-20", -20.0},
               {"--set kIpTrim=-7 --set kWetDry=50", 0.0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.options);
    const JsonTree report = render(std::string("--match-loudness ") + c.options);
    const double before = numberAt(report, "loudnessLufs/before");
    EXPECT_NEAR(numberAt(report, "loudnessLufs/after"), before, 0.05);
    EXPECT_EQ(numberAt(report, "outputTrimDb/before"), c.trim);
    EXPECT_GT(std::abs(numberAt(report, "outputTrimDb/after") - c.trim), 3.0);
    EXPECT_GE(numberAt(report, "passes"), 2.0);
  }
  const JsonTree outOfReach = render("--match-loudness --set kIpTrim=-24 --set kWetDry=10");
  EXPECT_EQ(numberAt(outOfReach, "outputTrimDb/after"), 24.0);
  EXPECT_EQ(jsonGetArraySize(at(outOfReach, "warnings")), 1);
}

TEST_F(Render, measuresItsGainForASecondOfTheFilesOwnRate) {
  const Audio audio = makeSignal(144000, 1, 96000, 20);
  writeAudio(file("in.wav"), audio);
  const JsonTree report =
      render("--double --format f64 --set kAutoGain=1 --set kOpTrim=9 --set kB1State=0");
  const Audio out = readAudio(file("out.wav"));
  ASSERT_EQ(out.samples.size(), audio.samples.size());
  EXPECT_NEAR(out.samples[95999], audio.samples[95999] * std::pow(10.0, 0.45), 1e-6);
  EXPECT_NEAR(out.samples[143999], audio.samples[143999], 1e-6);
  EXPECT_EQ(numberAt(report, "outputTrimDb/before"), 9.0);
  EXPECT_NEAR(numberAt(report, "outputTrimDb/after"), 0.0, 0.01);
}

}  // namespace
