#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "dynamics/band_meters.h"
#include "dynamics/meter_rings.h"
#include "dynamics/output_peak.h"

namespace {

void writeBlock(MeterRings& rings, const std::vector<float>& left, float right, double input,
                double output) {
  const int frames = static_cast<int>(left.size());
  const std::vector<float> rightGains(left.size(), right);
  const std::vector<double> in(left.size(), input);
  const std::vector<double> out(left.size(), output);
  rings.writeInput(0, in.data(), frames);
  rings.writeReduction(0, left.data(), frames);
  rings.writeReduction(1, rightGains.data(), frames);
  rings.writeOutput(1, out.data(), frames);
  rings.endBlock(frames);
}

TEST(MeterRingsTest, ReadsTheFurthestValueSinceTheLastCallAndHolds) {
  MeterRings rings;
  EXPECT_EQ(rings.getGainReduction(0), 1.0);
  writeBlock(rings, {1.0F, 0.5F, 0.9F, 1.2F}, 0.7F, 6.0, -20.0);
  EXPECT_NEAR(rings.getGainReduction(0), 0.5, 1e-6);
  EXPECT_NEAR(rings.getGainReduction(0), 0.5, 1e-6) << "nothing new: holds";
  EXPECT_NEAR(rings.getGainReduction(2), 0.5, 1e-6) << "a selector has a position of its own";
  EXPECT_NEAR(rings.getGainReduction(1), 0.7, 1e-6);
  EXPECT_NEAR(rings.getGainReduction(3), 0.7, 1e-6);
  EXPECT_NEAR(rings.getGainReduction(4), std::pow(10.0, 0.3), 1e-6);
  EXPECT_EQ(rings.getGainReduction(5), 1.0);
  EXPECT_NEAR(rings.getGainReduction(7), 0.1, 1e-6);
  writeBlock(rings, {1.0F, 2.0F, 0.6F, 1.0F}, 1.0F, 0.0, 0.0);
  EXPECT_NEAR(rings.getGainReduction(0), 2.0, 1e-6) << "6 dB up is further than 4.4 dB down";
  for (const int bad : {-1, 8}) EXPECT_EQ(rings.getGainReduction(bad), 1.0);
}

TEST(MeterRingsTest, GoesRoundTheRingAndStartsAfreshOnReset) {
  MeterRings rings;
  const std::vector<float> quiet(4096, 1.0F);
  writeBlock(rings, std::vector<float>(4096, 0.25F), 1.0F, 0.0, 0.0);
  EXPECT_NEAR(rings.getGainReduction(0), 0.25, 1e-6);
  for (int block = 0; block < 63; ++block) writeBlock(rings, quiet, 1.0F, 0.0, 0.0);
  EXPECT_EQ(rings.getGainReduction(0), 1.0) << "up to the end of the ring";
  writeBlock(rings, std::vector<float>(4096, 0.5F), 1.0F, 0.0, 0.0);
  EXPECT_NEAR(rings.getGainReduction(0), 0.5, 1e-6) << "the first entries again";
  rings.reset();
  rings.resetReaders();
  EXPECT_EQ(rings.getGainReduction(0), 1.0);
}

TEST(BandMetersTest, ShowsWeightedPeaksAndDecaysThem) {
  BandMeters meter;
  meter.dynPeak = {-6.0, 3.0};
  meter.tranPeak = {-1.0, 2.0};
  meter.envPeak = 0.5;
  meter.fastLamp = 1.0;
  meter.endBlock({1.0, 0.5}, 0.25);
  const struct {
    int parts, channel;
    double decibels;
  } shown[] = {{1, 0, -6.0}, {2, 0, -1.0}, {3, 0, -7.0}, {1, 1, 1.5}, {2, 1, 1.0}, {0, 1, 0.0}};
  for (const auto& s : shown) {
    EXPECT_EQ(meter.shownGain(s.parts, s.channel), s.decibels) << s.parts << ", " << s.channel;
  }
  EXPECT_NEAR(meter.graphGain(), std::pow(10.0, -7.0 / 20.0), 1e-12) << "7 dB down, 2.5 dB up";
  EXPECT_EQ(meter.shownEnv(), 0.5);
  EXPECT_EQ(meter.lamp(true), 1.0);
  EXPECT_EQ(meter.lamp(false), 0.0);
  EXPECT_EQ(meter.dynPeak[0], -4.5);
  EXPECT_EQ(meter.tranPeak[0], -0.75);
  EXPECT_EQ(meter.envPeak, 0.375);
  meter.dynPeak[1] = 20.0;
  meter.endBlock({1.0, 1.0}, 0.0);
  EXPECT_GT(meter.graphGain(), 10.0) << "the larger is up now";
  meter.reset();
  EXPECT_EQ(meter.graphGain(), 1.0);
  EXPECT_EQ(meter.lamp(true), 0.0);
}

TEST(OutputPeakTest, CoversItsShareOfAStepInItsTimeAtEveryRate) {
  const struct {
    int ballistic;
    double attackBase, attackSeconds, releaseBase, releaseSeconds;
  } cases[] = {{kDigital, 0.0, 0.001, 0.1, 0.3},
               {kPpm, 0.2, 0.005, 0.1, 1.7},
               {kVu, 0.01, 0.3, 0.01, 0.3},
               {kBbc, 0.2, 0.01, 0.0631, 2.8}};
  for (const auto& c : cases) {
    for (const double rate : {44100.0, 96000.0}) {
      SCOPED_TRACE(testing::Message() << "ballistic " << c.ballistic << " at " << rate);
      OutputPeak meter;
      meter.setBallistic(c.ballistic, rate);
      const std::vector<float> up(static_cast<std::size_t>(std::lround(rate * c.attackSeconds)),
                                  -1.0F);
      const float* const rising = up.data();
      meter.follow(&rising, 1, static_cast<int>(up.size()));
      EXPECT_NEAR(meter.peak(0), 1.0 - c.attackBase, 0.002);
      meter.setBallistic(kDigital, rate);
      meter.follow(&rising, 1, 1);
      meter.setBallistic(c.ballistic, rate);
      const std::vector<double> down(
          static_cast<std::size_t>(std::lround(rate * c.releaseSeconds)));
      const double* const falling[] = {down.data(), down.data()};
      meter.follow(falling, 2, static_cast<int>(down.size()));
      EXPECT_NEAR(meter.peak(0), c.releaseBase, 0.002);
      EXPECT_EQ(meter.peak(1), 0.0);
      const float* const rightOnly[] = {nullptr, rising};
      meter.follow(rightOnly, 2, static_cast<int>(up.size()));
      EXPECT_NEAR(meter.peak(0), c.releaseBase, 0.002) << "a missing signal leaves its channel";
      EXPECT_NEAR(meter.peak(1), 1.0 - c.attackBase, 0.002);
      meter.reset();
      EXPECT_EQ(meter.peak(0), 0.0);
    }
  }
}

}  // namespace
