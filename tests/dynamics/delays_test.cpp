#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "dynamics/delay_rings.h"
#include "dynamics/gain_ramp.h"
#include "tests/support/real_time.h"

namespace {

/// A line by its definition: all it was fed since it was last silent.
struct PlainLine {
  int ring = 0, owner = 0;
  std::vector<double> heard = {};
  long end = 0;  // up to where

  double at(long time, int delay) const {
    const long back = end - (time - std::clamp(delay, 0, DelayRings::kMaxDelay));
    const long size = static_cast<long>(heard.size());
    return back > size ? 0.0 : heard[static_cast<std::size_t>(size - back)];
  }
};

/// Feeds a line and compares what comes out.
void feed(DelayRings& rings, PlainLine& line, long time, int frames, int delay) {
  static double value = 0.0;  // each sample's another
  if (line.end != time) line.heard.clear();
  std::vector<double> buffer(static_cast<std::size_t>(frames));
  for (double& x : buffer) x = ++value;
  line.heard.insert(line.heard.end(), buffer.begin(), buffer.end());
  line.end = time + frames;
  inRealTime([&] { rings.delayLine(buffer.data(), line.ring, line.owner, frames, delay); });
  for (int i = 0; i < frames; ++i) {
    ASSERT_EQ(buffer[static_cast<std::size_t>(i)], line.at(time + i, delay))
        << "ring " << line.ring << " of " << line.owner << " by " << delay << ", sample " << i;
  }
}

// Now and then a line is not fed, a band is forgotten, or all of them are.
TEST(DelayRingsTest, DelaysEachLineOnItsOwnAndForgetsWhatMissedABlock) {
  std::vector<PlainLine> lines;
  for (const int owner : {0, 3, 8}) {
    for (int ring = owner == 8 ? 4 : 0; ring < DelayRings::kRings; ++ring) {
      lines.push_back({ring, owner});  // NOLINT(performance-inefficient-vector-operation): few
    }
  }
  std::mt19937 random(1);
  DelayRings rings;
  long time = 0;
  for (int block = 0; block < 150; ++block) {
    SCOPED_TRACE(testing::Message() << "block " << block);
    constexpr std::array kFrames = {64, 1, 500, 63, 0, 2, 700, 64, 4096, 16383, 16384, 40001};
    constexpr std::array kDelays = {0, 1, 480, 1535, 8192, 16382, 16383, 16384, -5, 3000, 12345};
    const int frames = kFrames[random() % (random() % 8 == 0 ? 12 : 8)];
    const auto event = random() % 30;
    if (event == 0) inRealTime([&] { rings.forget(3); });
    if (event == 1) rings.clear(), time = 0;
    ASSERT_EQ(rings.position(), time % DelayRings::kSize);
    for (PlainLine& line : lines) {
      if (event == 1 || (event == 0 && line.owner == 3)) line.heard.clear();
      if (random() % 25 != 0) feed(rings, line, time, frames, kDelays[random() % 11]);
    }
    rings.advance(frames);
    time += frames;
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
