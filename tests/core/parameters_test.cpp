// The table of parameters, their values as texts, and that each is heard where it should be and
// nowhere else: all are moved in settings in which they matter and in settings in which not.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/value_reading.h"
#include "host/curves.h"
#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

using std::string;

void take(const string& word, ValueTextContext& context) {
  if (word == "ranges") context.extendedRanges = 2.0F;
  if (word == "ratios") context.extendedRatios = true;
  if (word == "simple") context.simpleNumbers = true;
  if (word == "above") context.ratioAbove = 0.1F;
  if (word == "below") context.ratioBelow = 1.0F;
  if (word == "dyneq") context.dynamicEq = true;
  if (word == "lr") context.leftRight = true;
  if (word == "sclr") context.scLeftRight = true;
}

/// Also where a host has a decimal comma, if such a locale is installed.
TEST(ValueText, ShowsEachParameterInItsWords) {
  const string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* const locale : {"C", "de_DE.UTF-8", "fr_FR.UTF-8"}) {
    for (const DataRow& row : dataRows(TEST_DATA "/values.txt", 24)) {
      const int index = parameterKeyTable().find("k" + row[0]);
      ASSERT_GE(index, 0) << row[0];
      const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(index)];
      ValueTextContext context;
      for (const string& cell : row) {
        take(cell, context);
        const auto equals = cell.find('=');
        if (equals == string::npos) continue;
        const float plain = std::stof(cell.substr(0, equals));
        const bool isNote = std::ranges::find(row, "note") != row.end();
        std::setlocale(LC_NUMERIC, locale);
        const string text = valueText(index, plain, record, context, isNote);
        std::setlocale(LC_NUMERIC, before.c_str());
        EXPECT_EQ(text, cell.substr(equals + 1)) << row[0];
      }
    }
  }
}

/// What people write: "text=plain", "text=plain!" out of range, or what is refused without a "=".
TEST(ValueText, ReadsWhatPeopleWrite) {
  for (const DataRow& row : dataRows(TEST_DATA "/readings.txt", 24)) {
    const int index = parameterKeyTable().find("k" + row[0]);
    ASSERT_GE(index, 0) << row[0];
    ValueTextContext context;
    for (const string& cell : row) take(cell, context);
    for (std::size_t i = 2; i < row.size() && !row[i].empty(); ++i) {
      const auto equals = std::min(row[i].find('='), row[i].size());
      const auto read = readValue(index, row[i].substr(0, equals),
                                  kParameterTable[static_cast<std::size_t>(index)], context);
      std::ostringstream shown;
      shown << row[i].substr(0, equals);
      if (read) shown << '=' << read->plain << (read->isOutside ? "!" : "");
      EXPECT_EQ(shown.str(), row[i]) << row[0];
    }
  }
}

/// What each parameter shows, in 12 settings of what its texts depend on, reads back as a value
/// that is shown by the same text once the effect has taken it.
TEST(ValueText, ReadsWhatItShows) {
  constexpr int kPositions = 53;
  for (int setting = 0; setting < 12 * kNumParams; ++setting) {
    const int index = setting % kNumParams;
    const int kind = setting / kNumParams;
    ValueTextContext context;
    context.extendedRanges = static_cast<float>(kind % 3);
    context.extendedRatios = kind % 2 == 0;
    if (kind < 6) take("above", context);
    context.simpleNumbers = kind % 4 == 0;
    context.dynamicEq = context.leftRight = kind < 6;
    const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(index)];
    const auto shownAt = [&](float position, bool isNote) {
      const float plain = normalisedToPlain(position, record.min, record.max, record.curve);
      return valueText(index, plain, record, context, isNote);
    };
    for (int i = -2; i <= kPositions; ++i) {
      // Beside the ends, too, and at other places each time.
      const float inside =
          (static_cast<float>(i) + 0.001F * static_cast<float>(setting % 997)) / kPositions;
      const float position = i == -2 ? 1e-5F : i == -1 ? 1.0F - 1e-5F : std::min(inside, 1.0F);
      for (const bool isNote : {false, true}) {
        const string shown = shownAt(position, isNote);
        const auto read = readValue(index, shown, record, context);
        ASSERT_TRUE(read && !read->isOutside) << record.name << ' ' << shown;
        const float taken = plainToNormalised(read->plain, record.min, record.max, record.curve);
        ASSERT_EQ(shownAt(taken, isNote), shown) << record.name << " at " << position;
      }
    }
  }
}

// Sessions, automation and presets of users stand on every row: a change here is a change of
// format.
TEST(ParameterTableTest, NoRowHasChanged) {
  std::ostringstream rows;
  for (const ParameterRecord& r : kParameterTable) {
    rows << r.name << '|' << r.label << '|' << r.value << '|' << r.min << '|' << r.max << '|'
         << r.curve << '\n';
  }
  EXPECT_EQ(hashOf(rows.str()), 2277068351U) << rows.str();
  string identifiers;
  for (int id = 0; id < kNumParams; ++id) identifiers += parameterKeyTable().name(id) + ',';
  EXPECT_EQ(hashOf(identifiers), 3336954938U) << identifiers;
  EXPECT_FALSE(isBandParameter(kOpTrim) || isBandParameter(kBandOrder));
}

TEST(ParameterTableTest, EveryDefaultSurvivesTheMapsBitForBit) {
  for (const ParameterRecord& record : kParameterTable) {
    SCOPED_TRACE(record.name);
    const float normalised = plainToNormalised(record.value, record.min, record.max, record.curve);
    const float plain = normalisedToPlain(normalised, record.min, record.max, record.curve);
    EXPECT_EQ(plainToNormalised(plain, record.min, record.max, record.curve), normalised);
    EXPECT_NEAR(plain, record.value, 2e-6F + 1e-6F * std::abs(record.value));
  }
}

/// The rows with what their groups stand for.
std::vector<DataRow> scenes() {
  std::vector<DataRow> all;
  std::map<string, string> groups;
  for (DataRow& row : dataRows(TEST_DATA "/parameter_effects.txt")) {
    for (std::size_t i = 1; i < row.size(); ++i) {
      std::istringstream words(std::exchange(row[i], ""));
      for (string word; words >> word;) row[i] += (word[0] == '$' ? groups.at(word) : word) + ' ';
    }
    if (row[0].front() != '$') {
      all.push_back(row);
    } else {
      groups[row[0]] = row[1];
    }
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

  Stage(const DataRow& ofScene, int ofBand) : scene(ofScene), band(ofBand) {
    double rate = 0.0;
    bool offline = false;
    std::istringstream(scene[4]) >> frames >> channels >> rate >> offline;
    rig.plug.setSampleRate(static_cast<float>(rate));
    {
      // Values as they come back from the host's 0..1, also where a default is a little off.
      const UpdateHold hold(rig.plug.updates());
      for (int id = 0; id < kNumParams; ++id) rig.plug.setParameter(id, rig.plug.getParameter(id));
    }
    rig.processLevel = offline ? kProcessLevelOffline : 2;
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
    for (const Move& setting : moves(scene[1])) rig.set(setting.index, setting.plain);
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
    auto main = noise<double>(frames);
    auto side = noise<double>(frames + 77);  // what the sidechain hears comes earlier
    for (auto& channel : side.channels) channel.erase(channel.begin(), channel.begin() + 77);
    for (int i = 0; i < frames; ++i) {
      const double level = i < frames / 2 ? 0.1 : i < 3 * frames / 4 ? 0.9 : 0.02;
      main.channels[0][static_cast<std::size_t>(i)] *= level;
      main.channels[1][static_cast<std::size_t>(i)] *= 0.6 * level;
    }
    if (channels == 1) main.channels[1].clear();
    const auto idle = [this](int /*frame*/) { rig.plug.onIdle(); };
    return {render(rig.plug, main, 250, idle, &side), rig.plug.getAeffect()->initialDelay};
  }

  const DataRow& scene;
  int band, frames = 0, channels = 0;
  PlugRig rig{"B1State=0"};
};

/// Everything with the bands at the ends, with the others what no scene before has tried.
void tryScene(const DataRow& scene, int band, std::set<int>& heard) {
  SCOPED_TRACE(testing::Message() << scene[0] << ", band " << band + 1);
  const bool everything = band == 0 || band == kNumBands - 1;
  Stage stage(scene, band);
  auto news = stage.moves(scene[2]);
  const auto isOld = [&](const auto& move) { return heard.count(move.index) != 0; };
  if (!everything) std::erase_if(news, isOld);
  if (!everything && news.empty()) return;
  const auto still = stage.run(nullptr);
  ASSERT_GT(deviation(still.output, Stereo<double>(still.output.frames()), 0), 0.1)
      << "nothing comes out";
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
  for (const auto& move : stage.moves(scene[3])) {
    EXPECT_TRUE(still == stage.run(&move)) << move.text << move.plain;
  }
}

class ParameterEffectTest : public testing::TestWithParam<int> {};

TEST_P(ParameterEffectTest, EachIsHeardWhereItMattersAndNowhereElse) {
  const int band = GetParam();
  const bool atEnd = band == 0 || band == kNumBands - 1;
  // Says which of the stored states is shown: that switch has no sound of its own.
  std::set<int> heard = {kABBank};
  for (const DataRow& scene : scenes()) {
    if (atEnd || !scene[0].starts_with("resting")) tryScene(scene, band, heard);
  }
  for (int id = 0; id < kNumParams; ++id) {
    const bool wanted = !isBandParameter(id) || bandOf(id) == band;
    EXPECT_TRUE(!wanted || heard.count(id) == 1) << parameterKeyTable().name(id);
  }
}

INSTANTIATE_TEST_SUITE_P(Bands, ParameterEffectTest, testing::Range(0, kNumBands));

}  // namespace
