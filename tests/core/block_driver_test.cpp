// What a host may hand over: blocks of any length, missing channels, bad samples; and the words by
// which the audio thread sees the chain.

#include <gtest/gtest.h>

#include <limits>

#include "tests/core/plug_rig.h"

namespace {

template <typename Sample>
void expectUntouched(int announced, int frames) {
  SCOPED_TRACE(testing::Message() << frames << " frames, announced " << announced);
  const RealTimeCheck::Exception longBlocks;
  PlugRig rig({{"kB1State", 0}});
  rig.plug.setBlockSize(announced);
  const auto input = noise<Sample>(9000);
  EXPECT_TRUE(render(rig.plug, input, frames) == input);
}

TEST(BlockDriverTest, WithNothingOnTheOutputIsTheInputBitForBitInAnyBlocks) {
  for (const int announced : {0, -1, 64, 20000, std::numeric_limits<int>::max()}) {
    for (const int frames : {1, 64, 1000, 9000}) {
      expectUntouched<double>(announced, frames);
      expectUntouched<float>(announced, frames);
    }
  }
}

TEST(BlockDriverTest, BadSamplesAndMissingChannelsAreSilence) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  PlugRig rig({{"kB1State", 0}, {"kIpTrim", 6}});
  std::array<std::array<double, 32>, 4> pins;
  std::array<std::array<double, 32>, 2> outs;
  const auto play = [&](std::array<bool, 4> ins, bool left, bool right, bool inPlace) {
    for (auto& pin : pins) pin.fill(1.0);
    pins[0][3] = pins[3][7] = kNan;
    pins[1][5] = kInfinity;
    pins[2][0] = -kInfinity;
    for (auto& out : outs) out.fill(0.5);
    std::array<double*, 4> in{};
    for (std::size_t pin = 0; pin < 4; ++pin) in[pin] = ins[pin] ? pins[pin].data() : nullptr;
    std::array<double*, 2> out = {left ? outs[0].data() : nullptr,
                                  right ? outs[1].data() : nullptr};
    process(rig.plug, in.data(), inPlace ? in.data() : out.data(), 32);
  };
  const auto expectOut = [](const std::array<double, 32>& out, std::size_t bad, double level) {
    for (std::size_t i = 0; i < 32; ++i) ASSERT_NEAR(out[i], i == bad ? 0 : level, 1e-6) << i;
  };
  play({true, true, true, true}, true, true, false);
  expectOut(outs[0], 3, linear(6));
  expectOut(outs[1], 5, linear(6));
  expectOut(pins[2], 0, 1);
  expectOut(pins[3], 7, 1);
  play({true, true, true, true}, true, true, true);
  expectOut(pins[0], 3, linear(6));
  expectOut(pins[1], 5, linear(6));
  play({true, false, false, true}, true, true, false);
  expectOut(outs[0], 3, linear(6));
  expectOut(outs[1], 32, 0);
  play({false, true, false, true}, false, true, false);
  expectOut(outs[0], 32, 0.5);
  expectOut(outs[1], 5, linear(6));
  play({true, true, false, false}, true, false, false);  // mono, its sidechain scrubbed as well
  expectOut(outs[0], 3, linear(6));
  expectOut(pins[1], 5, 1);
  expectOut(outs[1], 32, 0.5);
  std::array<double*, 4> none{};
  process(rig.plug, static_cast<float**>(nullptr), nullptr, 32);
  for (const int frames : {0, -5}) process(rig.plug, none.data(), none.data(), frames);
  EXPECT_EQ(rig.plug.getSampleCount(), 5 * 32) << "only real blocks count";
}

TEST(BlockDriverTest, ThePlanHoldsTheStagesInTheirOrder) {
  PlugRig rig;
  compressor& engine = rig.plug.getEngine();
  const auto expectPlan = [&engine](std::uint32_t stages, std::uint32_t xover) {
    EXPECT_EQ(engine.stagePlanWord(), stages);
    EXPECT_EQ(engine.xoverPlanWord(), xover);
  };
  expectPlan(0x1, 0x1000000);
  // Bands 1 and 2 in front, 3 and 4 in the crossover, 5 behind it.
  rig.set({{"kB1Type", 1}, {"kB2Type", 1}, {"kB5Type", 1}, {"kB3Frequency", 100}});
  rig.set({{"kB2State", 1}, {"kB3State", 1}, {"kB4State", 1}, {"kB5State", 1}});
  expectPlan(0x6132, 0x2000000 | 3 << 3 | 2);
  rig.plug.setParameter(kBandOrder, 1.0F);
  rig.set({{"kB4Frequency", 100}});
  expectPlan(0x6132, 0x2000000 | 3 << 3 | 2);  // bad orders keep the last good chain
  engine.layout.moveBand(2, kOffList, 0.0);
  engine.layout.moveBand(3, kOffList, 0.0);
  engine.layout.moveBand(5, kXoverList, 500.0);
  engine.layout.moveBand(1, kOffList, 0.0);
  engine.dropLeavingBands();
  expectPlan(0x612, 0x2000000 | 3 << 3 | 2);  // no gap where one band takes over from others
}

}  // namespace
