#include "core/crossover_spacing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "host/alerts.h"
#include "tests/core/plug_rig.h"
#include "tests/core/scripted_dialogs.h"

namespace {

using List = BandLayout::List;
using Centres = std::vector<double>;

TEST(CrossoverSpacingTest, BandsGiveWayAndNobodyLeavesTheRange) {
  const struct {
    const char* what;
    Centres centres;
    std::size_t place;
    double wanted;
    Centres expected;
  } cases[] = {
      {"room on all sides", {100, 1000, 8000}, 1, 900, {100, 900, 8000}},
      {"up to one", {100, 1000, 8000}, 0, 660, {660, 1000, 8000}},
      {"up, close to one: both move", {100, 1000, 8000}, 0, 800, {1000 / 1.5, 1200, 8000}},
      {"up beyond two", {100, 200, 400, 8000}, 0, 600, {200 / 1.5, 400 / 1.5, 1350, 8000}},
      {"down, close to one", {100, 1000, 8000}, 1, 120, {80, 150, 8000}},
      {"the floor", {100}, 0, 10, {15}},
      {"down to the floor", {20, 1000}, 1, 15, {15, 30}},
      {"the ceiling", {1000}, 0, 20000, {20000}},
      {"up to the ceiling", {1000, 2000}, 0, 20000, {2000 / 1.5, 20000}},
      {"past a neighbour", {1000, 1050, 4000}, 0, 1100, {700, 1650, 4000}},
      {"onto a neighbour, from above", {1000, 3000}, 1, 1000, {1000 / 1.5, 1500}},
      {"a place not in use", {1000, 0, 1200}, 0, 1100, {800, 0, 1650}},
      {"no such place", {15, 20}, 7, 1000, {15, 22.5}},
      {"nothing", {}, 0, 1000, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Centres spaced = spacedCrossover(c.centres, c.place, c.wanted);
    ASSERT_EQ(spaced.size(), c.expected.size());
    for (std::size_t i = 0; i < spaced.size(); ++i) {
      EXPECT_NEAR(spaced[i], c.expected[i], 1e-9 * c.expected[i]) << i;
    }
  }
}

// As a hand moves it, a little at a time: the band takes all others along and keeps up.
TEST(CrossoverSpacingTest, ADraggedBandPushesTheOthersToTheEndOfTheRange) {
  constexpr double kLag = 0.04;  // a step of 1 % per neighbour, and rounding up
  const Centres start = {100, 1000, 1600, 9000};
  const struct {
    std::size_t place;
    double from, to;
    Centres end;
  } drags[] = {
      {0, 100, 20000, {20000 / 3.375, 20000 / 2.25, 20000 / 1.5, 20000}},
      {3, 9000, 10, {15, 22.5, 33.75, 50.625}},
      {1, 1000, 20000, {100, 20000 / 2.25, 20000 / 1.5, 20000}},
      {2, 1600, 10, {15, 22.5, 33.75, 9000}},
  };
  for (const auto& drag : drags) {
    SCOPED_TRACE(testing::Message() << drag.place << " to " << drag.to);
    Centres centres = start;
    const double step = drag.to > drag.from ? 1.01 : 1.0 / 1.01;
    for (double wanted = drag.from; (wanted < drag.to) == (step > 1.0); wanted *= step) {
      centres = spacedCrossover(centres, drag.place, wanted);
      const double limited = step > 1.0 ? std::min(wanted, drag.end[drag.place])
                                        : std::max(wanted, drag.end[drag.place]);
      ASSERT_NEAR(centres[drag.place], limited, kLag * limited);
      for (std::size_t i = 1; i < 4; ++i) ASSERT_GE(centres[i], centres[i - 1] * 1.4999999);
    }
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(centres[i], drag.end[i], kLag * drag.end[i]);
  }
}

double nearestInUse(const Centres& f, std::size_t i, int step, double bound) {
  for (auto k = static_cast<std::ptrdiff_t>(i) + step; k >= 0 && k < std::ssize(f); k += step) {
    if (f[static_cast<std::size_t>(k)] != 0.0) return f[static_cast<std::size_t>(k)];
  }
  return bound;
}

/// The rule word by word.
Centres literally(Centres f) {
  for (bool changed = true; changed;) {
    const Centres before = f;
    changed = false;
    for (std::size_t i = 0; i < f.size(); ++i) {
      if (f[i] == 0.0) continue;
      const double c = nearestInUse(before, i, -1, 10.0) * 1.5;
      const double upper = nearestInUse(before, i, 1, 30000.0);
      if (c > f[i]) {
        f[i] = c;
        changed = true;
      } else if (!changed && f[i] * 1.5 > upper) {
        f[i] = upper / 1.5;
        changed = true;
      }
    }
  }
  return f;
}

TEST(CrossoverSpacingTest, FollowsItsRuleFromAnywhere) {
  std::mt19937 random(20);
  const auto share = [&random] { return static_cast<double>(random()) / 4294967296.0; };
  const auto anywhere = [&share] { return 10.0 * std::pow(2000.0, share()); };
  for (int round = 0; round < 20000; ++round) {
    SCOPED_TRACE(round);
    Centres centres(1 + random() % 8);
    const bool crowded = share() < 0.3;
    for (double& centre : centres) centre = crowded ? 1000.0 + 100.0 * share() : anywhere();
    if (share() < 0.9) std::ranges::sort(centres);
    if (share() < 0.1) centres[random() % centres.size()] = 0.0;
    const std::size_t place = random() % centres.size();
    const double wanted = anywhere();
    const Centres spaced = spacedCrossover(centres, place, wanted);
    double below = 10.0;
    for (const double centre : spaced) {
      if (centre == 0.0) continue;
      ASSERT_GE(centre, below * 1.5 * (1.0 - 1e-12));
      below = centre;
    }
    ASSERT_LE(below, 20000.0);
    centres[place] = wanted;
    ASSERT_EQ(spaced, literally(centres));
  }
}

TEST(CrossoverSpacingTest, ComesToAnEndWhateverItIsGiven) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const Centres odd[] = {Centres(40, 1000.0), {kNan, kNan, 5},     {1000, kNan, 20},
                         {-100, -5, 0, 7},    {kInf, 1000, -kInf}, Centres(8, 0.0),
                         Centres(8, kInf),    Centres(8, -1.0),    {1e308, 1e308, 1e-308}};
  for (const Centres& centres : odd) {
    for (const double wanted : {1000.0, 0.0, -1.0, kNan, kInf, -kInf}) {
      for (const std::size_t place : {std::size_t{0}, centres.size() - 1, centres.size()}) {
        EXPECT_EQ(spacedCrossover(centres, place, wanted).size(), centres.size());
      }
    }
  }
}

int frequencyOf(int band) { return bandParameterId(band, kB1Frequency); }

using Values = std::vector<float>;

Values valuesOf(Plug& plug) {
  Values values;
  for (int id = 0; id < kNumParams; ++id) values.push_back(plug.getParameter(id));
  return values;
}

/// What the host was told of edits, in order, as "begin 115, set 115 1650, end 115".
std::string told(PlugRig& rig, std::size_t most = 100) {
  std::string text;
  for (const PlugRig::Message& m : rig.messages) {
    const bool set = m.opcode == kHostAutomate;
    if (!set && m.opcode != kHostBeginEdit && m.opcode != kHostEndEdit) continue;
    if (most-- == 0) break;
    text += text.empty() ? "" : ", ";
    text += set ? "set " : m.opcode == kHostBeginEdit ? "begin " : "end ";
    text += std::to_string(m.index);
    if (!set || !isBandParameter(m.index) || bandOneIdOf(m.index) != kB1Frequency) continue;
    text += " " + std::to_string(std::lround(rig.plug.normalisedToPlain(m.index, m.value)));
  }
  rig.messages.clear();
  return text;
}

/// Crossover bands 0, 1 and 2 at 1000, 1050 and 4000 Hz, and band 3 behind them at 1000 Hz.
void addBands(PlugRig& rig) {
  rig.plug.addBand(kXoverList, 1050.0);
  rig.plug.addBand(kXoverList, 4000.0);
  rig.plug.addBand(kPostList, 1000.0);
  ASSERT_EQ(rig.plug.getEngine().layout.xover, (List{0, 1, 2}));
  rig.messages.clear();
}

void drag(PlugRig& rig, int band, double hertz) {
  const int id = frequencyOf(band);
  rig.plug.setParameterAutomated(id, rig.plug.plainToNormalised(id, static_cast<float>(hertz)));
}

/// The crossover as parameters and engine have it, from the lowest band up.
void expectCrossover(PlugRig& rig, const List& bands, const Centres& hertz) {
  BandLayout& layout = rig.plug.getEngine().layout;
  EXPECT_EQ(layout.xover, bands);
  EXPECT_TRUE(layout.applyBandOrder(static_cast<double>(rig.plug.getPlainValue(kBandOrder))));
  EXPECT_EQ(layout.xover, bands) << "as the host would bring it back";
  for (std::size_t i = 0; i < bands.size(); ++i) {
    EXPECT_NEAR(rig.plug.getPlainValue(frequencyOf(bands[i])), hertz[i], 0.01) << i;
    EXPECT_NEAR(layout.frequency[static_cast<std::size_t>(bands[i])], hertz[i], 0.01) << i;
  }
}

TEST(CrossoverEditsTest, TheHostHearsOfThoseThatGiveWayAndThenOfTheBand) {
  PlugRig rig;
  addBands(rig);
  std::vector<double> seen;
  rig.onAutomate = [&] { seen.push_back(rig.plug.getEngine().layout.frequency[1]); };
  drag(rig, 0, 1200);
  EXPECT_EQ(told(rig), "begin 64, set 64 1800, end 64, set 13 700");
  ASSERT_EQ(seen.size(), 2U);
  EXPECT_NEAR(seen[1], 1050.0, 0.01) << "the engine gets all in one piece";
  rig.onAutomate = nullptr;
  drag(rig, 0, 30);
  EXPECT_EQ(told(rig), "set 13 30");
  drag(rig, 1, 36);
  EXPECT_EQ(told(rig), "begin 13, set 13 24, end 13, set 64 45");
  expectCrossover(rig, {0, 1, 2}, {24, 45, 4000});
  drag(rig, 0, 10);
  EXPECT_EQ(told(rig), "set 13 15") << "its own limit";
  drag(rig, 3, 20000);
  EXPECT_EQ(told(rig), "set 166 20000") << "no crossover band";
  rig.plug.setParameterAutomated(frequencyOf(0), std::numeric_limits<float>::quiet_NaN());
  rig.set(frequencyOf(0), 35);
  EXPECT_EQ(told(rig), "") << "the host's own automation moves nothing else";
  {
    const Plug::UpdateHold hold(rig.plug);
    drag(rig, 0, 34);
  }
  EXPECT_EQ(told(rig), "set 13 34") << "one of several that change as one";
  rig.prefer("VST Gestures", 0);
  drag(rig, 2, 20000);
  drag(rig, 0, 20000);
  EXPECT_EQ(told(rig), "set 13 30, set 64 51, set 115 20000, set 64 13333, set 13 34");
  expectCrossover(rig, {0, 1, 2}, {34, 20000 / 1.5, 20000});
}

TEST(CrossoverEditsTest, ALockedBandStaysAndTheHostHearsNothingOfIt) {
  PlugRig rig;
  addBands(rig);
  rig.plug.setLocked(frequencyOf(1), true);
  drag(rig, 0, 1200);
  EXPECT_EQ(told(rig), "set 13 700");
  expectCrossover(rig, {0, 1, 2}, {700, 1050, 4000});
}

TEST(CrossoverEditsTest, ABandThatComesFindsRoomOrNothingHappens) {
  PlugRig added;
  addBands(added);
  EXPECT_TRUE(added.plug.addBand(kXoverList, 1000.0));
  EXPECT_EQ(told(added, 7), "begin 13, set 13 667, end 13, begin 64, set 64 1500, end 64, set 206");
  expectCrossover(added, {0, 4, 1, 2}, {1000 / 1.5, 1000, 1500, 4000});

  PlugRig moved;
  addBands(moved);
  EXPECT_TRUE(moved.plug.setBandPosition(3, kXoverList));
  EXPECT_EQ(
      told(moved),
      "set 155, set 157, set 410, begin 13, set 13 667, end 13, begin 64, set 64 1575, end 64, "
      "set 166 1000");
  expectCrossover(moved, {0, 3, 1, 2}, {1000 / 1.5, 1000, 1575, 4000});

  PlugRig ends;
  for (const double hertz : {20000.0, 20000.0, 19000.0, 10.0, 14.0}) {
    EXPECT_TRUE(ends.plug.addBand(kXoverList, hertz));
  }
  const double top = 20000;
  expectCrossover(ends, {5, 4, 0, 2, 3, 1}, {15, 22.5, 1000, top / 2.25, top / 1.5, top});

  PlugRig broken({{"kB3State", 1}, {"kB3Type", 0}, {"kB3Frequency", 1000}});  // out of the chain
  EXPECT_TRUE(broken.plug.addBand(kXoverList, 1400.0));
  expectCrossover(broken, {0, 1, 2}, {1400 / 1.5, 1400, 2100});

  for (const int locked : {0, 1, 2}) moved.plug.setLocked(frequencyOf(locked), true);
  EXPECT_TRUE(moved.plug.addBand(kXoverList, 20000.0)) << "above those that stay";
  const Values before = valuesOf(moved.plug);
  moved.plug.setLocked(frequencyOf(3), true);
  moved.plug.setLocked(bandParameterId(6, kB1Knee), true);
  EXPECT_FALSE(moved.plug.addBand(kXoverList, 800.0));
  moved.plug.addBand(kPostList, 1000.0);
  const Values behind = valuesOf(moved.plug);
  EXPECT_FALSE(moved.plug.setBandPosition(5, kXoverList));
  EXPECT_EQ(valuesOf(moved.plug), behind);
  EXPECT_NE(before, behind);
  EXPECT_TRUE(moved.plug.isLocked(bandParameterId(6, kB1Knee))) << "nothing changes";
  ScriptedDialogs user;
  user.expectedCaption = "Halvekro : Band Error";
  Alerts::instance().show(user);
  EXPECT_EQ(user.warnings.size(), 2U) << "each refusal is told";
}

TEST(CrossoverEditsTest, AGestureTakesTheWholeCrossoverAlong) {
  PlugRig rig;
  addBands(rig);
  rig.plug.beginEdit(frequencyOf(1));
  EXPECT_EQ(told(rig), "begin 64, begin 13, begin 115");
  drag(rig, 1, 500);
  drag(rig, 1, 3000);
  EXPECT_EQ(told(rig), "set 13 333, set 64 1050, set 115 4500, set 64 2667")
      << "all in one gesture";
  rig.plug.deleteBand(0);
  rig.plug.setBandPosition(3, kXoverList);
  told(rig);
  rig.plug.endEdit(frequencyOf(1));
  EXPECT_EQ(told(rig), "end 64, end 13, end 115") << "those that were told to begin";
  drag(rig, 1, 4000);
  EXPECT_TRUE(told(rig).starts_with("begin 115, set 115 ")) << "no gesture: one of its own";
  for (const int next : {1, 3}) {  // the end of the first one is lost
    rig.plug.beginEdit(frequencyOf(1));
    told(rig);
    rig.plug.beginEdit(frequencyOf(next));
    EXPECT_TRUE(told(rig).starts_with("end 64, end 115, end 166, begin ")) << next;
    rig.plug.endEdit(frequencyOf(next));
    told(rig);
    rig.plug.endEdit(frequencyOf(1));
    EXPECT_EQ(told(rig), "") << "or it was only late";
  }
  for (const int alone : {bandParameterId(1, kB1Gain), frequencyOf(0), int{kIpTrim}}) {
    rig.plug.beginEdit(alone);
    rig.plug.endEdit(alone);
    EXPECT_EQ(told(rig), "begin " + std::to_string(alone) + ", end " + std::to_string(alone));
  }
  rig.prefer("VST Gestures", 0);
  rig.plug.beginEdit(frequencyOf(1));
  rig.plug.endEdit(frequencyOf(1));
  EXPECT_EQ(told(rig), "");
}

}  // namespace
