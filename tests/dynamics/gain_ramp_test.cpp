#include "dynamics/gain_ramp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

namespace {

/// The ramp by its definition: one sample at a time, target, step and count.
struct PlainRamp {
  double target;
  double step = 0.0;
  int count = 0;

  void setTarget(double gain) {
    if (gain == target) return;
    const double current = target - count * step;
    count = 1000;
    step = (gain - current) / 1000;
    target = gain;
  }
  double next() {
    const double gain = target - count * step;
    if (count > 0) --count;
    return gain;
  }
};

TEST(GainRampTest, FollowsItsDefinitionInAnyBlocksAndThroughChangesOnTheWay) {
  const struct {
    int atBlock;
    double target;
  } changes[] = {{1, 0.5}, {4, 2.0}, {4, -0.25}, {5, -0.25},
                 {9, 0.5}, {9, 1.0}, {9, 0.5},   {60, 1.0}};
  for (const int frames : {1, 63, 64, 700, 4096}) {
    SCOPED_TRACE(testing::Message() << "blocks of " << frames);
    GainRamp ramp(1.0);
    PlainRamp plain{1.0};
    std::vector<double> gains(static_cast<std::size_t>(frames));
    for (int block = 0; block < 80; ++block) {
      for (const auto& change : changes) {
        if (change.atBlock != block) continue;
        ramp.setTarget(change.target);
        plain.setTarget(change.target);
      }
      ramp.fill(gains.data(), frames);
      ramp.fill(gains.data(), 0);
      // Two targets before one block differ from one after the other by a rounding.
      for (const double gain : gains) ASSERT_NEAR(gain, plain.next(), 1e-15) << "block " << block;
    }
  }
}

TEST(GainRampTest, TakesAThousandSamplesAndResetJumps) {
  GainRamp ramp(0.0);
  std::vector<double> gains(1200);
  ramp.setTarget(1.0);
  ramp.fill(gains.data(), 1200);
  EXPECT_EQ(gains[0], 0.0);
  EXPECT_NEAR(gains[500], 0.5, 1e-12);
  EXPECT_LT(gains[999], 1.0);
  EXPECT_EQ(gains[1000], 1.0);

  ramp.setTarget(0.25);
  ramp.reset();
  ramp.fill(gains.data(), 10);
  EXPECT_EQ(gains[0], 0.25);
  ramp.setTarget(1.25);  // from the gain that reset left, with no step of the ramp before it
  ramp.fill(gains.data(), 1200);
  EXPECT_EQ(gains[0], 0.25);
  EXPECT_NEAR(gains[1], 0.251, 1e-12);
}

TEST(GainRampTest, NeverJumpsWhileTargetsComeFromAnotherThread) {
  GainRamp ramp(0.0);
  std::atomic<bool> done{false};
  std::thread control([&] {
    for (int i = 0; i < 20000; ++i) ramp.setTarget((i * 7919 % 101) * 0.01);
    done = true;
  });
  // A target lies in 0..1, so one sample of any ramp moves by 1/1000 at most.
  std::vector<double> gains(16);
  double last = 0.0;
  double largest = 0.0;
  for (int settled = 0; settled < 200; settled += done ? 1 : 0) {
    ramp.fill(gains.data(), static_cast<int>(gains.size()));
    for (const double gain : gains) {
      largest = std::max(largest, std::abs(gain - last));
      last = gain;
    }
  }
  control.join();
  EXPECT_LE(largest, 0.001 + 1e-12);
  EXPECT_EQ(last, (19999 * 7919 % 101) * 0.01);
}

}  // namespace
