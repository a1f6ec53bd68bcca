#include "graphs/band_curves.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

constexpr double kRate = 48000.0;

/// The level at `hertz`, in dB, of what comes out for an impulse far below all thresholds.
double heardAt(const Stereo<double>& out, double hertz) {
  std::complex<double> sum;
  for (int i = 0; i < out.frames(); ++i) {
    const double sample = out.channels[0][static_cast<std::size_t>(i)];
    sum += sample * std::polar(1.0, -2.0 * std::numbers::pi * hertz / kRate * i);
  }
  return 20.0 * std::log10(std::abs(sum) / 1e-6);
}

Stereo<double> impulseThrough(Plug& plug) {
  Stereo<double> in(24576);
  for (auto& channel : in.channels) channel[8192] = 1e-6;  // after the gains' ramps
  return render(plug, in, 512, [](int) {});
}

BandCurves::Settings settingsOf(int width) {
  BandCurves::Settings settings;
  settings.axis = {width, 10.0, 22050.0};
  return settings;
}

TEST(BandCurves, SumIsWhatTheChainDoesToASignal) {
  // Bands before, in and after the crossover, one bypassed, one off; gains that differ.
  PlugRig rig(
      "B1State=1 B1Type=0 B1Frequency=150 B1Gain=-9 B1Ratio=0 B2State=1 B2Type=0 B2Frequency=900 "
      "B2Gain=6 B2Ratio=0 B3State=1 B3Type=0 B3Frequency=6000 B3Gain=-4 B3DryGain=50 B3Ratio=0 "
      "B4State=1 B4Type=1 B4SubType=0 B4Frequency=2000 B4Gain=12 B4Ratio=0 "
      "B5State=1 B5Type=1 B5SubType=3 B5Frequency=9000 B5Gain=-12 B5Bypass=1 B6Gain=9 B6Type=1");
  BandCurves curves;
  ASSERT_TRUE(curves.update(rig.plug, settingsOf(300)));
  const Stereo<double> heard = impulseThrough(rig.plug);
  for (int column = 100; column < 300; column += 3) {
    const double hertz = settingsOf(300).axis.frequencyAt(column);
    EXPECT_NEAR(curves.response()[static_cast<std::size_t>(column)], heardAt(heard, hertz),
                hertz < 320.0 ? 0.65 : 0.15)
        << hertz;
  }
  EXPECT_TRUE(curves.runs(3));
  EXPECT_FALSE(curves.runs(4));
  EXPECT_FALSE(curves.runs(5));
}

TEST(BandCurves, MeasuredIsWhatABandLetsThroughAndDepartsWhereItsFilterIsTooShort) {
  BandCurves curves;  // of one effect after the other
  for (const char* kind : {"B1Type=1 B1SubType=5 B1Slope=48", "B1Type=1 B1SubType=0 B1Q=30",
                           "B1Type=0 B2State=1 B2Type=0 B2Frequency=90", "B1Type=1 B1SubType=7"}) {
    SCOPED_TRACE(kind);
    const std::string settings = std::string("B1State=1 B1Solo=1 B1Frequency=40 B1Ratio=0 ") + kind;
    PlugRig rig(settings);
    BandCurves::Settings shown = settingsOf(200);
    shown.lowest = -60.0;
    curves.update(rig.plug, shown);
    const Stereo<double> heard = impulseThrough(rig.plug);
    const bool isFlat = settings.ends_with("7");
    ASSERT_EQ(curves.measuredSpans(0).empty(), isFlat);
    std::vector<bool> departs(200);
    for (const ColumnSpan span : curves.measuredSpans(0)) {
      std::fill(departs.begin() + span.begin, departs.begin() + span.end, true);
    }
    std::vector<double> apart(202);  // one more at either end
    for (std::size_t i = 0; i < 200 && !isFlat; ++i) {
      const double level = heardAt(heard, settingsOf(200).axis.frequencyAt(static_cast<double>(i)));
      const double drawn = curves.shape(0)[i];
      if (level > -60.0) {
        EXPECT_NEAR(curves.measured(0)[i], level, 0.02) << i;
      }
      apart[i + 1] = std::max(drawn, level) > -60.0 ? std::abs(drawn - level) : 0.0;
    }
    for (std::size_t i = 0; i < 200 && !isFlat; ++i) {
      const double most = std::max({apart[i], apart[i + 1], apart[i + 2]});
      if (std::abs(most - 0.5) > 0.03) {
        EXPECT_EQ(departs[i], most > 0.5) << i;
      }
    }
  }
}

TEST(BandCurves, ChangeOnlyWithWhatTheyShow) {
  PlugRig rig("B1State=1 B1Type=1 B1SubType=2 B1Frequency=1000 B1Ratio=0.5 B1Threshold=-40");
  BandCurves curves;
  BandCurves::Settings settings = settingsOf(100);
  const auto changes = [&] {
    const bool first = curves.update(rig.plug, settings);
    EXPECT_FALSE(curves.update(rig.plug, settings));
    return first;
  };
  EXPECT_TRUE(changes());
  EXPECT_EQ(curves.response()[40], 0.0);
  settings.axis.minf = 20.0;
  EXPECT_TRUE(changes());
  settings.axis.width = 101;
  EXPECT_TRUE(changes());
  ASSERT_EQ(curves.shape(0).size(), 101U);
  for (const std::size_t i : {0U, 50U, 100U}) {
    const double hertz = settings.axis.frequencyAt(static_cast<double>(i));
    EXPECT_NEAR(curves.shape(0)[i], 20.0 * std::log10(rig.plug.getBandResponse(0, hertz)), 1e-4);
  }
  for (const char* change : {"B1Q=3", "B1Gain=-6", "B1Bypass=1", "B1Bypass=0", "B2State=1",
                             "B2Gain=3", "B1State=0", "B1State=1"}) {
    rig.setText(change);
    EXPECT_TRUE(changes()) << change;
  }
  // A loud tone: the live curve falls by what the detector takes away.
  Stereo<double> tone(9600);
  for (auto& channel : tone.channels) {
    for (std::size_t i = 0; i < channel.size(); ++i) {
      channel[i] = std::sin(2.0 * std::numbers::pi * 1000.0 * static_cast<double>(i) / kRate);
    }
  }
  render(rig.plug, tone, 512, [](int) {});
  EXPECT_TRUE(curves.update(rig.plug, settings));
  const double reduction = rig.plug.getBandGain(0, 3, 0);
  EXPECT_LT(reduction, -6.0);
  EXPECT_NEAR(curves.setGain(0), -6.0, 1e-6);
  EXPECT_NEAR(curves.liveGain(0), -6.0 + reduction, 1e-9);
}

TEST(BandCurves, GainChangesRiseAtOnceAndFallAsAsked) {
  const struct {
    double shown, now, decay, next;
  } rows[] = {{0, -6, 0, -6},
              {-6, -9, 0.1, -9},
              {-6, -2, 1, -2},
              {-6, -2, 0.25, -5},
              {-6, -2, 0, -6},
              {4, -2, 0.5, 1},
              {-6, -5.9995, 0.5, -5.9995},
              {3, 0, 0.5, 1.5},
              {0, 0, 0.5, 0}};
  for (const auto& row : rows) {
    EXPECT_DOUBLE_EQ(shownGainChange(row.shown, row.now, row.decay), row.next)
        << row.shown << " to " << row.now;
  }
  const std::vector<double> drawn = {0, 0, 0, 0, 0, 0, -30, -30, -30, -30, -30};
  const std::vector<double> heard = {1, 0, 0.5, 0, 0, -0.6, -30, -25, -25, -23, -30};
  EXPECT_EQ(departures(drawn, heard, -24.0), (std::vector<ColumnSpan>{{0, 2}, {4, 7}, {8, 11}}));
  EXPECT_EQ(departures(drawn, heard, -200.0), (std::vector<ColumnSpan>{{0, 2}, {4, 11}}));
}

}  // namespace
