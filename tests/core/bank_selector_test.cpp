#include "core/bank_selector.h"

#include <gtest/gtest.h>

#include "tests/core/plug_rig.h"

namespace {

TEST(BankSelector, AChoiceIsOneStepOfTheHistoryAndShowsABandThatIsOn) {
  PlugRig rig;
  EditorState& editor = rig.plug.editorState();
  BankSelector banks(rig.plug);
  rig.set({{"kB1State", 0}, {"kB4State", 1}, {"kB6State", 1}, {"kIpTrim", 3}});
  banks.copyTo(2);
  rig.set({{"kB1State", 1}, {"kIpTrim", 6}});
  editor.selectedBands = 0x21;
  editor.shownBands = 0x21;

  EXPECT_TRUE(banks.choose(2));
  EXPECT_EQ(rig.plug.getCurrentBank(), 2);
  EXPECT_EQ(rig.get("kIpTrim"), 3.0);
  EXPECT_EQ(editor.currentBand, 3);
  EXPECT_EQ(editor.selectedBands, 8U);
  EXPECT_EQ(editor.shownBands, 8U);
  EXPECT_EQ(editor.visitedBanks, 4U);
  EXPECT_EQ(editor.lastAB, 0);
  EXPECT_TRUE(editor.bankStale);
  rig.plug.undo();
  EXPECT_EQ(rig.plug.getCurrentBank(), 0);
  EXPECT_EQ(rig.get("kIpTrim"), 6.0);
  EXPECT_FALSE(rig.plug.canUndo());

  editor.currentBand = 5;  // on in both
  EXPECT_FALSE(banks.choose(2));
  EXPECT_EQ(editor.currentBand, 5);
  for (const int none : {-1, 8}) {
    EXPECT_FALSE(banks.choose(none));
    EXPECT_EQ(rig.plug.getCurrentBank(), 2);
  }
  EXPECT_EQ(editor.visitedBanks, 4U);
}

TEST(BankSelector, TogglesByItsMode) {
  constexpr auto kLast = AbToggleMode::kLastTwo;
  constexpr auto kVisited = AbToggleMode::kVisited;
  const struct {
    AbToggleMode mode;
    int current, lastAB;
    std::uint32_t visited;
    std::vector<int> wanted;  // banks, toggle by toggle
  } cases[] = {{kLast, 1, 6, 0x00, {6, 1, 6}},
               {kLast, 1, 8, 0x00, {1}},
               {kLast, 1, -1, 0x00, {1}},
               {kVisited, 2, 0, 0x04, {2, 2}},
               {kVisited, 2, 0, 0x00, {2, 2}},
               {kVisited, 5, 0, 0x83, {7, 0, 1, 5, 7}},
               {AbToggleMode::kMidiLearn, 2, 5, 0xff, {2}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.mode) << " from " << c.current);
    PlugRig rig;
    BankSelector banks(rig.plug);
    rig.plug.switchBank(c.current);
    rig.plug.editorState().lastAB = c.lastAB;
    rig.plug.editorState().visitedBanks = c.visited;
    for (const int wanted : c.wanted) {
      banks.toggle(c.mode);
      EXPECT_EQ(rig.plug.getCurrentBank(), wanted);
    }
  }
}

}  // namespace
