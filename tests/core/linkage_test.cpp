#include <gtest/gtest.h>

#include "tests/core/plug_rig.h"

namespace {

constexpr int kBlock = 96;

/// Linked detectors that hear the same are run as one, unless they ever heard something else: one
/// block that is far below all levels, unlinked, makes an effect run them all its life.
void runApartFromNowOn(PlugRig& rig) {
  Stereo<double> faint(kBlock);
  faint.channels[0].assign(kBlock, 1e-200);
  rig.set({{"kB1SCLink", 0}, {"kB2SCLink", 0}});
  for (int block = 0; block < 40; ++block) render(rig.plug, faint, kBlock);
  rig.set({{"kB1SCLink", 100}, {"kB2SCLink", 100}});
}

}  // namespace

/// Bit by bit, through everything that takes the detectors of a band apart.
TEST(Linkage, OneDetectorForBothGivesWhatTwoGive) {
  const PlugRig::Settings settings = {
      {"kB1Threshold", -30}, {"kB1Ratio", 0.6},      {"kB1Target", 40},  {"kB1Frequency", 300},
      {"kB2State", 1},       {"kB2Frequency", 4000}, {"kB2RatioB", 0.5}, {"kB2Position", 30},
      {"kB2Lookahead", 3},   {"kB2Threshold", -20},  {"kB2LR", 1}};
  const struct {
    int block;
    const char* identifier;
    double plain;
  } changes[] = {{20, "kB1SCPos", 20},   {30, "kB1Lookahead", 25}, {40, "kB1SCLink", 30},
                 {60, "kB1SCLink", 100}, {70, "kB2SCLink", 0},     {75, "kB1Lookahead", 2},
                 {80, "kSCListen", 0},   {85, "kSCListen", -1},    {90, "kB2Bypass", 1},
                 {95, "kB2Bypass", 0},   {100, "kB2Attack", 30},   {110, "kB2State", 0},
                 {120, "kB2State", 1},   {150, "kB2SCLink", 70}};
  PlugRig one(settings);
  PlugRig two(settings);
  runApartFromNowOn(two);
  render(two.plug, Stereo<double>(100 * kBlock), kBlock);
  render(one.plug, Stereo<double>(140 * kBlock), kBlock);
  const Stereo<double> input = noise<double>(200 * kBlock);
  const auto play = [&](PlugRig& rig) {
    return render(rig.plug, input, kBlock, [&](int at) {
      for (const auto& change : changes) {
        if (change.block * kBlock == at) rig.set({{change.identifier, change.plain}});
      }
    });
  };
  const Stereo<double> expected = play(two);
  EXPECT_EQ(play(one).channels, expected.channels);
  for (int i = 0; i < 2; ++i) {
    for (int channel = 0; channel < 2; ++channel) {
      EXPECT_EQ(one.plug.getBandGain(i, 3, channel), two.plug.getBandGain(i, 3, channel));
    }
    EXPECT_EQ(one.plug.getBandEnvelope(i), two.plug.getBandEnvelope(i));
    EXPECT_EQ(one.plug.getGainReduction(i), two.plug.getGainReduction(i));
  }
}
