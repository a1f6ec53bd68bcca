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
    int ring, owner;
  } lines[] = {{DelayRings::kLook, 0}, {DelayRings::kLook + 1, 0}, {DelayRings::kDryAfter + 1, 8}};
  DelayRings rings;
  int time = 0;
  for (const auto& block : blocks) {
    for (int line = 0; line < 3; ++line) {
      SCOPED_TRACE(testing::Message() << "line " << line << ", " << block.frames << " frames by "
                                      << block.delays[line] << " from sample " << time);
      std::vector<double> buffer(static_cast<std::size_t>(block.frames));
      for (int i = 0; double& sample : buffer) sample = sampleOf(line, time + i++);
      inRealTime([&] {
        rings.delayLine(buffer.data(), lines[line].ring, lines[line].owner, block.frames,
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

TEST(DelayRingsTest, ForgetsABandAndWhateverMissedABlockAndNothingElse) {
  constexpr int kMissing = 7;  // the owner of the ring that misses a block, the first of a stage
  DelayRings rings;
  std::vector<double> block(DelayRings::kSize);
  // Feeds all lines with values of their own, and reads from `delay` samples before on.
  const auto feed = [&](int frames, int delay, bool missing, int silentBand, bool silentLine) {
    for (int line = 0; line < DelayRings::kRings * 9; ++line) {
      const int ring = line / 9;
      const int owner = line % 9;
      const bool rare = ring == DelayRings::kExtBefore && owner == kMissing;
      if ((owner == DelayRings::kCrossover && ring < DelayRings::kExtBefore) || (rare && missing)) {
        continue;
      }
      std::fill(block.begin(), block.end(), line + 1.0);
      inRealTime([&] { rings.delayLine(block.data(), ring, owner, frames, delay); });
      const bool silent = owner == silentBand || (rare && silentLine);
      ASSERT_EQ(std::count(block.begin(), block.begin() + frames, silent ? 0.0 : line + 1.0),
                frames)
          << "line " << line;
    }
    rings.advance(frames);
  };
  feed(DelayRings::kSize, 0, false, -1, false);
  feed(100, DelayRings::kMaxDelay, false, -1, false);
  rings.forget(3);
  feed(100, DelayRings::kMaxDelay, false, 3, false);
  feed(DelayRings::kSize, 0, false, -1, false);
  feed(1, 0, true, -1, false);
  feed(100, 100, false, -1, true);
}

}  // namespace
