// The chain as a whole: bands that do nothing give the input back, as late as the host was told.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

using std::string;
using std::to_string;

constexpr double kMinus280Db = 1e-14;

/// A band that leaves its signal alone.
string idle(int band, double frequency, bool dynamicEq, const string& more = "") {
  return ofBand(band, "State=1 Bypass=1 Lookahead=0 Frequency=" + to_string(frequency) +
                          (dynamicEq ? " Type=1 " : " Type=0 ") + more);
}

/// `count` crossover bands from `first` on.
string crossed(int first, int count) {
  string settings;
  for (int i = 0; i < count; ++i) {
    settings += idle(first + i, 60.0 * std::pow(2.2, i), false, "Slope=" + to_string(6 + 12 * i));
  }
  return settings;
}

/// Settings and the latency at 48 kHz.
std::vector<std::pair<string, std::size_t>> chains() {
  std::vector<std::pair<string, std::size_t>> all = {
      {"", 0},
      {"Oversample=2", 0},
      {crossed(1, 3) + "B1Lookahead=1 B3Lookahead=10", 1535 + 480},
      {crossed(2, 3) + idle(1, 300, true) + idle(5, 3000, true) +
           "B1Lookahead=10 B3Lookahead=10 B5Lookahead=10",
       1535 + 480 + 2 * (1024 + 480)}};
  for (const int bands : {1, 2, 3, 8}) all.emplace_back(crossed(1, bands), 1535);
  for (int shape = 0; shape < 8; ++shape) {
    const std::size_t filter = shape == 7 ? 0 : 1024;
    const string subType = "SubType=" + to_string(shape);
    all.emplace_back(crossed(2, 2) + idle(1, 1000, true, subType), 1535 + filter);
    all.emplace_back(crossed(1, 2) + idle(3, 1000, true, subType), 1535 + filter);
    all.emplace_back(idle(1, 1000, true, subType) + "B1Lookahead=10", 480 + filter);
  }
  return all;
}

TEST(ChainTest, GivesTheInputBackAsLateAsToldDryAndTheSidechainInStepWithIt) {
  const auto input = noise<double>(8000);
  auto side = input;
  std::ranges::reverse(side.channels);
  for (const auto& [settings, latency] : chains()) {
    SCOPED_TRACE(settings);
    for (const int block : {64, 1000}) {
      PlugRig rig("B1State=0");
      rig.setText(settings);
      const auto play = [&](const string& more) {
        rig.setText(more);
        rig.plug.resume();
        return render(
            rig.plug, input, block, [](int) {}, &side);
      };
      // Each filter adds its band and what is beside it: one rounding more.
      EXPECT_LT(deviation(input, play(""), latency), 3 * kMinus280Db);
      ASSERT_EQ(latencyOf(rig), latency);
      EXPECT_LT(deviation(Stereo<double>(8000), play("Listen=1"), 0), 3 * kMinus280Db);
      for (int band = 1; band <= kNumBands; ++band) {
        if (rig.plug.getParameter(bandParameterId(band - 1, kB1State)) == 0.0F) continue;
        const auto heard =
            play(ofBand(band, "SCSrc=2") + "Listen=0 SCListen=" + to_string(band - 1));
        EXPECT_LT(deviation(side, heard, latency), 3 * kMinus280Db) << "heard by band " << band;
      }
    }
  }
}

}  // namespace
