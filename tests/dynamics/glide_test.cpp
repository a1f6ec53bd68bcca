#include "dynamics/glide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kStep = 240;  // frames in 5 ms

/// Adds the values of a block that brings `target`.
void play(Glide& glide, double target, int frames, std::vector<double>& values) {
  const std::size_t start = values.size();
  values.resize(start + static_cast<std::size_t>(frames));
  inRealTime([&] {
    glide.setTarget(target, frames, kRate);
    glide.fill(values.data() + start, frames);
    glide.advance(frames);
  });
}

/// The largest second difference.
double bend(const std::vector<double>& values, std::size_t from, std::size_t to) {
  double most = 0.0;
  for (std::size_t i = from + 1; i + 1 < to; ++i) {
    most = std::max(most, std::abs(values[i - 1] - 2.0 * values[i] + values[i + 1]));
  }
  return most;
}

// The path of least jerk from rest to rest, whatever the blocks; nothing moves before and after.
TEST(GlideTest, StepsAlongThePathOfLeastJerk) {
  for (const int frames : {1, 7, 64, 240, 1000}) {
    Glide glide(-3.0);
    std::vector<double> values;
    play(glide, -3.0, frames, values);
    EXPECT_FALSE(glide.isMoving());
    while (values.size() < 3000) {
      Glide ahead = glide;
      ahead.setTarget(5.0, frames, kRate);
      ahead.advance(frames / 2);
      const double later = ahead.value();
      play(glide, 5.0, frames, values);
      const auto block = values.end() - frames;
      EXPECT_EQ(block[frames / 2], later);
    }
    const int length = std::max(kStep, frames);
    for (int i = 0; i < length; ++i) {
      const double t = static_cast<double>(i) / length;
      const double share = t * t * t * (10.0 + t * (6.0 * t - 15.0));
      ASSERT_NEAR(values[static_cast<std::size_t>(frames + i)], -3.0 + 8.0 * share, 1e-12) << i;
    }
    ASSERT_EQ(values[static_cast<std::size_t>(frames + length)], 5.0);
    EXPECT_EQ(values.back(), 5.0);
    EXPECT_FALSE(glide.isMoving());
    glide.jump(1.0);
    EXPECT_EQ(glide.value(), 1.0);
    EXPECT_FALSE(glide.isMoving());
  }
}

// What a host ramps becomes a line after a few values; it bends little where that begins and ends.
TEST(GlideTest, DrawsALineThroughTheValuesOfARamp) {
  constexpr double kSlope = 1e-3;
  for (const int block : {1, 2, 16, 64, 100, 256, 1024, 4096, 0}) {
    SCOPED_TRACE(testing::Message() << "blocks of " << block);
    std::mt19937 random(3);
    Glide glide;
    std::vector<double> values;
    std::size_t steady = 0;  // where the line has begun
    const std::size_t end = 12 * 4096;
    while (values.size() < end) {
      const int frames = block != 0 ? block : 1 + static_cast<int>(random() % 64);
      play(glide, kSlope * static_cast<double>(values.size()), frames, values);
      if (steady == 0 && values.size() > std::size_t{4} * 1024) {
        steady = std::max(values.size(), static_cast<std::size_t>(5 * frames));
      }
    }
    EXPECT_LT(bend(values, steady, values.size()), 1e-9);
    const double last = glide.target();
    const int stop = block != 0 ? block : 64;
    while (values.size() < end + 3 * 4096) play(glide, last, stop, values);
    EXPECT_EQ(values.back(), last);
    EXPECT_FALSE(glide.isMoving());
    EXPECT_LT(*std::ranges::max_element(values), last + 0.2 * kSlope * kStep);
    EXPECT_LT(bend(values, 0, values.size()), 6.0 * kSlope / kStep);
  }
}

// Whatever the lengths of blocks, a value goes little further than what the host asks for.
TEST(GlideTest, StaysNearWhatTheHostAsksFor) {
  std::mt19937 random(5);
  for (int walk = 0; walk < 300; ++walk) {
    Glide glide(1.0);
    std::vector<double> values;
    double target = 1.0;
    std::vector<double> asked = {target};
    for (int block = 0; block < 12; ++block) {
      const int frames = 1 + static_cast<int>(random() % (std::uint32_t{1} << random() % 14));
      if (random() % 4 != 0) target += walk % 2 == 0 || random() % 2 == 0 ? 0.1 : -0.1;
      asked.push_back(target);
      play(glide, target, frames, values);
    }
    const auto [least, most] = std::ranges::minmax(asked);
    const auto [low, high] = std::ranges::minmax(values);
    const double beyond = 0.25 * (most - least) + 1e-12;
    EXPECT_GT(low, least - beyond) << walk;
    EXPECT_LT(high, most + beyond) << walk;
  }
}

}  // namespace
