#include "dynamics/delay_rings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/real_time.h"

namespace {

/// A value for each sample of each line, all different.
double sampleOf(int line, int time) { return line + 1 + time * 1e-6; }

/// What a line gives at `time` when it has been fed from 0 on.
double delayed(int line, int time, int delay) {
  return time < delay ? 0.0 : sampleOf(line, time - delay);
}

TEST(DelayRingsTest, DelaysEveryLineOnItsOwnInAnyBlocksAndThroughChanges) {
  const struct {
    int frames;
    int delays[3];
  } blocks[] = {{500, {0, 480, 1535}},
                {1, {480, 0, 1535}},
                {4096, {480, 1, 16383}},
                {0, {1, 2, 3}},
                {63, {4000, 16383, 0}},
                {16384, {0, 8191, 1535}},
                {20000, {16383, 12000, 1}},
                {700, {16383, 480, 0}},
                {40001, {0, 16382, 100}},
                {4096, {8318, 8192, 8193}},
                {16383, {15000, 3, 16000}},
                {64, {-5, 16384, 16383}},
                {2, {1, 2, 3}},
                {33000, {127, 2049, 9000}}};
  const struct {
    int ring, band;
  } lines[] = {{DelayRings::kLook, 0}, {DelayRings::kLook + 1, 0}, {DelayRings::kDryAfter + 1, 7}};
  DelayRings rings;
  int time = 0;
  for (const auto& block : blocks) {
    for (int line = 0; line < 3; ++line) {
      SCOPED_TRACE(testing::Message() << "line " << line << ", " << block.frames << " frames by "
                                      << block.delays[line] << " from sample " << time);
      std::vector<double> buffer(static_cast<std::size_t>(block.frames));
      for (int i = 0; double& sample : buffer) sample = sampleOf(line, time + i++);
      inRealTime([&] {
        rings.delayLine(buffer.data(), lines[line].ring, lines[line].band, block.frames,
                        block.delays[line]);
      });
      const int delay = std::clamp(block.delays[line], 0, 16383);
      for (int i = 0; i < block.frames; ++i) {
        ASSERT_EQ(buffer[static_cast<std::size_t>(i)], delayed(line, time + i, delay)) << i;
      }
    }
    rings.advance(block.frames);
    time += block.frames;
  }
}

TEST(DelayRingsTest, ClearsAllLinesOfOneBandAndNoOther) {
  DelayRings rings;
  std::vector<double> block(DelayRings::kSize);
  const auto record = [&] {
    for (int line = 0; line < 14 * 8; ++line) {
      std::fill(block.begin(), block.end(), line + 1.0);
      inRealTime([&] { rings.delayLine(block.data(), line / 8, line % 8, DelayRings::kSize, 0); });
    }
  };
  const auto expectHeld = [&](int clearedBand) {
    constexpr int frames = DelayRings::kMaxDelay;  // read in one go, all but one entry
    for (int line = 0; line < 14 * 8; ++line) {
      std::fill(block.begin(), block.end(), -1.0);
      inRealTime([&] {
        rings.delayLine(block.data(), line / 8, line % 8, frames, DelayRings::kMaxDelay);
      });
      const bool kept = clearedBand >= 0 && line % 8 != clearedBand;
      EXPECT_EQ(std::count(block.begin(), block.end(), kept ? line + 1.0 : 0.0), frames)
          << "line " << line;
    }
  };
  record();
  rings.clearBand(3);
  expectHeld(3);
  record();
  rings.clear();
  expectHeld(-1);
}

TEST(DelayRingsTest, TouchesNeitherHeapNorLocks) {
  DelayRings rings;
  std::vector<double> buffer(4096);
  const RealTimeCheck check;
  for (const int frames : {1, 63, 64, 4096}) {
    rings.delayLine(buffer.data(), DelayRings::kAlign, 2, frames, 1535);
    rings.advance(frames);
  }
  rings.clearBand(2);
}

}  // namespace
