// Every parameter is heard where it should be, and nowhere else: each of the 422 is moved in
// settings in which it matters and in settings in which it must not.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

using std::string;

/// Settings and what is heard or not when one of them is moved from there, as texts. "Ratio" is a
/// row of the band that is tried, "+Ratio" of the one after it, "kBypass" a global; "own" and
/// "next" are the numbers of these bands, "swap" the order with both exchanged. "!" behind a value:
/// another latency is wanted, too.
struct Scene {
  const char* what;
  string settings, heard, unheard;
  int frames = 3000;
  int channels = 2;
  double rate = 48000;
  bool offline = false;
};

/// A band over the whole spectrum, late by its lookahead alone, in which everything works.
const string kAtWork =
    " State=1 Type=1 SubType=7 Threshold=-20 Ratio=.5 Ceiling=12 RatioB=.5 Floor=12 Knee=30"
    " Position=40 Gain=3 DryGain=20 Target=30 Attack=2 RelSlow=100 RelFast=15 Lookahead=1 Shape=60"
    " SCLink=40 SCPos=40 SCTrim=2 Deadband=3 SCLFF=500 SCMFF=1500 SCMFG=12 SCHFF=2500";
/// The band and the one after it as crossover bands, split at 950 Hz.
const string kCrossed = kAtWork + " Type=0 Frequency=300 +State=1 +Frequency=3000 +Lookahead=0";
const string kFiltered = kAtWork + " SCLF=1 SCMF=1 SCHF=1";

// Rows of the sidechain filters: of all types, of the pass filters, of the shelves.
const string kPlaces = " SCLFF=900 SCLFQ=2 SCMFF=900 SCMFG=6 SCMFQ=2 SCHFF=900 SCHFQ=2";
const string kSlopes = " SCLFSlope=48 SCHFSlope=48";
const string kGains = " SCLFG=6 SCHFG=6";
const string kTypes = " SCLFType=1 SCMFType=1 SCHFType=1";
const string kSources = " SCSrc=2 SCLR=1 SCPos=70 SCLink=80 SCTrim=9 SCLF=1 SCMF=1 SCHF=1";
const string kDetector =
    " Threshold=-30 Ceiling=3 Knee=90 Target=80 Attack=20 RelSlow=900 RelFast=90 Crest=18 Shape=0"
    " Floor=3 Deadband=9 RMS=400 Position=90 kLogBehaviour=1";
const string kFilter = " Frequency=2000 Slope=48 Slope2=48 Q=2";
const string kRatios = " Ratio=.8 RatioB=.8";
const string kExtensions = " kExtendedRanges=1 kExtendedRatios=1";
const string kLevels = " Gain=-6 DryGain=90";
const string kStage = " Bypass=1 SubType=2! LR=1 Lookahead=9!";
const string kMix = " kIpTrim=6 kOpTrim=6 kWetDry=50 kListen=1";
const string kSidechain = kSources + kPlaces + kSlopes + kGains + kTypes + " SCSBand=next";
const string kFilters = kPlaces + kSlopes + kGains + kTypes;

const Scene kWorking[] = {
    {"a band at work", kAtWork,
     kDetector + kSources + kRatios + kExtensions + kLevels + kStage + kMix +
         " State=0! Type=0! kSCListen=own kBypass=1 kOversample=1!",
     kFilter + kFilters + " SCSBand=next kOversampleOL=2 kABBank=3"},
    {"oversampled", kAtWork + " kOversample=1", "kOversample=2!", ""},
    {"offline", kAtWork, "kOversampleOL=1!", "kOversample=1", 3000, 2, 48000, true},
    {"mono", kAtWork, "SCTrim=5 Gain=0", "LR=1 Position=80 SCLR=1 SCPos=70 SCLink=80", 3000, 1},
    {"two in a row", kAtWork + " +State=1 +Type=1 +SubType=7 +Lookahead=0 +Gain=9",
     "Solo=1 kBandOrder=swap kSCListen=next", "SCSBand=next"},
    {"measured", kAtWork + " kOpTrim=0", "kAutoGain=1", "", 12000, 2, 8000},
    {"upward", kAtWork + " Ratio=-.5 RatioB=-.5", "kExtendedRatios=1 Ratio=0 RatioB=0", ""},
    {"BPF", kAtWork + " SubType=0", "Frequency=2000 Slope=48 Q=2 SubType=1", "Slope2=48", 4000},
    {"BPF B", kAtWork + " SubType=1", kFilter, "", 4000},
    {"BPF EE", kAtWork + " SubType=2", "Frequency=2000 Q=2", "Slope=48 Slope2=48", 4000},
    {"LPF", kAtWork + " SubType=3", "Frequency=2000 Slope=48 SubType=4", "Slope2=48 Q=2", 4000},
    {"HPF B", kAtWork + " SubType=6", "Frequency=2000 Slope=48 SubType=5", "Slope2=48 Q=2", 4000},
    {"crossover bands", kCrossed,
     "Frequency=600 +Frequency=5000 Slope=48 SCSBand=next SCSrc=0 Solo=1 +Solo=1 kSCListen=next "
     "Lookahead=2!",
     "SubType=5 Slope2=48 Q=3 +Slope=48 SCSBand=own", 5000},
    {"hears its neighbour", kCrossed + " SCSBand=next", "SCTrim=5", "SCSrc=0 SCSrc=2", 5000},
    {"pass filters and a peak", kFiltered, kPlaces + kSlopes + kTypes + " SCLF=0 SCMF=0 SCHF=0",
     kGains},
    {"shelves and a band-pass", kFiltered + " SCLFType=1 SCHFType=1 SCMFType=1 SCLFG=9 SCHFG=-9",
     kPlaces + kGains, kSlopes},
};

const Scene kResting[] = {
    {"ratios of 1:1", kAtWork + " Ratio=0 RatioB=0 Gain=0 DryGain=0", "",
     kDetector + kSidechain + kExtensions},
    {"bypassed", kAtWork + " Bypass=1", "", kDetector + kSidechain + kRatios + kLevels},
    {"off", " State=0 kBandOrder=swap +State=1 +Type=1 +SubType=7 +Ratio=.5 +Threshold=-30", "",
     kDetector + kSidechain + kRatios + kFilter + kLevels +
         " Bypass=1 SubType=2 LR=1 Lookahead=9 Type=1 Solo=1"},
    {"no way up or down", kAtWork + " Ceiling=0 Floor=0", "", kRatios},
    {"always slow", kAtWork + " Crest=24", "RelSlow=300", "RelFast=2 RMS=400"},
    {"always fast", kAtWork + " Crest=0", "RelFast=60", "RelSlow=30 RMS=400"},
    {"ballistics on the level", kAtWork + " Shape=100", "Attack=6", "kLogBehaviour=1"},
    {"all dry", kAtWork + " kWetDry=0", "kIpTrim=3",
     kRatios + kDetector + kSidechain + kLevels + " kOpTrim=6"},
    {"effect bypassed", kAtWork + " kBypass=1", "Lookahead=3!",
     kRatios + kDetector + kSidechain + kLevels + kMix},
};

/// One scene with one of the eight bands as its band.
class Stage {
 public:
  struct Move {
    int index;
    double plain;
    bool latency;
    string text;
  };
  struct Trace {
    Stereo<double> output;
    int latency = 0;
    bool operator==(const Trace&) const = default;
  };

  Stage(const Scene& ofScene, int ofBand)
      : scene(ofScene), band(ofBand), rig({{"kB1State", 0}}, ofScene.rate) {
    {
      // Values as they come back from the host's 0..1, also where a default is a little off.
      const Plug::UpdateHold hold(rig.plug);
      for (int id = 0; id < kNumParams; ++id) rig.plug.setParameter(id, rig.plug.getParameter(id));
    }
    rig.processLevel = scene.offline ? kProcessLevelOffline : 2;
    applyScene();
    // Banks that hold the same sound the same.
    for (int bank = 0; bank < Plug::kNumBanks; ++bank) rig.plug.copyToBank(bank);
  }

  [[nodiscard]] std::vector<Move> moves(const string& text) const {
    std::vector<Move> all;
    std::istringstream words(text);
    for (string name, value; std::getline(words >> std::ws, name, '=') && words >> value;) {
      const bool next = name.front() == '+';
      const string row = "kB1" + name.substr(next ? 1 : 0);
      const int global = PlugRig::id(name.c_str());
      const int of = bandParameterId(next ? after() : band, PlugRig::id(row.c_str()));
      const double plain = value == "own"    ? band
                           : value == "next" ? after()
                           : value == "swap" ? order(after(), band)
                                             : std::stod(value);
      all.push_back({name.front() == 'k' ? global : of, plain, value.back() == '!', name});
    }
    return all;
  }

  /// From silence, with a parameter moved as a user would.
  Trace run(const Move* move) {
    // The sidechain filters' coefficients glide to where they were set, also across `resume`.
    constexpr int kLongerThanRamps = 1100;
    {
      const RealTimeCheck::Exception mayGoOffline;
      render(rig.plug, Stereo<double>(kLongerThanRamps), kLongerThanRamps);
    }
    rig.plug.resume();
    if (move == nullptr) return renderInput();
    const float before = rig.plug.getParameter(move->index);
    rig.plug.beginEdit(move->index);
    rig.set(move->index, move->plain);
    rig.plug.endEdit(move->index);
    const Trace trace = renderInput();
    rig.plug.setParameter(move->index, before);
    applyScene();
    return trace;
  }

 private:
  [[nodiscard]] int after() const { return (band + 1) % kNumBands; }
  void applyScene() {
    rig.set(kBandOrder, order(band, after()));
    for (const Move& setting : moves(scene.settings)) rig.set(setting.index, setting.plain);
  }
  /// The order that begins with two bands, as `kBandOrder` holds it.
  [[nodiscard]] static double order(int first, int second) {
    double packed = first + 8 * second;
    for (int b = 0, place = 2; b < kNumBands && place < 7; ++b) {
      if (b != first && b != second) packed += b * std::pow(8.0, place++);
    }
    return packed / std::pow(2.0, 21);
  }

  Trace renderInput() {
    Trace trace{Stereo<double>(scene.frames)};
    const auto frames = static_cast<std::size_t>(scene.frames);
    auto main = noise<double>(scene.frames);
    auto side = noise<double>(scene.frames + 77);  // what the sidechain hears comes earlier
    for (std::size_t i = 0; i < frames; ++i) {
      const double level = i < frames / 2 ? 0.1 : i < 3 * frames / 4 ? 0.9 : 0.02;
      main.channels[0][i] *= level;
      main.channels[1][i] *= 0.6 * level;
    }
    constexpr std::size_t kBlock = 250;
    for (std::size_t at = 0; at < frames; at += kBlock) {
      rig.plug.onIdle();
      std::array<double*, 4> in = {&main.channels[0][at], &main.channels[1][at],
                                   &side.channels[0][at + 77], &side.channels[1][at + 77]};
      std::array<double*, 2> out = {&trace.output.channels[0][at], &trace.output.channels[1][at]};
      if (scene.channels == 1) in = {in[0], in[2], nullptr, nullptr};
      if (scene.channels == 1) out[1] = nullptr;
      process(rig.plug, in.data(), out.data(), kBlock);
    }
    trace.latency = rig.plug.getAeffect()->initialDelay;
    return trace;
  }

  const Scene& scene;
  int band;
  PlugRig rig;
};

/// Everything with the bands at the ends, with the others what no scene before has tried.
void tryScene(const Scene& scene, int band, std::set<int>& heard) {
  SCOPED_TRACE(testing::Message() << scene.what << ", band " << band + 1);
  const bool everything = band == 0 || band == kNumBands - 1;
  Stage stage(scene, band);
  auto news = stage.moves(scene.heard);
  const auto isOld = [&](const auto& move) { return heard.count(move.index) != 0; };
  if (!everything) std::erase_if(news, isOld);
  if (!everything && news.empty()) return;
  const auto still = stage.run(nullptr);
  ASSERT_GT(deviation(still.output, Stereo<double>(scene.frames), 0), 0.1) << "nothing comes out";
  // Well below what an ear would tell, well above what rounding does.
  constexpr double kHeard = 1e-4;
  for (const auto& move : news) {
    const auto moved = stage.run(&move);
    EXPECT_GT(deviation(still.output, moved.output, 0), kHeard) << move.text << move.plain;
    EXPECT_TRUE(!move.latency || still.latency != moved.latency) << move.text;
    heard.insert(move.index);
  }
  EXPECT_TRUE(still == stage.run(nullptr)) << "moved back, something stays";
  if (!everything) return;
  for (const auto& move : stage.moves(scene.unheard)) {
    EXPECT_TRUE(still == stage.run(&move)) << move.text << move.plain;
  }
}

TEST(ParameterEffectTest, EachIsHeardWhereItMatters) {
  // Says which of the stored states is shown: that switch has no sound of its own.
  std::set<int> heard = {kABBank};
  for (const Scene& scene : kWorking) {
    for (int band = 0; band < kNumBands; ++band) tryScene(scene, band, heard);
  }
  EXPECT_EQ(heard.size(), std::size_t{kNumParams});
}

TEST(ParameterEffectTest, NoneIsHeardWhereItMustNotBe) {
  std::set<int> heard;
  for (const Scene& scene : kResting) {
    for (const int band : {0, 7}) tryScene(scene, band, heard);
  }
}

}  // namespace
