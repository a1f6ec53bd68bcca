// Banks, and what can be taken back.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/aeff_editor.h"
#include "tests/host/test_effect.h"
#include "tests/support/real_time.h"

namespace {

/// Notes the ids that the editor is told.
class NotingEditor : public AEffEditor {
 public:
  explicit NotingEditor(std::vector<std::pair<std::int32_t, float>>& list) : told(list) {}
  void setParameter(std::int32_t index, float value) override { told.emplace_back(index, value); }

 private:
  std::vector<std::pair<std::int32_t, float>>& told;
};

class HistoryTest : public testing::Test {
 protected:
  HistoryTest() {
    effect.getAeffect()->user = &host;
    effect.setEditor(std::make_unique<NotingEditor>(told));
  }

  void edit(std::int32_t id, std::initializer_list<float> steps) {
    effect.beginEdit(id);
    for (const float value : steps) effect.setParameterAutomated(id, value);
    effect.endEdit(id);
  }
  [[nodiscard]] std::vector<float> values() {
    std::vector<float> all;
    all.reserve(kNumIds + 1);
    for (std::int32_t i = 0; i < kNumIds; ++i) all.push_back(effect.getParameter(i));
    all.push_back(static_cast<float>(effect.getCurrentBank()));
    return all;
  }
  /// Opcode and index of each message to the host, such as "begin 0, set 0, end 0".
  std::string messages() {
    std::string text;
    for (const auto& message : host.take()) {
      const char* const what = message.opcode == kHostBeginEdit  ? "begin "
                               : message.opcode == kHostEndEdit  ? "end "
                               : message.opcode == kHostAutomate ? "set "
                                                                 : "? ";
      text += (text.empty() ? "" : ", ") + (what + std::to_string(message.index));
    }
    return text;
  }

  HostRecorder host;
  TestEffect effect;
  std::vector<std::pair<std::int32_t, float>> told;  // to the editor
};

TEST_F(HistoryTest, AClickThatChangesNothingAndAutomationAreNoSteps) {
  edit(kGain, {0.1F, 0.2F, 0.3F});
  edit(kB1State, {0.0F});
  host.take();
  effect.undo();
  EXPECT_EQ(messages(), "begin 1, set 1, end 1");
  edit(kB2Mode, {0.5F, 0.0F});
  EXPECT_TRUE(effect.canRedo()) << "nothing has changed";
  edit(kB2Mode, {0.5F});
  effect.setParameterAutomated(kGain, 0.9F);
  effect.undo();
  EXPECT_EQ(effect.getParameter(kGain), 0.9F) << "automation is no edit";
  effect.beginHistoryGroup();
  effect.clearHistory();
  effect.endHistoryGroup();
  EXPECT_FALSE(effect.canUndo() || effect.canRedo());
}

// NOLINTNEXTLINE(readability-function-cognitive-complexity): one walk with all its turns
TEST_F(HistoryTest, RandomWalksThroughTheHistoryAreExact) {
  std::mt19937 random(3);
  std::vector<std::vector<float>> states = {values()};
  std::size_t now = 0;
  for (int step = 0; step < 3000; ++step) {
    if (random() % 2 == 0) {
      states.resize(now + 1);
      const bool grouped = random() % 3 == 0;
      if (random() % 3 == 0) {  // nothing: no step
        effect.beginHistoryGroup();
        edit(-1000, {});
        for (int ends = 0; ends < 2; ++ends) effect.endHistoryGroup();
      }
      if (grouped) effect.beginHistoryGroup();
      const auto first = static_cast<std::int32_t>(random() % kABBank);
      for (std::int32_t i = 0; i < (grouped ? 3 : 1); ++i) {
        const std::int32_t id = (first + i) % kABBank;
        const float elsewhere = effect.getParameter(id) < 0.5F ? 0.5F : 0.0F;
        if (grouped) effect.beginHistoryGroup();  // within another
        edit(id, {0.99F, elsewhere + static_cast<float>(random() % 8) / 17.0F});
        if (grouped) effect.endHistoryGroup();
      }
      states.push_back(values());
      if (random() % 4 == 0) {  // an undo ends the group and takes it back as one
        effect.undo();
      } else {
        ++now;
      }
      if (grouped) effect.endHistoryGroup();
    } else if (random() % 2 == 0 && now > 0) {
      effect.undo();
      --now;
    } else if (now + 1 < states.size()) {
      effect.redo();
      ++now;
    }
    ASSERT_EQ(values(), states[now]) << "step " << step;
    ASSERT_EQ(effect.canUndo(), now > 0);
    ASSERT_EQ(effect.canRedo(), now + 1 < states.size());
  }
}

TEST_F(HistoryTest, LoadedStatesAskTheEditorForWhatWasBefore) {
  edit(kGain, {0.1F});
  effect.undo();
  edit(historyPresetLoad, {});
  EXPECT_FALSE(effect.canRedo());
  edit(historyBankLoad, {});
  told.clear();
  effect.undo();
  effect.undo();
  effect.redo();
  const std::vector<std::pair<std::int32_t, float>> expected = {
      {historyBankLoad, 0.0F}, {historyPresetLoad, 0.0F}, {historyPresetLoad, 1.0F}};
  EXPECT_EQ(told, expected);
}

TEST_F(HistoryTest, ABankSwitchComesFromAnySourceAndIsTakenBack) {
  effect.setParameter(kGain, 0.1F);
  effect.copyToBank(5);
  effect.banks[5].values[kB1Slope] = 0.21F;  // between two steps
  host.take();
  edit(kABBank, {0.625F});
  EXPECT_EQ(messages(), "begin 6, set 6, end 6") << "the host sees the selector alone";
  EXPECT_EQ(effect.getCurrentBank(), 5);
  EXPECT_EQ(effect.getPlainValue(kABBank), 5);
  EXPECT_EQ(effect.banks[5].values[kB1Slope], 18.0F / 91.0F) << "back on its step";
  effect.setParameter(kGain, 0.9F);
  EXPECT_EQ(effect.banks[0].values[kGain], 0.1F);
  effect.takeUpdates();
  told.clear();
  effect.setParameter(kABBank, 0.7F);
  EXPECT_EQ(effect.takeUpdates(), "u") << "the live bank: an ordinary change";
  EXPECT_EQ(told.size(), 1U);
  effect.undo();
  EXPECT_EQ(effect.getCurrentBank(), 0);
  EXPECT_FLOAT_EQ(effect.getParameter(kGain), 0.1F);
  effect.switchBank(8);
  effect.switchBank(-1);
  effect.copyToBank(9);
  EXPECT_EQ(effect.getCurrentBank(), 0);
  effect.notifyAllOnBankSwitch = true;
  host.take();
  effect.setParameter(kABBank, 0.125F);
  std::string all;
  for (int i = 0; i < kABBank; ++i) {
    const std::string id = std::to_string(i);
    all += (i > 0 ? ", begin " : "begin ") + id + ", set " + id + ", end " + id;
  }
  EXPECT_EQ(messages(), all);
  effect.gesturesOff = true;
  effect.setParameter(kABBank, 0.0F);
  EXPECT_EQ(messages().substr(0, 12), "set 0, set 1");
}

TEST_F(HistoryTest, TheAudioThreadSetsValuesAtOnceAndTheRestFollows) {
  effect.setParameter(kGain, 0.1F);
  effect.copyToBank(2);
  effect.setParameter(kGain, 0.2F);
  effect.takeUpdates();
  told.clear();
  {
    const RealTimeCheck check;
    effect.setParameterFromAudio(kB1State, 0.0F);
    effect.setParameterFromAudio(kABBank, 0.25F);
    effect.setParameterFromAudio(-1, 0.5F);
    effect.setParameterFromAudio(kB2Mode, 2.0F);
  }
  EXPECT_EQ(effect.getCurrentBank(), 2);
  EXPECT_FLOAT_EQ(effect.getParameter(kGain), 0.1F);
  EXPECT_EQ(effect.getParameter(kB1State), 1.0F) << "as the bank has it";
  EXPECT_EQ(effect.getPlainValue(kB2Mode), 7);
  EXPECT_EQ(effect.takeUpdates(), "");
  EXPECT_TRUE(told.empty());
  effect.onIdle();
  EXPECT_EQ(effect.takeUpdates(), "F");
  EXPECT_EQ(told.size(), static_cast<std::size_t>(kNumIds));
  effect.onIdle();
  EXPECT_EQ(effect.takeUpdates(), "");
}

}  // namespace
