// Every parameter is heard where it should be, and nowhere else: each of the 422 is moved in
// settings in which it matters and in settings in which it must not.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

using std::string;

struct Scene {
  string what, settings, heard, unheard;
  int frames = 0, channels = 0;
  double rate = 0.0;
  bool offline = false;
};

std::vector<Scene> scenes() {
  std::vector<Scene> all;
  std::map<string, string> groups;
  const auto expanded = [&groups](const string& text) {
    string whole;
    std::istringstream words(text);
    for (string word; words >> word;) whole += (word[0] == '$' ? groups.at(word) : word) + ' ';
    return whole;
  };
  for (const DataRow& row : dataRows(TEST_DATA "/parameter_effects.txt")) {
    if (row[0].front() == '$') {
      groups[row[0]] = expanded(row[1]);
      continue;
    }
    Scene& scene =
        all.emplace_back(Scene{row[0], expanded(row[1]), expanded(row[2]), expanded(row[3])});
    std::istringstream(row[4]) >> scene.frames >> scene.channels >> scene.rate >> scene.offline;
  }
  return all;
}

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
      : scene(ofScene), band(ofBand), rig("B1State=0", ofScene.rate) {
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
    Trace trace = renderInput();
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
    const auto frames = static_cast<std::size_t>(scene.frames);
    auto main = noise<double>(scene.frames);
    auto side = noise<double>(scene.frames + 77);  // what the sidechain hears comes earlier
    for (auto& channel : side.channels) channel.erase(channel.begin(), channel.begin() + 77);
    for (std::size_t i = 0; i < frames; ++i) {
      const double level = i < frames / 2 ? 0.1 : i < 3 * frames / 4 ? 0.9 : 0.02;
      main.channels[0][i] *= level;
      main.channels[1][i] *= 0.6 * level;
    }
    if (scene.channels == 1) main.channels[1].clear();
    const auto idle = [this](int /*frame*/) { rig.plug.onIdle(); };
    return {render(rig.plug, main, 250, idle, &side), rig.plug.getAeffect()->initialDelay};
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

class ParameterEffectTest : public testing::TestWithParam<int> {};

TEST_P(ParameterEffectTest, EachIsHeardWhereItMattersAndNowhereElse) {
  const int band = GetParam();
  const bool atEnd = band == 0 || band == kNumBands - 1;
  // Says which of the stored states is shown: that switch has no sound of its own.
  std::set<int> heard = {kABBank};
  for (const Scene& scene : scenes()) {
    if (atEnd || !scene.what.starts_with("resting")) tryScene(scene, band, heard);
  }
  for (int id = 0; id < kNumParams; ++id) {
    const bool wanted = !isBandParameter(id) || bandOf(id) == band;
    EXPECT_TRUE(!wanted || heard.count(id) == 1) << parameterKeyTable().name(id);
  }
}

INSTANTIATE_TEST_SUITE_P(Bands, ParameterEffectTest, testing::Range(0, kNumBands));

}  // namespace
