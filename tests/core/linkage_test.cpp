#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/core/plug_rig.h"

namespace {

constexpr int kBlock = 96;

/// Linked detectors that hear the same are run as one, unless they ever heard something else: one
/// block that is far below all levels, unlinked, makes an effect run them all its life.
void runApartFromNowOn(PlugRig& rig) {
  Stereo<double> faint(kBlock);
  faint.channels[0].assign(kBlock, 1e-200);
  rig.setText("B1SCLink=0 B2SCLink=0");
  for (int block = 0; block < 40; ++block) render(rig.plug, faint, kBlock);
  rig.setText("B1SCLink=100 B2SCLink=100");
}

}  // namespace

/// Bit by bit, through everything that takes the detectors of a band apart.
TEST(Linkage, OneDetectorForBothGivesWhatTwoGive) {
  const std::string settings =
      "B1Threshold=-30 B1Ratio=.6 B1Target=40 B1Frequency=300 B2State=1 B2Frequency=4000 "
      "B2RatioB=.5 B2Position=30 B2Lookahead=3 B2Threshold=-20 B2LR=1";
  const std::map<int, const char*> changes = {
      {20, "B1SCPos=20"}, {30, "B1Lookahead=25"}, {40, "B1SCLink=30"},  {60, "B1SCLink=100"},
      {70, "B2SCLink=0"}, {75, "B1Lookahead=2"},  {80, "SCListen=0"},   {85, "SCListen=-1"},
      {90, "B2Bypass=1"}, {95, "B2Bypass=0"},     {100, "B2Attack=30"}, {110, "B2State=0"},
      {120, "B2State=1"}, {150, "B2SCLink=70"}};
  PlugRig one(settings);
  PlugRig two(settings);
  runApartFromNowOn(two);
  render(two.plug, Stereo<double>(100 * kBlock), kBlock);
  render(one.plug, Stereo<double>(140 * kBlock), kBlock);
  const Stereo<double> input = noise<double>(200 * kBlock);
  const auto play = [&](PlugRig& rig) {
    return render(rig.plug, input, kBlock, [&](int at) {
      const auto change = changes.find(at / kBlock);
      if (change != changes.end()) rig.setText(change->second);
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
