// The chain as a whole: bands that do nothing give the input back, as late as the host was told.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "analysis/vector_kernels.h"
#include "tests/core/plug_rig.h"

namespace {

using namespace std::string_literals;
using Setting = std::pair<std::string, double>;
using Settings = std::vector<Setting>;

constexpr double kMinus280Db = 1e-14;

std::string row(int band, const char* name) { return "kB" + std::to_string(band) + name; }

/// Adds a band that leaves its signal alone.
void addBand(Settings& settings, int band, double frequency, bool dynamicEq) {
  settings.push_back({row(band, "State"), 1});
  settings.push_back({row(band, "Bypass"), 1});
  settings.push_back({row(band, "Lookahead"), 0});
  settings.push_back({row(band, "Type"), dynamicEq ? 1.0 : 0.0});
  settings.push_back({row(band, "Frequency"), frequency});
}

/// `count` crossover bands from `first` on.
Settings crossoverBands(int first, int count) {
  Settings settings;
  for (int i = 0; i < count; ++i) {
    addBand(settings, first + i, 60.0 * std::pow(2.2, i), false);
    settings.push_back({row(first + i, "Slope"), 6.0 + 12.0 * i});
  }
  return settings;
}

void setAll(PlugRig& rig, const Settings& settings) {
  for (const Setting& setting : settings) {
    rig.set(PlugRig::id(setting.first.c_str()), setting.second);
  }
}

struct Chain {
  std::string what;
  Settings settings;
  std::size_t latency;  // at 48 kHz
};

std::vector<Chain> chains() {
  std::vector<Chain> all = {{"nothing", {{"kB1State", 0}}, 0}};
  for (const int bands : {1, 2, 3, 8}) {
    all.push_back({std::to_string(bands) + " crossover bands", crossoverBands(1, bands), 1535});
  }
  for (int shape = 0; shape < 8; ++shape) {
    const std::size_t filter = shape == 7 ? 0 : 1024;
    for (const int place : {1, 3}) {  // in front of the crossover bands, behind them
      Settings settings = crossoverBands(place == 1 ? 2 : 1, 2);
      addBand(settings, place, 1000, true);
      settings.push_back({row(place, "SubType"), shape});
      all.push_back({"shape " + std::to_string(shape) + " at " + std::to_string(place), settings,
                     1535 + filter});
    }
    Settings alone;
    addBand(alone, 1, 1000, true);
    alone.push_back({"kB1SubType", shape});
    alone.push_back({"kB1Lookahead", 10});
    all.push_back(
        {"shape " + std::to_string(shape) + " alone, looking ahead", alone, 480 + filter});
  }
  Settings looking = crossoverBands(1, 3);
  looking.insert(looking.end(), {{"kB1Lookahead", 1}, {"kB3Lookahead", 10}});
  all.push_back({"crossover bands of different lookahead", looking, 1535 + 480});
  looking = crossoverBands(2, 3);
  addBand(looking, 1, 300, true);
  addBand(looking, 5, 3000, true);
  for (const char* band : {"kB1", "kB3", "kB5"}) looking.push_back({band + "Lookahead"s, 10});
  all.push_back({"everything", looking, 1535 + 480 + 2 * (1024 + 480)});
  return all;
}

TEST(ChainTest, GivesTheInputBackAsLateAsToldAndDryInStepWithIt) {
  for (const Chain& chain : chains()) {
    SCOPED_TRACE(chain.what);
    for (const int block : {64, 1000}) {
      PlugRig rig({{"kB1State", 0}});
      setAll(rig, chain.settings);
      rig.plug.resume();
      ASSERT_EQ(latencyOf(rig), chain.latency);
      const auto input = noise<double>(8000);
      const auto output = render(rig.plug, input, block);
      // Each filter adds its band and what is beside it: one rounding more.
      EXPECT_LT(deviation(input, output, chain.latency), 3 * kMinus280Db);
      rig.set({{"kListen", 1}});
      rig.plug.resume();
      const auto difference = render(rig.plug, input, block);
      EXPECT_LT(deviation(Stereo<double>(8000), difference, 0), 3 * kMinus280Db);
    }
  }
}

TEST(ChainTest, MonoRunsTheSameBands) {
  Settings settings = crossoverBands(2, 7);
  addBand(settings, 1, 1000, true);
  settings.push_back({"kB3Solo", 1});
  PlugRig stereo;
  PlugRig mono;
  for (PlugRig* rig : {&stereo, &mono}) {
    setAll(*rig, settings);
    rig->plug.resume();
  }
  const auto input = noise<double>(9000);
  const auto wanted = render(stereo.plug, input, 64);
  auto samples = input.channels[0];
  for (std::size_t at = 0; at < samples.size(); at += 1000) {
    std::array<double*, 4> in = {&samples[at], nullptr, nullptr, nullptr};
    std::array<double*, 2> out = {&samples[at], nullptr};
    process(mono.plug, in.data(), out.data(), 1000);
  }
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_NEAR(samples[i], wanted.channels[0][i], 1e-14) << i;
  }
}

TEST(ChainTest, EveryInstructionSetGivesTheSameToRounding) {
  Settings settings = crossoverBands(2, 7);
  addBand(settings, 1, 1000, true);
  settings.insert(settings.end(), {{"kB1Solo", 1}, {"kB3Solo", 1}, {"kB6Solo", 1}});
  std::vector<Stereo<double>> outputs;
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* kernels : allVectorKernels()) {
    useVectorKernels(*kernels);
    PlugRig rig;
    setAll(rig, settings);
    rig.plug.resume();
    outputs.push_back(render(rig.plug, noise<double>(9000), 64));
    EXPECT_LT(deviation(outputs.front(), outputs.back(), 0), 3 * kMinus280Db) << kernels->name;
  }
  useVectorKernels(usual);
}

// One setting moves before each block; the clock says how many redesigns have to wait.
TEST(ChainTest, SumsStayExactWhileFiltersAndSplitsMove) {
  for (const std::int64_t clockStep : {100, 15, 0}) {
    SCOPED_TRACE(clockStep);
    Settings settings = crossoverBands(3, 4);
    addBand(settings, 1, 100, true);
    addBand(settings, 2, 1000, true);
    addBand(settings, 8, 5000, true);
    PlugRig rig;
    setAll(rig, settings);
    rig.plug.resume();
    rig.clockStep = clockStep;
    const std::size_t latency = latencyOf(rig);
    const auto input = noise<double>(96000);
    std::mt19937 random(7);
    const auto output = render(rig.plug, input, 96, [&](int /*frame*/) {
      rig.plug.onIdle();
      const char* const rows[] = {"Frequency", "Slope", "Q", "Slope2"};
      const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
      const int band = std::vector<int>{1, 2, 3, 4, 5, 6, 8}[random() % 7];
      const double spread = 1.0 + below(1000) / 2000.0;
      const double plain[] = {60.0 * std::pow(2.2, band - 3) * spread, 6.0 * (1 + below(16)),
                              0.2 * spread * spread, 6.0 * (1 + below(16))};
      const auto chosen = static_cast<std::size_t>(below(4));
      rig.set(PlugRig::id(row(band, rows[chosen]).c_str()), plain[chosen]);
      const int shape = below(7);  // but for the flat one
      if (band < 3 || band == 8) rig.set(PlugRig::id(row(band, "SubType").c_str()), shape);
    });
    EXPECT_EQ(latencyOf(rig), latency);
    EXPECT_LT(deviation(input, output, latency), 5 * kMinus280Db);
  }
}

TEST(ChainTest, TheHostLearnsOfAnotherLatencyWithinOneIdle) {
  PlugRig rig;
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 480) << "the first band, from the start";
  const auto told = [&rig] {
    const int before = rig.count(kHostIoChanged, 0);
    rig.plug.onIdle();
    return rig.count(kHostIoChanged, 0) - before;
  };
  EXPECT_EQ(told(), 0);
  const struct {
    const char* identifier;
    double plain;
    int latency;
    int messages;
  } steps[] = {{"kB1Lookahead", 0, 1535, 1},  {"kB1Lookahead", 5, 1535 + 240, 1},
               {"kB1Type", 1, 1024 + 240, 1}, {"kB1SubType", 7, 240, 1},
               {"kB1Frequency", 500, 240, 0}, {"kB1Bypass", 1, 240, 0},
               {"kB1State", 0, 0, 1}};
  for (const auto& step : steps) {
    rig.set({{step.identifier, step.plain}});
    EXPECT_EQ(told(), step.messages) << step.identifier;
    EXPECT_EQ(rig.plug.getAeffect()->initialDelay, step.latency) << step.identifier;
  }
  rig.set({{"kB1State", 1}, {"kB1Type", 0}, {"kB1Lookahead", 50}});
  rig.plug.setSampleRate(192000.0F);
  rig.plug.resume();
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 8191) << "the longest there is";
}

}  // namespace
