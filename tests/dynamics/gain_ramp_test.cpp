#include "dynamics/gain_ramp.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/real_time.h"

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
      inRealTime([&] { ramp.fill(gains.data(), frames); });
      inRealTime([&] { ramp.fill(gains.data(), 0); });
      for (const double gain : gains) ASSERT_EQ(gain, plain.next()) << "block " << block;
    }
  }
}

TEST(GainRampTest, TakesAThousandSamplesAndResetJumps) {
  GainRamp ramp(0.0);
  std::vector<double> gains(1200);
  ramp.setTarget(1.0);
  inRealTime([&] { ramp.fill(gains.data(), 1200); });
  EXPECT_EQ(gains[0], 0.0);
  EXPECT_NEAR(gains[500], 0.5, 1e-12);
  EXPECT_LT(gains[999], 1.0);
  EXPECT_EQ(gains[1000], 1.0);

  ramp.setTarget(0.25);
  ramp.reset();
  inRealTime([&] { ramp.fill(gains.data(), 10); });
  EXPECT_EQ(gains[0], 0.25);
  ramp.setTarget(1.25);  // from the gain that reset left, with no step of the ramp before it
  inRealTime([&] { ramp.fill(gains.data(), 1200); });
  EXPECT_EQ(gains[0], 0.25);
  EXPECT_NEAR(gains[1], 0.251, 1e-12);
}

}  // namespace
