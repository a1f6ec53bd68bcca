// What the menus of parameters and bands do, and the editing of several bands as a group.

#include "core/parameter_actions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/band_actions.h"
#include "core/group_edit.h"
#include "tests/core/plug_rig.h"

namespace {

using Values = std::vector<float>;
using Bands = std::set<int>;

/// One step back is where it was, and there is no further one.
void expectOneStep(Plug& plug, const Values& before) {
  plug.undo();
  const Values now = normalisedValues(plug);
  for (std::size_t id = 0; id < now.size(); ++id) {
    EXPECT_EQ(now[id], before[id]) << parameterKeyTable().name(static_cast<std::int32_t>(id));
  }
  EXPECT_FALSE(plug.canUndo());
}

/// Bands whose row has the lock or the link.
Bands flagged(const Plug& plug, int row, bool (Plug::*flag)(std::int32_t) const) {
  Bands bands;
  for (int band = 0; band < kNumBands; ++band) {
    if ((plug.*flag)(bandParameterId(band, row))) bands.insert(band);
  }
  return bands;
}
Bands locksOf(const Plug& plug, int row) { return flagged(plug, row, &Plug::isLocked); }
Bands linksOf(const Plug& plug, int row) { return flagged(plug, row, &Plug::isLinked); }

/// The menu in one line: "title(entry,entry) entry".
std::string menuText(int id, const ParameterMenuState& state) {
  std::string text;
  for (const ParameterMenuPart& part : parameterMenu(id, state)) {
    text += (text.empty() ? "" : " | ") + part.title + ":";
    for (const std::string& entry : part.entries) text += " [" + entry + "]";
  }
  return text;
}

TEST(ParameterMenu, OffersWhatFitsTheParameterAndItsState) {
  using State = ParameterMenuState;
  using Midi = State::Midi;
  const State plain;
  const State locked{true, false, false, 3, Midi::kMapped, 74};
  const State linked{false, true, true, 2, Midi::kLearning, 0};
  const struct {
    int id;
    State state;
    const char* menu;
  } cases[] = {
      {kB1Threshold, plain,
       "Locking: [Lock] [Lock all others] [Unlock all others] [Lock all] [Lock all XOver] | "
       "Propagate: [To all bands] [To other XOver bands] | "
       "Link: [Link] [Link all bands] [Link all XOver bands] | : [Learn...]"},
      {bandParameterId(7, kB1SCHFType), locked,
       "Locking: [Unlock] [Lock all others] [Unlock all others] [Unlock all] "
       "[Unlock all Dynamic] [Unlock selected] | "
       "Propagate: [To all bands] [To other Dynamic bands] [To selected bands] | "
       "Link: [Link] [Link all bands] [Link all Dynamic bands] [Unlink selected] | "
       "MIDI: [Mapped to CC#74] [] [Relearn...] [Unlearn]"},
      {bandParameterId(3, kB1Gain), linked,
       "Locking: [Lock] [Lock all others] [Unlock all others] [Lock all] [Lock all XOver] "
       "[Lock selected] | "
       "Propagate: [To all bands] [To other XOver bands] [To selected bands] | "
       "Link: [Unlink] [Unlink all bands] [Unlink all XOver bands] [Link selected] | "
       ": [Cancel Learn]"},
      {kB1Frequency, plain,
       "Locking: [Lock] [Lock all others] [Unlock all others] [Lock all] [Lock all XOver] | "
       ": [Learn...]"},
      {kB1Bypass, plain, ": [Learn...]"},
      {bandParameterId(4, kB1Solo), plain, ": [Learn...]"},
      {kB1State, plain, ""},
      {bandParameterId(7, kB1State), plain, ""},
      {kIpTrim, locked, ": [Unlock] | MIDI: [Mapped to CC#74] [] [Relearn...] [Unlearn]"},
      {kABBank, plain, ": [Lock] | : [Learn...]"},
      {kBandOrder, plain, ""},
      {kNumParams, plain, ""},
      {-1, plain, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(menuText(c.id, c.state), c.menu) << c.id;

  PlugRig rig({{"kB3Type", 1}});
  MIDIMap& midi = rig.machine.midiMap();
  const int id = bandParameterId(2, kB1Knee);
  rig.plug.editorState().selectedBands = 0xffffff05;
  rig.plug.setLinked(id, true);
  midi.learn(id, 11);
  State state = parameterMenuState(rig.plug, id);
  EXPECT_TRUE(state.linked && !state.locked && !state.crossoverBand);
  EXPECT_EQ(state.selectedBands, 2);
  EXPECT_TRUE(state.midi == Midi::kMapped && state.controller == 11);
  midi.setLearnTarget(id);
  EXPECT_TRUE(parameterMenuState(rig.plug, id).midi == Midi::kLearning);
  EXPECT_TRUE(parameterMenuState(rig.plug, kIpTrim).midi == Midi::kUnmapped);
}

TEST(ParameterActions, LocksFollowTheChoice) {
  const struct {
    int action;
    bool wasLocked;  // band 2; band 5 is, always
    Bands after;
  } cases[] = {
      {kLockToggle, false, {1, 4}},
      {kLockToggle, true, {4}},
      {kLockAllOthers, false, {0, 2, 3, 4, 5, 6, 7}},
      {kLockAllOthers, true, {0, 1, 2, 3, 4, 5, 6, 7}},
      {kUnlockAllOthers, false, {}},
      {kUnlockAllOthers, true, {1}},
      {kLockAllBands, false, {0, 1, 2, 3, 4, 5, 6, 7}},
      {kLockAllBands, true, {}},
      {kLockOfKind, false, {1, 3, 4}},
      {kLockOfKind, true, {4}},
      {kLockSelected, false, {0, 4, 7}},
      {kLockSelected, true, {1, 4}},
      {6, false, {4}},
      {-1, true, {1, 4}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.action << (c.wasLocked ? ", locked" : ""));
    PlugRig rig({{"kB2Type", 1}, {"kB4Type", 1}});
    rig.plug.setLocked(bandParameterId(1, kB1Knee), c.wasLocked);
    rig.plug.setLocked(bandParameterId(4, kB1Knee), true);
    ParameterActions(rig.plug).lock(bandParameterId(1, kB1Knee), c.action, 0x81);
    EXPECT_EQ(locksOf(rig.plug, kB1Knee), c.after);
    EXPECT_TRUE(locksOf(rig.plug, kB1Ratio).empty() && linksOf(rig.plug, kB1Knee).empty());
  }
  PlugRig rig;
  ParameterActions actions(rig.plug);
  for (const int id : {int{kIpTrim}, int{kABBank}, int{kB1State}, int{kB1Bypass},
                       bandParameterId(3, kB1Solo), int{kBandOrder}, -1, int{kNumParams}}) {
    actions.lock(id, kLockAllBands, kEveryBand);
    if (id != kIpTrim && id != kABBank) actions.lock(id, kLockToggle, kEveryBand);
  }
  EXPECT_EQ(rig.plug.getLockWords(), Plug::FlagWords{});
  actions.lock(kIpTrim, kLockToggle, 0);
  EXPECT_TRUE(rig.plug.isLocked(kIpTrim));
}

TEST(ParameterActions, LinksPullAndPropagatedValuesGoWhereTheChoiceSays) {
  const struct {
    bool isLink;
    int action;
    Bands after;  // those that take the value of band 2
  } cases[] = {
      {true, kLinkToggle, {1}},
      {true, kLinkAllBands, {0, 1, 2, 3, 4, 5, 6, 7}},
      {true, kLinkOfKind, {1, 3}},
      {true, kLinkSelected, {1, 7}},
      {true, 4, {}},
      {false, kPropagateToAll, {0, 1, 2, 3, 4, 5, 6, 7}},
      {false, kPropagateToKind, {1, 3}},
      {false, kPropagateToSelected, {1, 7}},
      {false, 3, {1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.isLink ? "link " : "propagate ") << c.action);
    PlugRig rig({{"kB2Type", 1}, {"kB4Type", 1}});
    for (int band = 0; band < kNumBands; ++band) {
      rig.set(bandParameterId(band, kB1Knee), 10.0 + band);
    }
    rig.plug.setLocked(bandParameterId(3, kB1Knee), true);  // band 4 stays
    const Values before = normalisedValues(rig.plug);
    const int id = bandParameterId(1, kB1Knee);
    ParameterActions actions(rig.plug);
    const auto act = [&](int parameter) {
      c.isLink ? actions.link(parameter, c.action, 0x82)
               : actions.propagate(parameter, c.action, 0x82);
    };
    for (const int other : {int{kB1Frequency}, int{kB1Solo}, int{kIpTrim}}) act(other);
    EXPECT_EQ(normalisedValues(rig.plug), before);
    EXPECT_EQ(rig.plug.getLinkWords(), Plug::FlagWords{});
    act(id);
    EXPECT_EQ(linksOf(rig.plug, kB1Knee), c.isLink ? c.after : Bands{});
    for (int band = 0; band < kNumBands; ++band) {
      const bool takes = band != 3 && (band == 1 || c.after.contains(band));
      EXPECT_NEAR(rig.plug.getPlainValue(bandParameterId(band, kB1Knee)),
                  takes ? 11.0 : 10.0 + band, 1e-4)
          << band;
    }
    if (c.after.size() > 1) {
      EXPECT_EQ(rig.count(kHostAutomate, bandParameterId(7, kB1Knee)),
                !c.isLink && c.after.contains(7) ? 1 : 0);
      expectOneStep(rig.plug, before);
    }
  }
}

TEST(BandActions, FlagsGoToTheRowsOfTheRunningBandsMeant) {
  const struct {
    int scope;
    Bands bands;  // from band 2; bands 1 to 5 run, 2 and 4 are dynamic EQ
  } cases[] = {{kThisBand, {1}},
               {kOtherBands, {0, 2, 3, 4}},
               {kAllBands, {0, 1, 2, 3, 4}},
               {kCrossoverBands, {0, 2, 4}},
               {kDynamicBands, {1, 3}},
               {kSelectedBands, {0, 3}},
               {6, {}},
               {-1, {}}};
  const BandMask selected = 0x89;  // bands 1, 4 and 8
  for (const auto& c : cases) {
    SCOPED_TRACE(c.scope);
    PlugRig rig({{"kB2State", 1}, {"kB3State", 1}, {"kB4State", 1}, {"kB5State", 1}});
    rig.set({{"kB2Type", 1}, {"kB4Type", 1}, {"kB2Knee", 33}, {"kB2Gain", 5}, {"kB4Ratio", 1}});
    BandActions actions(rig.plug);
    const auto expectRows = [&](const Bands& bands, const auto& flagsOf, const Bands& without) {
      for (int row = kB1State; row <= kB1SCHFType; ++row) {
        const bool taken = row >= kB1Threshold && !without.contains(row);
        EXPECT_EQ(flagsOf(rig.plug, row), taken ? bands : Bands{}) << "row " << row;
      }
    };
    actions.lock(1, c.scope, selected);
    expectRows(c.bands, locksOf, {});
    actions.unlock(1, c.scope, selected);
    expectRows({}, locksOf, {});

    const Values before = normalisedValues(rig.plug);
    rig.plug.setLocked(bandParameterId(0, kB1Knee), true);
    actions.link(1, c.scope, selected);
    expectRows(c.bands, linksOf, {kB1Frequency, kB1Gain});
    for (const int band : c.bands) {
      EXPECT_NEAR(rig.plug.getPlainValue(bandParameterId(band, kB1Gain)), band == 1 ? 5 : 0, 1e-4);
      EXPECT_NEAR(rig.plug.getPlainValue(bandParameterId(band, kB1Knee)), band == 0 ? 0 : 33, 1e-4);
    }
    if (c.bands.size() > 1) expectOneStep(rig.plug, before);

    rig.plug.setLinked(bandParameterId(3, kB1Solo), true);
    actions.unlink(1, kAllBands, 0);
    EXPECT_TRUE(linksOf(rig.plug, kB1Knee).empty() && linksOf(rig.plug, kB1SCHFType).empty());
    EXPECT_EQ(linksOf(rig.plug, kB1Solo), Bands{3});
    EXPECT_EQ(rig.plug.getParameter(PlugRig::id("kB4Ratio")),
              rig.plug.getParameter(PlugRig::id("kB2Ratio")));
  }
  PlugRig rig;
  for (const int noBand : {-1, 8}) {
    BandActions(rig.plug).lock(noBand, kAllBands, 0);
    BandActions(rig.plug).link(noBand, kAllBands, 0);
    BandActions(rig.plug).copyBand(noBand, 0);
    BandActions(rig.plug).copyBand(0, noBand == -1 ? 9 : noBand);
  }
  EXPECT_EQ(rig.plug.getLockWords(), Plug::FlagWords{});
  EXPECT_FALSE(rig.plug.canUndo());
}

/// Rows and flags at random, the flags one in `rarity`.
void scramble(Plug& plug, std::mt19937& random, unsigned rarity) {
  std::uniform_real_distribution<float> anywhere;
  for (int band = 0; band < kNumBands; ++band) {
    for (int row = kB1State; row <= kB1SCHFType; ++row) {
      const int id = bandParameterId(band, row);
      const bool chain = row == kB1State || row == kB1Type || row == kB1Frequency;
      if (!chain && row != kB1Solo) plug.setParameter(id, anywhere(random));
    }
  }
  for (int id = kB1State; id < kBandOrder; ++id) {
    plug.setLocked(id, random() % rarity == 0);
    plug.setLinked(id, random() % rarity == 0);
  }
}

TEST(BandActions, ACopyTakesAllThatDoesNotSayWhereTheBandIs) {
  const Bands kept = {kB1State, kB1Bypass,    kB1Type,  kB1SubType,
                      kB1Solo,  kB1Frequency, kB1Slope, kB1Slope2};
  const struct {
    int target;
    Bands targets;
  } cases[] = {{3, {3}}, {7, {7}}, {1, {}}, {BandActions::kEveryTarget, {0, 2, 3, 4, 5, 6, 7}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.target);
    PlugRig rig({{"kB2State", 1}, {"kB4State", 1}, {"kB1Frequency", 200}, {"kB4Frequency", 9000}});
    std::mt19937 random(5);
    scramble(rig.plug, random, 3);
    const Values before = normalisedValues(rig.plug);
    const auto locks = rig.plug.getLockWords();
    const auto links = rig.plug.getLinkWords();
    BandActions(rig.plug).copyBand(1, c.target);
    const auto flag = [](const Plug::FlagWords& words, int id) {
      Plug::Flags flags;
      flags.setWords(words);
      return flags.get(id);
    };
    for (int id = kB1State; id < kBandOrder; ++id) {
      SCOPED_TRACE(parameterKeyTable().name(id));
      const bool copied = c.targets.contains(bandOf(id)) && !kept.contains(bandOneIdOf(id));
      const int from = copied ? bandParameterId(1, bandOneIdOf(id)) : id;
      EXPECT_EQ(rig.plug.getParameter(id), before[static_cast<std::size_t>(from)]);
      EXPECT_EQ(rig.plug.isLocked(id), flag(locks, from));
      EXPECT_EQ(rig.plug.isLinked(id), flag(links, from));
    }
    for (int band = 0; band < kNumBands; ++band) {
      for (int row = kB1State; row <= kB1SCHFType; ++row) {
        rig.plug.setLocked(bandParameterId(band, row), false);
      }
    }
    if (!c.targets.empty()) expectOneStep(rig.plug, before);
  }
}

/// A chain as a user would make one: bands added in any order to any list.
void buildChain(Plug& plug, std::mt19937& random) {
  plug.deleteBand(0);
  const unsigned bands = 1 + random() % 8;
  for (unsigned i = 0; i < bands; ++i) {
    const double frequency = 30.0 * std::exp2(std::uniform_real_distribution(0.0, 9.0)(random));
    plug.addBand(static_cast<int>(random() % 3), frequency);
  }
  if (random() % 2 == 0) plug.deleteBand(static_cast<int>(random() % bands));
}

TEST(BandActions, SortingNumbersTheChainAnewAndLeavesTheSound) {
  int sorted = 0;
  for (unsigned seed = 0; seed < 24; ++seed) {
    SCOPED_TRACE(seed);
    PlugRig rig;
    Plug& plug = rig.plug;
    BandLayout& layout = plug.getEngine().layout;
    std::mt19937 random(seed);
    buildChain(plug, random);
    scramble(plug, random, 6);
    if (seed % 3 == 0) rig.set(kSCListen, static_cast<double>(random() % 8));
    if (seed % 4 == 0) rig.set(bandParameterId(static_cast<int>(random() % 8), kB1Solo), 1);
    plug.setLocked(kBandOrder, seed % 5 == 0);
    plug.clearHistory();
    plug.resume();
    const auto input = noise<double>(6000);
    const auto heard = render(plug, input, 500);
    const Values before = normalisedValues(plug);
    const auto order = layout.order;
    std::array<int, 8> place{};
    for (int k = 0; k < kNumBands; ++k) {
      place.at(static_cast<std::size_t>(order.at(static_cast<std::size_t>(k)))) = k;
    }
    Plug::Flags locks;
    Plug::Flags links;
    locks.setWords(plug.getLockWords());
    links.setWords(plug.getLinkWords());
    const std::array sizes = {layout.pre.size(), layout.xover.size(), layout.post.size()};

    const bool inOrder = std::ranges::is_sorted(order);
    ASSERT_EQ(BandActions(plug).sortBands(), !inOrder);
    if (inOrder) continue;
    ++sorted;
    EXPECT_FALSE(BandActions(plug).sortBands()) << "once is enough";
    EXPECT_TRUE(std::ranges::is_sorted(layout.order));
    EXPECT_EQ((std::array{layout.pre.size(), layout.xover.size(), layout.post.size()}), sizes);
    EXPECT_EQ(plug.isLocked(kBandOrder), seed % 5 == 0);
    const auto renamed = [&place](double band) {
      return band < 0 ? band : place.at(static_cast<std::size_t>(band));
    };
    const auto plainBefore = [&](int id) {
      return static_cast<double>(plug.normalisedToPlain(id, before[static_cast<std::size_t>(id)]));
    };
    for (int id = kB1State; id < kBandOrder; ++id) {
      const int from =
          bandParameterId(order.at(static_cast<std::size_t>(bandOf(id))), bandOneIdOf(id));
      EXPECT_EQ(plug.isLocked(id), locks.get(from)) << id;
      EXPECT_EQ(plug.isLinked(id), links.get(from)) << id;
      if (bandOneIdOf(id) == kB1SCSBand) {
        EXPECT_EQ(plug.getPlainValue(id), renamed(plainBefore(from))) << id;
      } else {
        EXPECT_EQ(plug.getParameter(id), before[static_cast<std::size_t>(from)]) << id;
      }
    }
    EXPECT_EQ(plug.getPlainValue(kSCListen), renamed(plainBefore(kSCListen)));
    plug.resume();
    const auto again = render(plug, input, 500);
    EXPECT_LT(deviation(heard, again, 0), 1e-9);
    // What is locked would stay as it is.
    plug.setLockWords(Plug::FlagWords{});
    expectOneStep(plug, before);
    EXPECT_EQ(layout.order, order);
  }
  EXPECT_GT(sorted, 12);
}

TEST(BandActions, AChainThatItsParametersContradictIsNotSorted) {
  PlugRig rig;
  rig.plug.addBand(kXoverList, 300.0);
  ASSERT_EQ(rig.plug.getEngine().layout.order[0], 1);
  rig.set({{"kB2Frequency", 5000}});  // as a host does: the order stays
  const Values before = normalisedValues(rig.plug);
  EXPECT_FALSE(BandActions(rig.plug).sortBands());
  EXPECT_EQ(normalisedValues(rig.plug), before);
}

/// Four crossover bands, and a dynamic EQ band behind them; bands 1, 3 and 5 are selected.
struct Group : PlugRig {
  Group() {
    set({{"kB1Frequency", 100}, {"kB1Threshold", -30}});
    plug.addBand(kXoverList, 300.0);
    plug.addBand(kXoverList, 1000.0);
    plug.addBand(kXoverList, 6000.0);
    plug.addBand(kPostList, 500.0);
    set({{"kB1Gain", 2}, {"kB3Gain", -4}, {"kB5Gain", 6}, {"kB3Threshold", -10}});
    plug.editorState().selectMode = 1;
    plug.editorState().selectedBands = plug.editorState().shownBands = 0x15;
    plug.clearHistory();
    messages.clear();
  }
  /// A gesture of a control through these plain values, each at one jump or, as a mouse goes, in
  /// many small steps.
  void drag(int id, const std::vector<double>& plains, int steps = 1) {
    edit.begin(plug, id);
    plug.beginEdit(id);
    for (const double plain : plains) {
      const float from = plug.getParameter(id);
      const float to = plug.plainToNormalised(id, static_cast<float>(plain));
      // One more at the end, for who gives way a step late.
      for (int i = 1; i <= steps + (steps > 1 ? 1 : 0); ++i) {
        const float share = static_cast<float>(std::min(i, steps)) / static_cast<float>(steps);
        const float normalised = i < steps ? from + (to - from) * share : to;
        edit.spread(plug, id, normalised);
        if (!isRising()) ++timesOutOfOrder;
        plug.setParameterAutomated(id, normalised);
      }
    }
    plug.endEdit(id);
    edit.end(plug, id);
  }
  [[nodiscard]] std::vector<double> row(int bandOneId) const {
    std::vector<double> values;
    values.reserve(5);
    for (int band = 0; band < 5; ++band) {
      values.push_back(std::round(100.0 * static_cast<double>(plug.getPlainValue(
                                              bandParameterId(band, bandOneId)))) /
                       100.0);
    }
    return values;
  }
  [[nodiscard]] bool isRising() {
    BandLayout& layout = plug.getEngine().layout;
    return std::ranges::is_sorted(layout.copyOf(layout.xover), {}, [&layout](int band) {
      return layout.frequency.at(static_cast<std::size_t>(band));
    });
  }
  GroupEdit edit;
  int timesOutOfOrder = 0;  // crossover bands, while only the others have moved
};

TEST(GroupEdit, SelectedBandsFollowAndComeBackWithOneStep) {
  const struct {
    const char* what;
    int id;
    std::vector<double> plains, after;
    int steps = 1;
  } cases[] = {
      {"thresholds", kB1Threshold, {-30, -25}, {-25, 0, -5, 0, 5}},
      {"thresholds at their end and back", kB1Threshold, {20, -20}, {-20, 0, 0, 0, 10}},
      {"down to the end", bandParameterId(4, kB1Threshold), {-45}, {-48, 0, -48, 0, -45}},
      {"gains", kB1Gain, {1, 3}, {3, 0, -6, 0, 9}},
      {"gains to none", kB1Gain, {0}, {0, 0, 0, 0, 0}},
      {"bypass", kB1Bypass, {1}, {1, 0, 1, 0, 1}},
      {"knees are not", kB1Knee, {50}, {50, 0, 0, 0, 0}},
      {"frequencies at one jump", kB1Frequency, {150}, {150, 300, 1500, 6000, 750}},
      {"in steps", kB1Frequency, {110, 125, 180}, {180, 300, 1800, 6000, 900}},
      {"past bands that give way", kB1Frequency, {600}, {600, 900, 6000, 9000, 3000}, 60},
      {"down again", kB1Frequency, {60, 50}, {50, 300, 500, 6000, 250}},
      {"of a dynamic EQ band",
       bandParameterId(4, kB1Frequency),
       {1000},
       {200, 300, 2000, 6000, 1000}},
      {"which takes crossover bands past others",
       bandParameterId(4, kB1Frequency),
       {4000},
       {800, 1200, 8000, 12000, 4000},
       60},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Group group;
    const Values before = normalisedValues(group.plug);
    group.drag(c.id, c.plains, c.steps);
    EXPECT_EQ(group.row(bandOneIdOf(c.id)), c.after);
    EXPECT_EQ(group.plug.getEngine().layout.xover, (BandLayout::List{0, 1, 2, 3}));
    for (int id = 0; id < kNumParams; ++id) {
      EXPECT_EQ(group.count(kHostBeginEdit, id), group.count(kHostEndEdit, id)) << id;
    }
    expectOneStep(group.plug, before);
  }
}

TEST(GroupEdit, ACrossoverMovesAsAWhole) {
  Group group;
  group.plug.editorState().selectedBands = group.plug.editorState().shownBands = 0x1f;
  group.drag(kB1Frequency, {300});
  EXPECT_EQ(group.row(kB1Frequency), (std::vector<double>{300, 900, 3000, 18000, 1500}));
  group.drag(kB1Frequency, {30});
  EXPECT_EQ(group.row(kB1Frequency), (std::vector<double>{30, 90, 300, 1800, 150}));
  EXPECT_EQ(group.timesOutOfOrder, 0);
}

TEST(GroupEdit, OnlyRunningBandsShownAndSelectedFollow) {
  const struct {
    const char* what;
    int selectMode;
    BandMask selected, shown;
    const char* stopped;  // a band's state
    std::vector<double> gains;
  } cases[] = {
      {"all", 1, 0x1f, 0x1f, "kB8State", {4, 0, -8, 0, 12}},
      {"no selection", 0, 0x1f, 0x1f, "kB8State", {4, 0, -4, 0, 6}},
      {"one not shown", 1, 0x1f, 0x0f, "kB8State", {4, 0, -8, 0, 6}},
      {"one not selected", 1, 0x1b, 0x1f, "kB8State", {4, 0, -4, 0, 12}},
      {"the own not shown", 1, 0x1f, 0x1e, "kB8State", {4, 0, -4, 0, 6}},
      {"the own not selected", 1, 0x1e, 0x1f, "kB8State", {4, 0, -8, 0, 12}},
      {"one off", 1, 0x1f, 0x1f, "kB5State", {4, 0, -8, 0, 6}},
      {"the own off", 1, 0x1f, 0x1f, "kB1State", {4, 0, -4, 0, 6}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Group group;
    group.set({{c.stopped, 0}});
    group.plug.editorState().selectMode = c.selectMode;
    group.plug.editorState().selectedBands = c.selected;
    group.plug.editorState().shownBands = c.shown;
    group.drag(kB1Gain, {4});
    EXPECT_EQ(group.row(kB1Gain), c.gains);
  }
  Group group;
  group.set({{"kB1Gain", 0}});
  group.plug.setLocked(bandParameterId(2, kB1Gain), true);
  group.drag(kB1Gain, {-3});
  EXPECT_EQ(group.row(kB1Gain), (std::vector<double>{-3, 0, -4, 0, 3})) << "from 0: by distance";
  // A node of the graph is dragged along two rows at once.
  group.edit.begin(group.plug, kB1Gain);
  group.edit.begin(group.plug, kB1Threshold);
  group.edit.spread(group.plug, kB1Threshold, group.plug.plainToNormalised(kB1Threshold, -28.0F));
  group.edit.spread(group.plug, kB1Gain, group.plug.plainToNormalised(kB1Gain, -6.0F));
  group.edit.end(group.plug, kB1Gain);
  group.edit.end(group.plug, kB1Threshold);
  EXPECT_EQ(group.row(kB1Gain)[4], 6.0);
  EXPECT_EQ(group.row(kB1Threshold)[2], -8.0);
  group.edit.spread(group.plug, kB1Gain, 1.0F);
  EXPECT_EQ(group.row(kB1Gain)[4], 6.0) << "no gesture, no group";
}

TEST(GroupEdit, OtherRulesOfBandControls) {
  EXPECT_EQ(otherRelease(bandParameterId(6, kB1RelSlow)), bandParameterId(6, kB1RelFast));
  EXPECT_EQ(otherRelease(kB1RelFast), kB1RelSlow);
  for (const int id : {int{kB1Attack}, int{kIpTrim}, int{kABBank}, -1}) {
    EXPECT_EQ(otherRelease(id), -1);
  }
  PlugRig rig;
  const Values before = normalisedValues(rig.plug);
  setSidechainSource(rig.plug, 2, 1, 6);
  EXPECT_EQ(rig.get("kB3SCSrc"), 1.0);
  EXPECT_EQ(rig.get("kB3SCSBand"), 6.0);
  setSidechainSource(rig.plug, 8, 1, 6);
  expectOneStep(rig.plug, before);
}

}  // namespace
