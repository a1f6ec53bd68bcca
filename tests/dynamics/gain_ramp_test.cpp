#include "dynamics/gain_ramp.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/real_time.h"

namespace {

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
