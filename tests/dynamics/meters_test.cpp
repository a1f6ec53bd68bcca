#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dynamics/band_meters.h"
#include "dynamics/meter_rings.h"
#include "dynamics/output_peak.h"
#include "tests/support/known_numbers.h"

namespace {

/// The rings beside what each selector is to show: reduction left, right, left, right, input,
/// output.
struct Histories {
  Histories() { shown.fill(1.0); }

  void write(std::size_t channel, std::size_t frames) {
    std::vector<double> values[3] = {Signal(frames), Signal(frames), Signal(frames)};
    std::vector<float> reduction(frames);
    for (std::size_t i = 0; i < frames; ++i) {
      reduction[i] = static_cast<float>(random() % 500 == 0 ? 0.0 : 0.2 + gain(random));
      values[0][i] = std::max(20 * std::log10(static_cast<double>(reduction[i])), -6000.0);
      values[1][i] = 20 - 10 * gain(random);
      values[2][i] = 20 - 10 * gain(random);
    }
    const bool silent = random() % 3 == 0;
    if (silent) values[1].assign(frames, 0.0);
    const auto c = static_cast<int>(channel);
    const auto count = static_cast<int>(frames);
    rings.writeInput(c, silent ? nullptr : values[1].data(), count);
    rings.writeReduction(c, reduction.data(), count);
    rings.writeOutput(c, values[2].data(), count);
    for (std::size_t s = channel; s < 8; s += 2) {
      const auto& heard = values[s < 4 ? 0 : s / 2 - 1];
      fresh[s] = true;
      furthest[s] =
          std::max(furthest[s], *std::max_element(heard.begin(), heard.end(), closer), closer);
    }
  }
  void read(std::size_t s) {
    if (fresh[s]) shown[s] = std::pow(10.0, furthest[s] / 20.0);
    furthest[s] = 0.0;
    fresh[s] = false;
    for (int again = 0; again < 2; ++again) {  // nothing new: holds
      const double got = rings.getGainReduction(static_cast<int>(s));
      ASSERT_NEAR(20 * std::log10(got), 20 * std::log10(shown[s]), 1e-3) << "selector " << s;
    }
  }

  using Signal = std::vector<double>;
  static bool closer(double a, double b) { return std::abs(a) < std::abs(b); }

  std::mt19937 random;
  std::uniform_real_distribution<double> gain{0.0, 4.0};
  MeterRings rings;
  std::array<double, MeterRings::kSelectors> furthest{};  // dB, since the last call
  std::array<double, MeterRings::kSelectors> shown{};
  std::array<bool, MeterRings::kSelectors> fresh{};
};

TEST(MeterRingsTest, EachSelectorReadsTheFurthestValueOfItsChannelSinceItsLastCall) {
  Histories all;
  for (int block = 0; block < 600; ++block) {
    SCOPED_TRACE(block);
    const auto frames = 1 + all.random() % 2000;  // several times round the ring
    for (const std::size_t channel : {0U, 1U}) all.write(channel, frames);
    all.rings.endBlock(static_cast<int>(frames));
    for (std::size_t s = 0; s < 8; ++s) {
      if (all.random() % 4 != 0) all.read(s);
    }
    for (const int bad : {-1, 8}) EXPECT_EQ(all.rings.getGainReduction(bad), 1.0);
    if (block != 400) continue;  // once round the ring
    all.rings.reset();
    all.rings.resetReaders();
    all.fresh.fill(false);
    all.shown.fill(1.0);
    for (std::size_t s = 0; s < 8; ++s) all.read(s);
  }
}

TEST(BandMetersTest, ShowBothChannelsWeightedPeaksAndDecayThem) {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> db(-20.0, 20.0);
  BandMeters meter;
  for (int block = 0; block < 300; ++block) {
    BandMeters::Peaks* const peaks[] = {&meter.dynPeak, &meter.tranPeak};
    for (BandMeters::Peaks* p : peaks) *p = {db(random), db(random)};
    meter.envPeak = std::abs(db(random));
    meter.fastLamp = 0.01 * block;
    meter.slowLamp = 1.0 - 0.001 * block;
    const BandMeters::Peaks weights = {std::abs(db(random)) / 20, std::abs(db(random)) / 20};
    const double decay = std::array{0.0, 0.25, 1.0}[random() % 3];
    const BandMeters::Peaks dynBefore = meter.dynPeak;
    const BandMeters::Peaks tranBefore = meter.tranPeak;
    const double envBefore = meter.envPeak;
    meter.endBlock(weights, decay);
    double total[2];
    for (const std::size_t c : {0U, 1U}) {
      const double dyn = weights[c] * dynBefore[c];
      const double tran = weights[c] * tranBefore[c];
      total[c] = dyn + tran;
      const double expected[] = {0.0, dyn, tran, dyn + tran};
      for (int parts = 0; parts < 4; ++parts) {
        ASSERT_EQ(meter.shownGain(parts, static_cast<int>(c)), expected[parts]) << parts;
      }
      ASSERT_NEAR(meter.dynPeak[c], dynBefore[c] * (1 - decay), 1e-12);
      ASSERT_NEAR(meter.tranPeak[c], tranBefore[c] * (1 - decay), 1e-12);
    }
    const double larger = std::abs(total[1]) > std::abs(total[0]) ? total[1] : total[0];
    ASSERT_NEAR(meter.graphGain(), std::pow(10.0, larger / 20.0), 1e-9);
    ASSERT_EQ(meter.shownEnv(), envBefore);
    ASSERT_NEAR(meter.envPeak, envBefore * (1 - decay), 1e-12);
    ASSERT_EQ(meter.lamp(true), 0.01 * block);
    ASSERT_EQ(meter.lamp(false), 1.0 - 0.001 * block);
  }
  meter.reset();
  for (const int channel : {0, 1}) EXPECT_EQ(meter.shownGain(3, channel), 0.0);
  EXPECT_EQ(meter.graphGain(), 1.0);
  EXPECT_EQ(meter.shownEnv() + meter.lamp(true) + meter.lamp(false), 0.0);
  EXPECT_EQ(meter.dynPeak[1] + meter.tranPeak[1] + meter.envPeak + meter.slowLamp, 0.0);
}

/// A block of a channel, at times with what is no number.
std::vector<float> randomBlock(std::mt19937& random) {
  std::normal_distribution<float> normal(0.0F, random() % 3 == 0 ? 1e-9F : 1.0F);
  std::vector<float> block(200);
  for (float& x : block) x = normal(random);
  if (random() % 10 == 0) block[50] = std::numeric_limits<float>::infinity();
  if (random() % 10 == 0) block[60] = std::numeric_limits<float>::quiet_NaN();
  return block;
}

// The numbers were compared with the definitions of the ballistics when they were recorded.
TEST(OutputPeakTest, FollowsEachChannelByItsBallisticAtEveryRate) {
  KnownNumbers known(TEST_DATA "/output_peaks.txt");
  std::mt19937 random(3);
  OutputPeak meter;
  for (int block = 0; block < 360; ++block) {
    const int choice = block / 10 % 6 - 1;  // an unknown one is digital
    const int rate = block / 60 % 2 == 0 ? 44100 : 96000;
    meter.setBallistic(choice, rate);
    if (block % 70 == 69) meter.reset();
    const int channels = random() % 5 == 0 ? 1 : 2;
    const std::vector<float> narrow[2] = {randomBlock(random), randomBlock(random)};
    std::vector<double> wide[2];
    const float* narrowPointers[2] = {};  // a missing signal leaves its channel
    const double* widePointers[2] = {};
    for (int c = 0; c < channels; ++c) {
      wide[c].assign(narrow[c].begin(), narrow[c].end());
      if (random() % 6 == 0) continue;
      narrowPointers[c] = narrow[c].data();
      widePointers[c] = wide[c].data();
    }
    block % 2 == 0 ? meter.follow(narrowPointers, channels, 200)
                   : meter.follow(widePointers, channels, 200);
    known.expect(std::to_string(block) + ", ballistic " + std::to_string(choice) + " at " +
                     std::to_string(rate),
                 {meter.peak(0), meter.peak(1)});
    for (const int bad : {-1, 2}) EXPECT_EQ(meter.peak(bad), 0.0);
  }
}

}  // namespace
