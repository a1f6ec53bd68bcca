// What a host may hand over: blocks of any length, missing channels, bad samples.

#include <gtest/gtest.h>

#include <cfenv>
#include <limits>

#include "tests/core/plug_rig.h"

namespace {

template <typename Sample>
void expectUntouched(int announced, int frames) {
  SCOPED_TRACE(testing::Message() << frames << " frames, announced " << announced);
  const RealTimeCheck::Exception longBlocks;
  PlugRig rig("B1State=0");
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
  constexpr std::array kBad = {std::pair(3U, kNan), std::pair(5U, kInfinity),
                               std::pair(0U, -kInfinity), std::pair(7U, kNan)};
  constexpr double kUntouched = 0.5;
  const double louder = linear(6);
  const struct {
    std::array<bool, 4> ins;
    std::array<bool, 2> outs;
    bool inPlace;
    std::array<double, 2> wanted;
    std::array<bool, 4> sidechain;  // also scrubbed
  } cases[] = {{{1, 1, 1, 1}, {1, 1}, false, {louder, louder}, {0, 0, 1, 1}},
               {{1, 1, 1, 1}, {1, 1}, true, {louder, louder}, {}},
               {{1, 0, 0, 1}, {1, 1}, false, {louder, 0}, {}},
               {{0, 1, 0, 1}, {0, 1}, false, {kUntouched, louder}, {}},
               {{1, 1, 0, 0}, {1, 0}, false, {louder, kUntouched}, {0, 1, 0, 0}}};
  PlugRig rig("B1State=0 IpTrim=6");
  for (int number = 0; const auto& c : cases) {
    SCOPED_TRACE(number++);
    std::array<std::array<double, 32>, 4> pins;
    std::array<double*, 4> in{};
    for (std::size_t pin = 0; pin < 4; ++pin) {
      pins[pin].fill(1.0);
      pins[pin][kBad[pin].first] = kBad[pin].second;
      if (c.ins[pin]) in[pin] = pins[pin].data();
    }
    std::array<std::array<double, 32>, 4> apart;
    for (auto& out : apart) out.fill(kUntouched);
    std::array<double*, 2> out = {c.outs[0] ? apart[0].data() : nullptr,
                                  c.outs[1] ? apart[1].data() : nullptr};
    process(rig.plug, in.data(), c.inPlace ? in.data() : out.data(), 32);
    for (std::size_t pin = 0; pin < 4; ++pin) {
      for (std::size_t i = 0; i < 32; ++i) {
        const bool bad = i == kBad[pin].first;
        if (c.sidechain[pin]) {
          ASSERT_EQ(pins[pin][i], bad ? 0.0 : 1.0) << pin;
        }
        if (pin > 1) continue;
        const double wanted = bad && c.wanted[pin] == louder ? 0.0 : c.wanted[pin];
        ASSERT_NEAR((c.inPlace ? pins : apart)[pin][i], wanted, 1e-6) << pin << ", " << i;
      }
    }
  }
  std::array<double*, 4> none{};
  process(rig.plug, static_cast<float**>(nullptr), nullptr, 32);
  for (const int frames : {0, -5}) process(rig.plug, none.data(), none.data(), frames);
  EXPECT_EQ(rig.plug.getSampleCount(), 5 * 32) << "only real blocks count";
}

TEST(BlockDriverTest, SilenceEndsAtZeroAndNotAmongTheDenormals) {
  PlugRig rig("B1Threshold=-40 B1Ratio=1 B1Lookahead=0", 8000.0);
  rig.plug.setMeterDecay(97);
  rig.setText("Oversample=1 B1SCLF=1 B1RelSlow=50 B1RelFast=20");
  render(rig.plug, noise<double>(8000), 200);
  render(rig.plug, Stereo<double>(60 * 8000), 200);
  std::feclearexcept(FE_UNDERFLOW);
  render(rig.plug, Stereo<double>(200), 200);
  EXPECT_EQ(std::fetestexcept(FE_UNDERFLOW), 0);
}

}  // namespace
