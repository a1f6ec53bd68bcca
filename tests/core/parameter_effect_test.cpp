// Every parameter is heard where it should be, and nowhere else: each of the 422 is moved in
// settings in which it matters and in settings in which it must not.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

constexpr double kOwn = 1000;   // as a value: the number of the band that is tried
constexpr double kNext = 1001;  // that of the band after it
constexpr double kSwap = 1002;  // the order of bands with these two exchanged

/// "Ratio" is a row of the band that is tried, "+Ratio" of the one after it, "kBypass" a global.
struct Setting {
  const char* name;
  double plain;
};
using Settings = std::vector<Setting>;

struct Move {
  const char* name;
  double to;
  bool latency = false;  // another latency is wanted, too
};

/// Settings, and what is heard or not when one of them is moved from there.
struct Scene {
  const char* what;
  Settings settings;
  std::vector<Move> heard;
  std::vector<Move> unheard;
  int frames = 3000;
  int channels = 2;
  double rate = 48000;
  bool offline = false;
};

Settings with(Settings base, const Settings& more) {
  base.insert(base.end(), more.begin(), more.end());
  return base;
}

/// A band over the whole spectrum, without latency but for its lookahead, in which everything
/// works.
Settings atWork() {
  return {{"State", 1},    {"Type", 1},      {"SubType", 7}, {"Threshold", -20}, {"Ratio", 0.5},
          {"Ceiling", 12}, {"RatioB", 0.5},  {"Floor", 12},  {"Knee", 30},       {"Position", 40},
          {"Gain", 3},     {"DryGain", 20},  {"Target", 30}, {"Attack", 2},      {"RelSlow", 100},
          {"RelFast", 15}, {"Lookahead", 1}, {"Shape", 60},  {"SCLink", 40},     {"SCPos", 40},
          {"SCTrim", 2},   {"Deadband", 3},  {"SCLFF", 500}, {"SCMFF", 1500},    {"SCMFG", 12},
          {"SCHFF", 2500}};
}

/// The band and the one after it as crossover bands, split at 950 Hz.
Settings crossed() {
  return with(
      atWork(),
      {{"Type", 0}, {"Frequency", 300}, {"+State", 1}, {"+Frequency", 3000}, {"+Lookahead", 0}});
}

std::vector<Move> all(std::initializer_list<std::vector<Move>> parts) {
  std::vector<Move> sum;
  for (const auto& part : parts) sum.insert(sum.end(), part.begin(), part.end());
  return sum;
}

/// Rows of the sidechain filters: of all types, of the pass filters, of the shelves.
const std::vector<Move> kFilterPlaces = {{"SCLFF", 900}, {"SCLFQ", 2}, {"SCMFF", 900},
                                         {"SCMFG", 6},   {"SCMFQ", 2}, {"SCHFF", 900},
                                         {"SCHFQ", 2}};
const std::vector<Move> kFilterSlopes = {{"SCLFSlope", 48}, {"SCHFSlope", 48}};
const std::vector<Move> kFilterGains = {{"SCLFG", 6}, {"SCHFG", 6}};
const std::vector<Move> kFilterTypes = {{"SCLFType", 1}, {"SCMFType", 1}, {"SCHFType", 1}};
const std::vector<Move> kSidechainFilters =
    all({kFilterPlaces, kFilterSlopes, kFilterGains, kFilterTypes});
const std::vector<Move> kSources = {{"SCSrc", 2},  {"SCLR", 1}, {"SCPos", 70}, {"SCLink", 80},
                                    {"SCTrim", 9}, {"SCLF", 1}, {"SCMF", 1},   {"SCHF", 1}};
const std::vector<Move> kDetector = {
    {"Threshold", -30}, {"Ceiling", 3},  {"Knee", 90},     {"Target", 80},      {"Attack", 20},
    {"RelSlow", 900},   {"RelFast", 90}, {"Crest", 18},    {"Shape", 0},        {"Floor", 3},
    {"Deadband", 9},    {"RMS", 400},    {"Position", 90}, {"kLogBehaviour", 1}};
const std::vector<Move> kFilterRows = {
    {"Frequency", 2000}, {"Slope", 48}, {"Slope2", 48}, {"Q", 2}};
const std::vector<Move> kRatios = {{"Ratio", 0.8}, {"RatioB", 0.8}};
const std::vector<Move> kExtensions = {{"kExtendedRanges", 1}, {"kExtendedRatios", 1}};
const std::vector<Move> kLevels = {{"Gain", -6}, {"DryGain", 90}};
const std::vector<Move> kPlaces = {
    {"Bypass", 1}, {"SubType", 2, true}, {"LR", 1}, {"Lookahead", 9, true}};
const std::vector<Move> kMix = {{"kIpTrim", 6}, {"kOpTrim", 6}, {"kWetDry", 50}, {"kListen", 1}};

std::vector<Scene> bandsAtWork() {
  const std::vector<Move> heard = {{"State", 0, true},
                                   {"Type", 0, true},
                                   {"kSCListen", kOwn},
                                   {"kBypass", 1},
                                   {"kOversample", 1, true}};
  return {
      {"a band at work", atWork(),
       all({kDetector, kSources, kRatios, kExtensions, kLevels, kPlaces, kMix, heard}),
       all({kFilterRows,
            kSidechainFilters,
            {{"SCSBand", kNext}, {"kOversampleOL", 2}, {"kABBank", 3}}})},
      {"oversampled", with(atWork(), {{"kOversample", 1}}), {{"kOversample", 2, true}}, {}},
      {"offline",
       atWork(),
       {{"kOversampleOL", 1, true}},
       {{"kOversample", 1}},
       3000,
       2,
       48000,
       true},
      {"mono",
       atWork(),
       {{"SCTrim", 5}, {"Gain", 0}},
       {{"LR", 1}, {"Position", 80}, {"SCLR", 1}, {"SCPos", 70}, {"SCLink", 80}},
       3000,
       1},
      {"two in a row",
       with(atWork(),
            {{"+State", 1}, {"+Type", 1}, {"+SubType", 7}, {"+Lookahead", 0}, {"+Gain", 9}}),
       {{"Solo", 1}, {"kBandOrder", kSwap}, {"kSCListen", kNext}},
       {{"SCSBand", kNext}}},
      {"measured", with(atWork(), {{"kOpTrim", 0}}), {{"kAutoGain", 1}}, {}, 12000, 2, 8000},
      {"expanded upward",
       with(atWork(), {{"Ratio", -0.5}, {"RatioB", -0.5}}),
       {{"kExtendedRatios", 1}, {"Ratio", 0}, {"RatioB", 0}},
       {}},
  };
}

std::vector<Scene> filtersAtWork() {
  const auto shaped = [](double shape) { return with(atWork(), {{"SubType", shape}}); };
  const std::vector<Move> frequency = {{"Frequency", 2000}}, slope = {{"Slope", 48}},
                          slope2 = {{"Slope2", 48}}, q = {{"Q", 2}},
                          switchedOff = {{"SCLF", 0}, {"SCMF", 0}, {"SCHF", 0}};
  const std::vector<Move> crossedHeard = {
      {"Frequency", 600}, {"+Frequency", 5000}, {"Slope", 48},
      {"SCSBand", kNext}, {"SCSrc", 0},         {"Solo", 1},
      {"+Solo", 1},       {"kSCListen", kNext}, {"Lookahead", 2, true}};
  const std::vector<Move> crossedUnheard = {
      {"SubType", 5}, {"Slope2", 48}, {"Q", 3}, {"+Slope", 48}, {"SCSBand", kOwn}};
  const Settings filtered = with(atWork(), {{"SCLF", 1}, {"SCMF", 1}, {"SCHF", 1}});
  const Settings shelves = with(
      filtered, {{"SCLFType", 1}, {"SCHFType", 1}, {"SCMFType", 1}, {"SCLFG", 9}, {"SCHFG", -9}});
  return {
      {"BPF", shaped(0), all({frequency, slope, q, {{"SubType", 1}}}), slope2, 4000},
      {"BPF B", shaped(1), all({frequency, slope, slope2, q}), {}, 4000},
      {"BPF EE", shaped(2), all({frequency, q}), all({slope, slope2}), 4000},
      {"LPF", shaped(3), all({frequency, slope, {{"SubType", 4}}}), all({slope2, q}), 4000},
      {"HPF B", shaped(6), all({frequency, slope, {{"SubType", 5}}}), all({slope2, q}), 4000},
      {"crossover bands", crossed(), crossedHeard, crossedUnheard, 5000},
      {"a crossover band that hears its neighbour",
       with(crossed(), {{"SCSBand", kNext}}),
       {{"SCTrim", 5}},
       {{"SCSrc", 0}, {"SCSrc", 2}},
       5000},
      {"pass filters and a peak", filtered,
       all({kFilterPlaces, kFilterSlopes, kFilterTypes, switchedOff}), kFilterGains},
      {"shelves and a band-pass", shelves, all({kFilterPlaces, kFilterGains}), kFilterSlopes},
  };
}

std::vector<Scene> bandsAtRest() {
  const std::vector<Move> sidechain = all({kSources, kSidechainFilters, {{"SCSBand", kNext}}});
  const std::vector<Move> chain = {{"Type", 1}, {"Solo", 1}};
  const Settings next = {{"State", 0},    {"kBandOrder", kSwap}, {"+State", 1},      {"+Type", 1},
                         {"+SubType", 7}, {"+Ratio", 0.5},       {"+Threshold", -30}};
  return {
      {"ratios of 1:1",
       with(atWork(), {{"Ratio", 0}, {"RatioB", 0}, {"Gain", 0}, {"DryGain", 0}}),
       {},
       all({kDetector, sidechain, kExtensions})},
      {"bypassed",
       with(atWork(), {{"Bypass", 1}}),
       {},
       all({kDetector, sidechain, kRatios, kLevels})},
      {"off", next, {}, all({kDetector, sidechain, kRatios, kFilterRows, kLevels, kPlaces, chain})},
      {"no way up or down", with(atWork(), {{"Ceiling", 0}, {"Floor", 0}}), {}, kRatios},
      {"always slow",
       with(atWork(), {{"Crest", 24}}),
       {{"RelSlow", 300}},
       {{"RelFast", 2}, {"RMS", 400}}},
      {"always fast",
       with(atWork(), {{"Crest", 0}}),
       {{"RelFast", 60}},
       {{"RelSlow", 30}, {"RMS", 400}}},
      {"ballistics on the level",
       with(atWork(), {{"Shape", 100}}),
       {{"Attack", 6}},
       {{"kLogBehaviour", 1}}},
      {"all dry",
       with(atWork(), {{"kWetDry", 0}}),
       {{"kIpTrim", 3}},
       all({kRatios, kDetector, sidechain, kLevels, {{"kOpTrim", 6}}})},
      {"effect bypassed",
       with(atWork(), {{"kBypass", 1}}),
       {{"Lookahead", 3, true}},
       all({kRatios, kDetector, sidechain, kLevels, kMix})},
  };
}

struct Trace {
  Stereo<double> output;
  int latency = 0;
  bool operator==(const Trace&) const = default;
};

int after(int band) { return (band + 1) % kNumBands; }

int parameterId(const char* name, int band) {
  const std::string text(name);
  if (text.front() == 'k') return PlugRig::id(name);
  const bool next = text.front() == '+';
  return bandParameterId(next ? after(band) : band,
                         PlugRig::id(("kB1" + text.substr(next ? 1 : 0)).c_str()));
}

/// One scene with one of the eight bands as its band.
class Stage {
 public:
  Stage(const Scene& ofScene, int ofBand)
      : scene(ofScene), band(ofBand), rig({{"kB1State", 0}}, ofScene.rate) {
    {
      // Values as they come back from the host's 0..1, also where a default is a little off.
      const Plug::UpdateHold hold(rig.plug);
      for (int index = 0; index < kNumParams; ++index) {
        rig.plug.setParameter(index, rig.plug.getParameter(index));
      }
    }
    rig.processLevel = scene.offline ? kProcessLevelOffline : 2;
    applyScene();
    // Banks that hold the same sound the same.
    for (int bank = 0; bank < Plug::kNumBanks; ++bank) rig.plug.copyToBank(bank);
  }

  /// From silence, with a parameter moved as a user would.
  Trace run(const Move* move) {
    settle();
    rig.plug.resume();
    if (move == nullptr) return renderInput();
    const int index = parameterId(move->name, band);
    const float before = rig.plug.getParameter(index);
    rig.plug.beginEdit(index);
    rig.set(index, plain(move->to));
    rig.plug.endEdit(index);
    const Trace trace = renderInput();
    rig.plug.setParameter(index, before);
    applyScene();
    return trace;
  }

 private:
  void applyScene() {
    rig.set(kBandOrder, order(band, after(band)));
    for (const Setting& setting : scene.settings)
      rig.set(parameterId(setting.name, band), plain(setting.plain));
  }
  /// The sidechain filters' coefficients glide to where they were set, also across `resume`.
  void settle() {
    constexpr int kLongerThanRamps = 1100;
    const RealTimeCheck::Exception mayGoOffline;
    render(rig.plug, Stereo<double>(kLongerThanRamps), kLongerThanRamps);
  }
  [[nodiscard]] double plain(double value) const {
    if (value == kOwn) return band;
    if (value == kNext) return after(band);
    return value == kSwap ? order(after(band), band) : value;
  }
  /// The order that begins with two bands, as `kBandOrder` holds it.
  [[nodiscard]] static double order(int first, int second) {
    std::vector<int> bands = {first, second};
    for (int b = 0; b < kNumBands; ++b) {
      if (b != first && b != second) bands.push_back(b);
    }
    double packed = 0.0;
    for (int i = 0; i < 7; ++i) packed += bands[static_cast<std::size_t>(i)] * std::pow(8.0, i);
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
      if (scene.channels == 1) in = {in[0], in[2], nullptr, nullptr};
      std::array<double*, 2> out = {&trace.output.channels[0][at], &trace.output.channels[1][at]};
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

/// Well below what an ear would tell, well above what rounding does.
constexpr double kHeard = 1e-4;

void tryScene(const Scene& scene, int band, std::set<int>& heard) {
  // Everything with the bands at the ends, with the others what no scene before has tried.
  const bool everything = band == 0 || band == kNumBands - 1;
  std::vector<const Move*> news;
  for (const Move& move : scene.heard) {
    if (everything || heard.count(parameterId(move.name, band)) == 0) news.push_back(&move);
  }
  if (!everything && news.empty()) return;
  Stage stage(scene, band);
  const Trace still = stage.run(nullptr);
  ASSERT_GT(deviation(still.output, Stereo<double>(scene.frames), 0), 0.1) << "nothing comes out";
  for (const Move* const move : news) {
    const Trace moved = stage.run(move);
    EXPECT_GT(deviation(still.output, moved.output, 0), kHeard) << move->name << " to " << move->to;
    if (move->latency) {
      EXPECT_NE(still.latency, moved.latency) << move->name;
    }
    heard.insert(parameterId(move->name, band));
  }
  EXPECT_TRUE(still == stage.run(nullptr)) << "moved back, something stays";
  if (!everything) return;
  for (const Move& move : scene.unheard) {
    const Trace moved = stage.run(&move);
    EXPECT_EQ(deviation(still.output, moved.output, 0), 0.0) << move.name << " to " << move.to;
    EXPECT_EQ(still.latency, moved.latency) << move.name;
  }
}

void tryScenes(const std::vector<Scene>& scenes, std::initializer_list<int> bands,
               std::set<int>& heard) {
  for (const Scene& scene : scenes) {
    for (const int band : bands) {
      SCOPED_TRACE(testing::Message() << scene.what << ", band " << band + 1);
      tryScene(scene, band, heard);
    }
  }
}

TEST(ParameterEffectTest, EachIsHeardWhereItMatters) {
  // Says which of the stored states is shown: that switch has no sound of its own.
  std::set<int> heard = {kABBank};
  const auto kAll = {0, 1, 2, 3, 4, 5, 6, 7};
  tryScenes(bandsAtWork(), kAll, heard);
  tryScenes(filtersAtWork(), kAll, heard);
  for (int index = 0; index < kNumParams; ++index) {
    EXPECT_EQ(heard.count(index), 1U) << parameterKeyTable().name(index) << " is never heard";
  }
}

TEST(ParameterEffectTest, NoneIsHeardWhereItMustNotBe) {
  std::set<int> heard;
  tryScenes(bandsAtRest(), {0, 7}, heard);
}

}  // namespace
