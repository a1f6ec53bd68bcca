// Recorded sound: seeded settings of everything, changed while they play, and what is to be heard
// and seen of them. Whoever changes a sound on purpose makes the recording again, by the variable
// CORVANTHELIS_REMAKE_SOUND of the environment, and looks at what has changed.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/vector_kernels.h"
#include "tests/core/plug_rig.h"

namespace {

#ifdef NDEBUG
constexpr std::size_t kEvery = 1;
#else
constexpr std::size_t kEvery = 8;  // where sanitizers take their time
#endif
constexpr std::size_t kParts = 6;
constexpr std::size_t kScenes = 152, kCalm = 96;
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
  explicit Scene(std::size_t number)
      : random(static_cast<unsigned>(number)),
        rig({}, kRates[number % kRates.size()]),
        calm(number >= kCalm) {
    title << "scene " << number << " at " << kRates[number % kRates.size()] << " Hz:";
    rig.prefer("Meter Ballistic", below(4));
    rig.prefer("Autolisten", below(2));
    rig.plug.setMeterDecay(below(100));
    rig.clockStep = below(3) == 0 ? 15 : 100;
    single = below(6) == 0;
    const Plug::UpdateHold together(rig.plug);
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

  /// Plays it to its end; what is to be heard and seen of it.
  std::string play() {
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
    return report();
  }

 private:
  int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }
  template <std::size_t count>
  int pick(const std::array<int, count>& all) {
    return all[random() % count];
  }
  void workOnBands(int what) {
    const int bands = calm ? 2 : 8;
    if (what == 0) rig.plug.addBand(below(3), 60.0 * std::pow(2.0, 0.5 * below(16)));
    if (what == 1) rig.plug.deleteBand(below(bands));
    if (what == 2) rig.plug.setBandPosition(below(bands), below(3));
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
    if (what == 6) rig.processLevel = rig.processLevel == 2 ? kProcessLevelOffline : 2;
    if (what == 7 && below(3) == 0) rig.plug.resume();
    if (what == 8) rig.plug.updateDsp(true);
    if (what >= 9 && what < 12) turnGlobal(pick(kHeardGlobals));
    if (what >= 12 && calm) return turn(below(3), pick(kSwitched));
    for (int i = 0; what >= 12 && i < 20; ++i) turn(below(8), kB1Bypass + below(kBandRows - 1));
  }

  /// The meters of one block, added to those of all before.
  void look() {
    // The others of each pair see all that has been.
    for (const int selector : {0, 3, 4, 7}) polled += rig.plug.getGainReduction(selector);
    const Plug& plug = rig.plug;
    std::array<std::array<double, 32>, AnalyserFeed::kTraces> traces;
    rig.plug.analyserFeed().copyLatest({traces[0], traces[1], traces[2], traces[3]});
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
  static void write(std::ostream& out, const std::vector<double>& signal) {
    static const std::vector<double> along = noise<double>(kFrames).channels[0];
    std::array<double, 5> sums{};
    for (std::size_t i = 0; i < signal.size(); ++i) {
      sums[4 * i / signal.size()] += 0.1 * signal[i] * along[i];
      sums[4] += signal[i] * signal[i];
    }
    for (const double sum : sums) out << ' ' << sum;
  }

  std::string report() {
    std::ostringstream out;
    out << std::setprecision(9) << title.str() << (single ? " float" : " double") << ", blocks of "
        << block << "\n latency " << rig.plug.getAeffect()->initialDelay << " told "
        << rig.count(kHostIoChanged, 0) << '\n';
    for (const std::size_t c : {0U, 1U}) {
      out << (c == 0 ? " left " : " right ") << rig.plug.getOutputPeak(static_cast<int>(c));
      write(out, heard.channels[c]);
      out << '\n';
    }
    out << " meters " << polled;
    for (int selector = 0; selector < 8; ++selector) {
      out << ' ' << rig.plug.getGainReduction(selector);
    }
    out << "\n analyser";
    for (const double trace : drawn) out << ' ' << trace;
    out << '\n';
    for (std::size_t band = 0; band < seen.size(); ++band) {
      if (seen[band][4] == 0.0) continue;  // was never on
      out << " band " << band + 1;
      for (const double sum : seen[band]) out << ' ' << sum;
      out << '\n';
    }
    return out.str();
  }

  std::mt19937 random;
  PlugRig rig;
  std::ostringstream title;
  bool calm, single, mono;
  int side, block, played = 0;
  double polled = 0.0;
  std::array<double, AnalyserFeed::kTraces> drawn{};
  std::array<std::array<double, 8>, kNumBands> seen{};
  Stereo<double> heard{0};
};

/// The first line in which reports differ by more than `rounding`, word by word; else nothing.
std::string difference(const std::string& found, const std::string& wanted, double rounding) {
  std::istringstream foundLines(found);
  std::istringstream wantedLines(wanted);
  for (std::string a, b; std::getline(wantedLines, b);) {
    std::getline(foundLines, a);
    std::istringstream words(a);
    std::istringstream others(b);
    for (std::string x, y; others >> y;) {
      words >> x;
      const double number = std::strtod(y.c_str(), nullptr);
      const double distance = std::abs(std::strtod(x.c_str(), nullptr) - number);
      const bool alike = x == y || distance <= rounding * std::max(1.0, std::abs(number));
      if (!alike) return "wanted:" + b + "\nfound: " + a;
    }
  }
  return {};
}

/// Of one scene with each instruction set.
std::vector<std::string> reports(std::size_t number) {
  std::vector<std::string> all;
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* const kernels : allVectorKernels()) {
    useVectorKernels(*kernels);
    all.push_back(Scene(number).play());
  }
  useVectorKernels(usual);
  return all;
}

/// But for scenes in which the rounding of an instruction set decides what is heard.
void remake() {
  std::ofstream file(TEST_DATA "/known_sound.txt");
  file << "# Made by: CORVANTHELIS_REMAKE_SOUND=1 core_tests --gtest_filter=*KnownSound*\n"
          "# Per scene: latency, how often the host heard of it; peak, four projections on noise\n"
          "# and energy of either output; meters by selector; energies of what the analyser draws\n"
          "# after each block; of each band, added up over all blocks: dynamic and transient gain "
          "of either\n"
          "# channel, envelope, lamps, gain in the graph.\n";
  for (std::size_t number = 0; number < kScenes; ++number) {
    const auto all = reports(number);
    const bool steady = std::ranges::all_of(
        all, [&all](const auto& each) { return difference(each, all[0], 1e-9).empty(); });
    if (steady) file << all[0];
  }
}

// In parts, for several processes.
class KnownSoundTest : public testing::TestWithParam<std::size_t> {};

TEST_P(KnownSoundTest, ScenesSoundAsTheyWereRecordedWithEveryInstructionSet) {
  const bool first = GetParam() == 0;
  if (first && std::getenv("CORVANTHELIS_REMAKE_SOUND") != nullptr) remake();
  std::vector<std::string> recorded;
  std::ifstream file(TEST_DATA "/known_sound.txt");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("scene")) recorded.emplace_back();
    if (!recorded.empty()) recorded.back() += line + '\n';
  }
  ASSERT_GT(recorded.size(), kScenes * 9 / 10);
  for (std::size_t i = GetParam(); i < recorded.size(); i += kParts * kEvery) {
    const std::size_t number = std::stoul(recorded[i].substr(std::string("scene ").size()));
    for (const std::string& report : reports(number)) {
      EXPECT_EQ(difference(report, recorded[i], 1e-5), "") << "scene " << number;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Parts, KnownSoundTest, testing::Range(std::size_t{0}, kParts));

}  // namespace
