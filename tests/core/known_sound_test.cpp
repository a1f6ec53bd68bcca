// Recorded sound: seeded settings of everything, changed while they play, and what is to be heard
// and seen of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"
#include "tests/support/all_kernels.h"
#include "tests/support/known_numbers.h"

namespace {

// In parts, for several processes; only one where sanitizers take their time.
constexpr int kParts = 8;
#ifdef NDEBUG
constexpr int kPartsPlayed = kParts;
#else
constexpr int kPartsPlayed = 1;
#endif
constexpr int kScenes = 152, kCalm = 96;
// There, the rounding of an instruction set decides what is heard.
constexpr std::array kUnsteady = {0, 1, 6, 15, 47, 59, 66, 81, 90, 96, 121, 125, 135};
constexpr int kFrames = 12000;
constexpr std::array kRates = {44100.0, 48000.0, 88200.0, 96000.0, 192000.0};

/// Rows whose whole range would leave little to be heard, or that make much of a rounding;
/// normalised.
constexpr struct {
  int row;
  float from, to;
} kNarrow[] = {{kB1Threshold, 0.0F, 0.6F}, {kB1Gain, 0.3F, 0.7F},      {kB1Ceiling, 0.0F, 0.5F},
               {kB1Floor, 0.0F, 0.5F},     {kB1Lookahead, 0.0F, 0.1F}, {kB1SCTrim, 0.2F, 0.5F},
               {kB1RatioB, 0.0F, 0.75F},   {kB1SCLFQ, 0.1F, 0.5F},     {kB1SCMFQ, 0.1F, 0.5F},
               {kB1SCHFQ, 0.1F, 0.5F},     {kB1SCLFF, 0.3F, 1.0F},     {kB1SCMFF, 0.3F, 1.0F},
               {kB1SCHFF, 0.3F, 1.0F}};

constexpr std::array<int, 15> kHeardGlobals = {
    kIpTrim, kOpTrim,    kWetDry,     kListen,         kBypass,
    kWetDry, kSCListen,  kOversample, kOversampleOL,   kLogBehaviour,
    kWetDry, kBandOrder, kOversample, kExtendedRanges, kExtendedRatios};
constexpr std::array<int, 7> kSwitched = {kB1Bypass, kB1Solo,   kB1LR,   kB1SCLR,
                                          kB1SCLink, kB1Target, kB1State};

/// From `kCalm` on, few bands that do one thing, while channels come and go and switches are
/// thrown: there, single samples and meters tell. Before it, everything at once.
class Scene {
 public:
  explicit Scene(int number)
      : name(std::to_string(number)), random(static_cast<unsigned>(number)), calm(number >= kCalm) {
    rig.prefer("Meter Ballistic", below(4));
    rig.prefer("Autolisten", below(2));
    const double rate = kRates.at(static_cast<std::size_t>(number) % kRates.size());
    rig.plug.setSampleRate(static_cast<float>(rate));  // which all that is preferred follows
    rig.plug.resume();
    rig.messages.clear();
    rig.plug.setMeterDecay(below(100));
    rig.clockStep = below(3) == 0 ? 15 : 100;
    single = below(6) == 0;
    const UpdateHold together(rig.plug.updates());
    if (below(2) == 0) rig.plug.deleteBand(0);
    for (int band = below(calm ? 2 : 8); band >= 0; --band) workOnBands(0);
    for (int band = 0; band < kNumBands; ++band) {
      for (int row = kB1Bypass; row <= kB1SCHFType; ++row) {
        const bool works = row == kB1Threshold || row == kB1Ratio || row == kB1Target;
        const bool turned = row != kB1Type && row != kB1Frequency && below(4) < (calm ? 1 : 3);
        if (turned || (calm && works)) turn(band, row);
      }
    }
    for (const int index : kHeardGlobals) {
      if (!calm && index != kBypass && index != kBandOrder && below(3) == 0) turnGlobal(index);
    }
    mono = below(5) == 0;
    side = below(4);
    block = pick(std::array{32, 64, 100, 250, 1000, 5000});
    if (calm) block = std::min(block, 250);
  }

  /// Plays it to its end and looks at what is heard and seen of it.
  void expect(KnownNumbers& known) {
    rig.plug.resume();
    while (played < kFrames) {
      if (played > 0 && below(1 + 1200 / block) == 0) change();
      if (below(3) == 0) rig.plug.onIdle();
      const int frames = std::min(block, kFrames - played);
      const auto out = single ? playBlock<float>(frames) : playBlock<double>(frames);
      for (std::size_t c = 0; c < 2; ++c) {
        heard.channels[c].insert(heard.channels[c].end(), out.channels[c].begin(),
                                 out.channels[c].end());
      }
      look();
    }
    expectPlayed(known);
  }

 private:
  int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
  template <std::size_t count>
  int pick(const std::array<int, count>& all) {
    return all[random() % count];
  }
  void workOnBands(int what) {
    const int bands = calm ? 2 : 8;
    if (what == 0) {
      const double frequency = 60.0 * std::pow(2.0, 0.5 * below(16));
      rig.plug.addBand(below(3), frequency);
    }
    if (what == 1) rig.plug.deleteBand(below(bands));
    if (what == 2) {
      const int list = below(3);
      rig.plug.setBandPosition(below(bands), list);
    }
    if (what == 3) rig.plug.switchBank(below(2));
  }

  /// Both channels that come out; silence where there is none.
  template <typename Sample>
  Stereo<double> playBlock(int frames) {
    std::array<std::vector<Sample>, 4> pins;
    for (std::size_t pin = 0; pin < 4; ++pin) {
      pins[pin].reserve(static_cast<std::size_t>(frames));
      for (int i = played; i < played + frames; ++i) {
        const double level =
            std::array{0.02, 0.9, 0.3, 0.1}[(static_cast<std::size_t>(i / 700) + pin) % 4];
        const double sample = level * (below(2001) * 1e-3 - 1.0);
        pins[pin].push_back(static_cast<Sample>(sample));
      }
    }
    played += frames;
    std::array<Sample*, 4> in = {pins[0].data(), pins[1].data(), pins[2].data(), pins[3].data()};
    std::array<Sample*, 2> out = {pins[0].data(), pins[1].data()};
    if (mono) in = {pins[0].data(), pins[2].data(), nullptr, nullptr};
    if (mono) out[1] = nullptr;
    // No sidechain, or of one channel.
    if (side == 0) in[mono ? 1 : 2] = nullptr;
    if (side == 1 && !mono) in[3] = nullptr;
    {
      const RealTimeCheck::Exception mayGoOfflineOrMeetALongBlock;
      process(rig.plug, in.data(), out.data(), frames);
    }
    Stereo<double> output(frames);
    for (std::size_t c = 0; c < (mono ? 1U : 2U); ++c) {
      std::ranges::copy(pins[c], output.channels[c].begin());
    }
    return output;
  }

  float share() { return static_cast<float>(below(33)) / 32.0F; }

  void turn(int band, int row) {
    const int index = bandParameterId(band, row);
    float value = share();
    for (const auto& narrow : kNarrow) {
      if (narrow.row == row) value = narrow.from + (narrow.to - narrow.from) * value;
    }
    if (rig.plug.parameterInfo(index).curve == kCurveSwitch) {
      value = below(row == kB1Solo || row == kB1Bypass ? (calm ? 3 : 12) : 2) == 0 ? 1.0F : 0.0F;
    }
    rig.plug.setParameter(index, value);
  }
  void turnGlobal(int index) {
    if (rig.plug.parameterInfo(index).curve == kCurveSwitch) {
      rig.plug.setParameter(index, rig.plug.getParameter(index) == 0.0F ? 1.0F : 0.0F);
    } else if (index == kSCListen) {
      rig.set(index, std::max(-1, below(24) - 16));
    } else {
      rig.plug.setParameter(index, index <= kOpTrim ? 0.4F + 0.2F * share() : share());
    }
  }
  /// One thing changes between two blocks, as a host or a user may do.
  void change() {
    const int what = calm ? pick(std::array{1, 2, 4, 4, 4, 5, 7, 9, 12, 12, 12, 12}) : below(16);
    if (what < 4) workOnBands(what);
    if (what == 4) mono = !mono;
    if (what == 5) side = below(4);
    if (what == 6) rig.processLevel = rig.processLevel == 0 ? kProcessLevelOffline : 0;
    if (what == 7 && below(3) == 0) rig.plug.resume();
    if (what == 8) rig.plug.updateDsp(true);
    if (what >= 9 && what < 12) turnGlobal(pick(kHeardGlobals));
    if (what < 12) return;
    for (int i = 0; i < (calm ? 1 : 20); ++i) {
      const int row = calm ? pick(kSwitched) : kB1Bypass + below(kBandRows - 1);
      turn(below(calm ? 3 : 8), row);
    }
  }

  /// The meters of one block, added to those of all before.
  void look() {
    // The others of each pair see all that has been.
    for (const int selector : {0, 3, 4, 7}) polled += rig.plug.getGainReduction(selector);
    const Plug& plug = rig.plug;
    std::array<std::array<double, 32>, AnalyserFeed::kTraces> traces;
    double* const buffers[] = {traces[0].data(), traces[1].data(), traces[2].data(),
                               traces[3].data()};
    plug.getAnalyserData(buffers, static_cast<int>(traces[0].size()));
    for (std::size_t t = 0; t < traces.size(); ++t) {
      for (const double x : traces[t]) drawn[t] += x * x;
    }
    for (int band = 0; band < kNumBands; ++band) {
      const std::array now = {plug.getBandGain(band, 1, 0),  plug.getBandGain(band, 1, 1),
                              plug.getBandGain(band, 2, 0),  plug.getBandGain(band, 2, 1),
                              plug.getBandEnvelope(band),    plug.getBandLamp(band, true),
                              plug.getBandLamp(band, false), plug.getBandGraphGain(band)};
      auto& sums = seen[static_cast<std::size_t>(band)];
      std::ranges::transform(sums, now, sums.begin(), std::plus<>());
    }
  }

  /// Each quarter along a noise of its own, and the energy.
  static std::vector<double> sumsOf(const std::vector<double>& signal) {
    static const std::vector<double> along = noise<double>(kFrames).channels[0];
    std::vector<double> sums(5);
    for (std::size_t i = 0; i < signal.size(); ++i) {
      sums[4 * i / signal.size()] += 0.1 * signal[i] * along[i];
      sums[4] += signal[i] * signal[i];
    }
    return sums;
  }

  void expectPlayed(KnownNumbers& known) {
    const auto expect = [&](const std::string& what, const std::vector<double>& values) {
      known.expect(name + what, values, 1e-5, 1e-5);
    };
    const int latency = rig.plug.getAeffect()->initialDelay;
    std::vector<double> numbers = {double(latency), double(rig.count(kHostIoChanged, 0)), polled};
    for (const int c : {0, 1}) numbers.push_back(rig.plug.getOutputPeak(c));
    for (int s = 0; s < 8; ++s) numbers.push_back(rig.plug.getGainReduction(s));
    expect(" latency and meters", numbers);
    expect(" left", sumsOf(heard.channels[0]));
    expect(" right", sumsOf(heard.channels[1]));
    expect(" analyser", {drawn.begin(), drawn.end()});
    for (std::size_t band = 0; band < seen.size(); ++band) {
      if (seen[band][4] == 0.0) continue;  // was never on
      expect(" band " + std::to_string(band + 1), {seen[band].begin(), seen[band].end()});
    }
  }

  std::string name;
  std::mt19937 random;
  PlugRig rig;
  AnalyserReader analysed{rig.plug.getEngine().analyserFeed()};
  bool calm, single, mono;
  int side, block, played = 0;
  double polled = 0.0;
  std::array<double, AnalyserFeed::kTraces> drawn{};
  std::array<std::array<double, 8>, kNumBands> seen{};
  Stereo<double> heard{0};
};

class KnownSoundTest : public testing::TestWithParam<int> {};

TEST_P(KnownSoundTest, ScenesSoundAsTheyWereRecordedWithEveryInstructionSet) {
  withAllKernels([] {
    KnownNumbers known(TEST_DATA "/known_sound_" + std::to_string(GetParam()) + ".txt");
    for (int number = GetParam(); number < kScenes; number += kParts) {
      const bool isSteady = std::ranges::find(kUnsteady, number) == kUnsteady.end();
      if (isSteady) Scene(number).expect(known);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Parts, KnownSoundTest, testing::Range(0, kPartsPlayed));

}  // namespace
