#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "dynamics/compressor.h"
#include "dynamics/delay_rings.h"
#include "dynamics/gain_ramp.h"
#include "filters/band_shape.h"
#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

// Now and then a line is not fed, a band is forgotten, or all of them are. The numbers were
// compared with what each line had heard since it was last silent when they were recorded.
TEST(DelayRingsTest, DelaysEachLineOnItsOwnAndForgetsWhatMissedABlock) {
  KnownNumbers known(TEST_DATA "/delays.txt");
  std::mt19937 random(1);
  DelayRings rings;
  DelayLines::Longest longest;
  longest.fill(DelayRings::kMaxDelay);
  DelayLines first(longest, 0), third(longest, 3), crossover(longest, DelayRings::kCrossover);
  rings.use(0, &first);
  rings.use(3, &third);
  rings.use(DelayRings::kCrossover, &crossover);
  for (int block = 0; block < 150; ++block) {
    constexpr std::array kFrames = {64, 1, 500, 63, 0, 2, 700, 64, 4096, 16383, 16384, 40001};
    constexpr std::array kDelays = {0, 1, 480, 1535, 8192, 16382, 16383, 16384, -5, 3000, 12345};
    const auto which = random();
    const int frames = kFrames[which % (random() % 8 == 0 ? 12 : 8)];
    const auto event = random() % 30;
    if (event == 0) inRealTime([&] { rings.forget(3); });
    if (event == 1) rings.clear();
    std::vector<double> sums = {static_cast<double>(rings.position())};
    for (int line = 0; line < 3 * DelayRings::kRings; ++line) {
      const int owner = std::array{0, 3, 8}[static_cast<std::size_t>(line % 3)];
      const int ring = line / 3;
      if ((owner == 8 && ring < 4) || random() % 25 == 0) continue;
      std::vector<double> sound(static_cast<std::size_t>(frames));
      for (double& x : sound) x = static_cast<double>(random()) * 1e-9;
      const int delay = kDelays[random() % 11];
      inRealTime([&] { rings.delayLine(sound.data(), ring, owner, frames, delay); });
      sums.push_back(std::accumulate(sound.begin(), sound.end(), 0.0));
    }
    known.expect(std::to_string(block), sums);
    rings.advance(frames);
  }
}

// Bands with and without lookahead, of which the delays come to be fixed and cease to be.
TEST(DelayRingsTest, SoundTheSameWhereDelaysAreFixed) {
  std::mt19937 random(1);
  std::array<compressor, 2> engines;
  SidechainLinkage linkage;
  linkage.setPosition(true, 50);
  for (compressor& engine : engines) {
    for (const int band : {0, 1, 2}) {
      engine.layout.moveBand(band, band == 2 ? kPreList : kXoverList, 300.0 * (1 + band));
      BandDynamics dynamics{.threshold = -30.0, .ratioAbove = 0.7};
      dynamics.lookaheadMs = band == 1 ? 0.0F : 5.0F + static_cast<float>(band);
      engine.setDynamics(band, dynamics);
      engine.setBand(band, {.active = true});
      engine.setSidechainLinkage(band, linkage);
    }
    engine.configureFilters(2, kBandPass, 1000.0F, 12.0F, 1.0F, 12.0F);
    engine.setSplits({24, 24, 24, 24, 24, 24, 24, 24});
    engine.rebuildKernels();
    engine.makeStagePlan();
    engine.setOversampling(Oversampling::kStandard);
    engine.publish();
  }
  for (int block = 0; block < 400; ++block) {
    engines[1].setFixedDelays(block / 50 % 2 == 1);
    const auto frames = static_cast<std::size_t>(random() % (block % 7 == 0 ? 1500 : 100));
    std::array<std::vector<double>, 2> sounds;
    for (std::size_t i = 0; i < frames; ++i)
      sounds[0].push_back(static_cast<double>(random()) * 1e-10);
    sounds[1] = sounds[0];
    for (const std::size_t i : {0U, 1U}) {
      double* const pins[] = {sounds[i].data(), nullptr};
      inRealTime([&] { engines[i].processBlock(pins, pins, static_cast<int>(frames), 2, 0); });
    }
    ASSERT_EQ(sounds[0], sounds[1]) << "block " << block;
  }
}

TEST(GainRampTest, IsAStraightLineOfAThousandSamplesThroughChangesAndResets) {
  std::mt19937 random(1);
  GainRamp ramp(1.0);
  double from = 1.0, target = 1.0;
  int gone = 1000;
  for (int block = 0; block < 2000; ++block) {
    if (random() % 4 == 0) {
      const double gain = static_cast<double>(random() % 5) - 1.5;
      ramp.setTarget(gain);
      if (gain != target) {  // the same again changes nothing
        from += (target - from) * gone / 1000;
        gone = 0;
        target = gain;
      }
    }
    if (random() % 20 == 0) {
      ramp.reset();
      from = target;
      gone = 1000;
    }
    std::vector<double> gains(random() % (random() % 4 == 0 ? 3000 : 100));
    inRealTime([&] { ramp.fill(gains.data(), static_cast<int>(gains.size())); });
    for (const double gain : gains) {
      ASSERT_NEAR(gain, from + (target - from) * gone / 1000, 1e-12) << "block " << block;
      if (gone < 1000 && ++gone == 1000) from = target;
    }
  }
}

}  // namespace
