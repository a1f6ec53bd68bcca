// What the effect does to levels, measured from outside: steady gains, ballistics, channels,
// sidechains and what is listened to, against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

constexpr double kTolerance = 0.01;  // dB
constexpr int kSettled = 6000;       // frames in which the fast settings of `prepare` come to rest

using Pair = std::array<double, 2>;

double decibels(double gain) { return 20.0 * std::log10(std::abs(gain)); }

/// Band 1 over the whole spectrum, late by its lookahead alone; fast, so that levels settle.
void prepare(PlugRig& rig, const std::string& settings) {
  rig.setText("B1Type=1 B1SubType=7 B1Lookahead=0 B1Attack=1 B1Threshold=-20 " + settings);
  rig.plug.resume();
}

/// What comes out at last where a constant goes into each pin and the fastest tone there is, at
/// level `tone`, into the main ones: of the tone or, without one, of the constant.
Pair rest(PlugRig& rig, const std::array<double, 4>& pins, bool mono, double tone) {
  Stereo<double> main(kSettled), side(kSettled);
  for (std::size_t c = 0; c < 2; ++c) {
    main.channels[c].assign(kSettled, pins[c] + tone);
    for (std::size_t i = 1; i < kSettled; i += 2) main.channels[c][i] = pins[c] - tone;
    side.channels[c].assign(kSettled, pins[2 + c]);
  }
  if (mono) main.channels[1].clear();
  const auto out = render(
      rig.plug, main, 100, [](int) {}, &side);
  const auto& heard = out.channels;
  const auto restOf = [tone](const std::vector<double>& signal) {
    const double before = signal[kSettled - 2];
    return (signal.back() + (tone > 0.0 ? -before : before)) / 2;
  };
  return {restOf(heard[0]), restOf(heard[mono ? 0 : 1])};
}

std::vector<double> numbersOf(const std::string& text) {
  std::istringstream numbers(text);
  return {std::istream_iterator<double>(numbers), {}};
}

void expectRest(const DataRow& row, bool mono) {
  SCOPED_TRACE(row[0] + " at " + row[1] + " dB" + (mono ? ", mono: " : ": ") + row[4]);
  const std::string& kind = row[3];
  const std::vector<double> levels = numbersOf(row[1]), gains = numbersOf(row[2]);
  PlugRig rig;
  rig.prefer("Autolisten", kind == "beside" ? 1 : 0);
  prepare(rig, row[4]);
  std::array<double, 4> pins{};
  std::ranges::transform(levels, pins.begin(), linear);
  if (levels.size() == 1) pins[1] = pins[0];
  if (levels.size() == 2) pins[1] = -pins[1];
  Pair in = {pins[0], pins[1]};
  if (kind == "mid/side") pins = {in[0] + in[1], in[0] - in[1]};
  const double tone = kind == "tone" ? 1e-4 : 0.0;
  if (kind == "tone") in = {tone, tone};
  if (kind == "inverted") in = {-in[0], -in[1]};
  Pair out = rest(rig, pins, mono, tone);
  if (kind == "mid/side") out = {(out[0] + out[1]) / 2, (out[0] - out[1]) / 2};
  for (std::size_t c = 0; c < 2; ++c) {
    const double wanted = gains.empty() ? 0.0 : linear(gains[gains.size() == 1 ? 0 : c]);
    EXPECT_NEAR(out[c] / in[c], wanted, gains.empty() ? 2e-3 : 0.0011 * wanted) << c;
  }
}

TEST(DynamicsLawTest, SteadyGainsOfChannelsSourcesAndWhatIsListenedTo) {
  for (const DataRow& row : dataRows(TEST_DATA "/steady_gains.txt")) {
    expectRest(row, false);
    if (row[1].find(' ') == std::string::npos) expectRest(row, true);
  }
}

/// 4:1 above -20 dB, from -110 to -2 dB and back: attack, hold and release by the level, and the
/// attack by the gain. Half a second each; with always the slow times, or always the fast.
void expectTimes(double rate, double attack, double release, bool slow) {
  const double low = linear(-110), high = linear(-2);
  const auto wanted = [](double dB) { return dB > -20 ? -0.75 * (dB + 20) : 0.0; };
  const double perMs = rate * 0.001;
  const auto half = static_cast<std::size_t>(rate / 2);
  PlugRig rig(slow ? "B1Ratio=.75 B1RMS=20 B1Crest=24" : "B1Ratio=.75 B1Crest=0", rate);
  prepare(rig, "B1Attack=" + std::to_string(attack) + (slow ? " B1RelSlow=" : " B1RelFast=") +
                   std::to_string(release));
  Stereo<double> input(static_cast<int>(3 * half));
  input.channels[0].assign(3 * half, low);
  std::fill_n(input.channels[0].begin() + static_cast<std::ptrdiff_t>(half), half, high);
  input.channels[1] = input.channels[0];
  const auto byLevel = render(rig.plug, input, 100).channels[0];
  rig.setText("B1Shape=0");
  rig.plug.resume();
  const auto byGain = render(rig.plug, input, 100).channels[0];
  const auto rise = [&](std::size_t n) {
    return std::exp(-2.0 * static_cast<double>(n) / (perMs * attack));
  };
  const double top = high + (low - high) * rise(half);
  for (std::size_t i = half; i < 3 * half; i += 7) {
    const std::size_t n = i % half + 1;
    const double level = input.channels[0][i];
    const bool rises = i < 2 * half;
    const double fall =
        std::max(0.0, static_cast<double>(n) - std::floor(0.8 * perMs)) / (perMs * release);
    const double envelope =
        rises ? decibels(high + (low - high) * rise(n)) : decibels(top) - 40 / std::log(10) * fall;
    if (envelope < -60) continue;
    ASSERT_NEAR(decibels(byLevel[i] / level), wanted(envelope), kTolerance) << i;
    if (!rises) continue;
    ASSERT_NEAR(decibels(byGain[i] / level), wanted(-2) * (1 - rise(n)), kTolerance) << i;
  }
}

TEST(DynamicsLawTest, RisesHoldsAndFallsByItsTimes) {
  for (const bool slow : {false, true}) {
    expectTimes(44100, 3, 50, slow);
    expectTimes(48000, 0.02, 20, slow);
    expectTimes(48000, 40, 400, slow);
    expectTimes(96000, 10, 100, slow);
  }
}

}  // namespace
