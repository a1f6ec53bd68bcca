// What changes an effect, who hears of it, and what can be taken back.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "host/curves.h"
#include "tests/host/test_effect.h"
#include "tests/support/real_time.h"

namespace {

using Values = std::array<float, kNumIds>;
struct Change {
  int id;
  float value;  // to go back to; of the bank selector an eighth for each bank
};
using Step = std::vector<Change>;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

float plainOf(int id, float normalised) {
  const ParameterRecord& record = kTestTable.at(at(id));
  return normalisedToPlain(normalised, record.min, record.max, record.curve);
}

/// What documents bring back.
struct Stored {
  std::array<Values, 2> programs;
  std::array<Values, 8> banks;
};

/// An effect and beside it what it should hold and tell, kept in the plainest way.
class HistoryWalk : public testing::Test {
 public:
  HistoryWalk() {
    auto made = std::make_unique<TestEditor>(effect.host.log);
    editor = made.get();
    effect.setEditor(std::move(made));
    effect.chunkCacheEnabled = true;
    for (int i = 0; i < kNumIds; ++i) values.at(at(i)) = effect.getParameterDefault(i);
    stored.programs.fill(values);
    stored.banks.fill(values);
    editor->shown = values;
    effect.updateDsp(true);
    expected = "F ";
  }

  // The model: an ordinary change, the bank selector's, and what the host should hear.
  Values& live() { return stored.banks.at(at(bank)); }
  [[nodiscard]] float noted(int id) const {
    return id == kABBank ? static_cast<float>(bank) / 8.0F : values.at(at(id));
  }
  void set(int id, float value) {
    values.at(at(id)) = live().at(at(id)) = stored.programs.at(at(program)).at(at(id)) = value;
    expected += isLoading ? "l " : "u ";
  }
  void tell(int id, const std::string& inside) {
    const std::string number = std::to_string(id);
    const bool framed = !effect.gesturesOff;
    expected += framed ? "b" + number + " " + inside + "e" + number + " " : inside;
  }
  void tellBank() {
    for (int i = 0; i < kABBank && effect.notifyAllOnBankSwitch; ++i) {
      tell(i, HostRecorder::valueWord(i, values.at(at(i))));
    }
  }
  void goTo(int wanted) {
    bank = wanted;
    values.at(kABBank) = noted(kABBank);
    isLoading = true;
    expected += "( ";
    for (int i = 0; i < kABBank; ++i) {
      const ParameterRecord& record = kTestTable.at(at(i));
      const float plain = plainOf(i, live().at(at(i)));
      set(i, plainToNormalised(plain, record.min, record.max, record.curve));
    }
    isLoading = false;
    expected += "v F ) ";
    if (!effect.notifyAllOnBankSwitch) return;
    expected += "( ";
    tellBank();
    expected += ") ";
  }
  void change(int id, float value) {
    const int wanted = static_cast<int>(plainOf(kABBank, value));
    id == kABBank&& wanted != bank ? goTo(wanted) : set(id, value);
  }

  // Gestures, by the effect and by the model.
  void begin(int id) {
    effect.beginEdit(id);
    open.push_back({id, noted(id)});
    if (!effect.gesturesOff) expected += "b" + std::to_string(id) + " ";
  }
  void move(int id, float value) {
    effect.setParameterAutomated(id, value);
    change(id, value);
    expected += HostRecorder::valueWord(id, value);
    EXPECT_EQ(editor->shown.at(at(id)), value);
  }
  void ended(int id) {
    const auto isIt = [id](const Change& entry) { return entry.id == id; };
    const auto found = std::find_if(open.rbegin(), open.rend(), isIt);
    if (found->value == values.at(at(id))) {
      open.erase(std::next(found).base());
    } else {
      redo.clear();
    }
    expected += "F ";
    if (!effect.gesturesOff) expected += "e" + std::to_string(id) + " ";
  }
  void end(int id) {
    effect.endEdit(id);
    ended(id);
  }
  void close() {
    if (!open.empty()) undo.push_back(std::exchange(open, {}));
  }
  void edit(int id) {
    begin(id);
    for (std::size_t moves = random() % 3; moves > 0; --moves) move(id, anywhere());
    if (random() % 4 == 0) move(id, open.back().value);  // back to where it began
    end(id);
  }

  // The turns of the walk.
  void editOnce() {
    edit(anyId());
    close();
  }
  void editInGroup() {
    for (int nested = 0; nested < 2; ++nested) effect.beginHistoryGroup();
    for (std::size_t edits = random() % 4; edits > 0; --edits) edit(anyId());
    if (random() % 2 == 0) effect.endHistoryGroup();
    for (std::size_t edits = random() % 2; edits > 0; --edits) edit(anyId());
    close();
    if (random() % 3 == 0) step(false);  // it ends the group, and takes it back as one
    for (int ends = 0; ends < 2; ++ends) effect.endHistoryGroup();
  }
  // Gestures side by side, of which the last one ends the group by its begin.
  void editLinked() {
    const int first = anyId();
    effect.beginHistoryGroup();
    if (random() % 3 == 0) {  // the edit that this one waits for never comes
      edit(first);
      effect.endGroupWithEdit(first);
      if (random() % 2 == 0) return close(), step(false);  // an undo waits no longer
      effect.beginHistoryGroup();
    }
    std::vector<int> ids = {first, (first + 1) % kNumIds, (first + 3) % kNumIds};
    for (const int id : ids) {
      if (id == ids.back()) effect.endGroupWithEdit(id);
      begin(id);
    }
    for (const int id : ids) move(id, anywhere());
    std::shuffle(ids.begin(), ids.end(), random);
    for (const int id : ids) end(id);
    close();
  }
  // The end of a gesture is lost, and comes when the next one has ended.
  void editLosingTheEnd() {
    const int id = anyId();
    begin(id);
    move(id, anywhere());
    ended(id);
    close();
    begin(id);
    move(id, anywhere());
    end(id);
    effect.endEdit(id);
    close();
  }
  void takeBack() { step(false); }
  void repeat() { step(true); }
  void step(bool towardsRedo) {
    towardsRedo ? effect.redo() : effect.undo();
    std::vector<Step>& from = towardsRedo ? redo : undo;
    if (from.empty()) {
      expected += "( ) ";
      return;
    }
    expected += "( ";
    const Step entries = from.back();
    from.pop_back();
    Step back;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
      back.push_back({entry->id, noted(entry->id)});
      std::string before = std::exchange(expected, {});
      change(entry->id, entry->value);
      const std::string inside = expected + HostRecorder::valueWord(entry->id, entry->value);
      expected = std::move(before);
      tell(entry->id, inside);
    }
    expected += ") ";
    (towardsRedo ? undo : redo).push_back(back);
    expectEchoes(entries);
  }
  // The host may give back what it was told until another value comes.
  void expectEchoes(const Step& told) {
    for (const Change& entry : told) {
      const bool stands = entry.value == values.at(at(entry.id));
      const auto isFirst = [&](const Change& other) { return other.id == entry.id; };
      if (!stands || &*std::find_if(told.begin(), told.end(), isFirst) != &entry) continue;
      for (int again = 0; again < 2; ++again) EXPECT_TRUE(effect.isEcho(entry.id, entry.value));
      const bool isTop = plainOf(entry.id, entry.value) == plainOf(entry.id, 1.0F);
      EXPECT_FALSE(effect.isEcho(entry.id, isTop ? 0.0F : 1.0F));
      EXPECT_FALSE(effect.isEcho(entry.id, entry.value)) << "something else came between";
    }
  }
  void automate() {
    const int id = anyId();
    const float value = anywhere();
    if (random() % 2 == 0) return move(id, value);
    effect.setParameter(id, value);
    change(id, value);
  }
  // The audio thread's values stand at once; all others hear of them by the idle call.
  void moveFromAudio() {
    const std::string before = expected;
    const int oldBank = bank;
    bool switched = false;
    for (std::size_t moves = 1 + random() % 3; moves > 0; --moves) {
      const int id = anyId();
      const float value = anywhere();
      inRealTime([&] { effect.setParameterFromAudio(id, value); });
      change(id, value);
      switched = switched || bank != oldBank;
    }
    expected = before;
    for (int i = 0; i < kNumIds; ++i) ASSERT_EQ(effect.getParameter(i), values.at(at(i)));
    ASSERT_EQ(effect.host.log, before);
    for (int again = 0; again < 2; ++again) effect.onIdle();
    expected += switched ? "( v F ) " : "( u ) ";
    if (switched) tellBank();
  }
  void useBanks() {
    const int wanted = static_cast<int>(random() % 10) - 1;
    const bool isThere = wanted >= 0 && wanted < 8;
    if (random() % 2 == 0) {
      effect.copyToBank(wanted);
      if (isThere) stored.banks.at(at(wanted)) = values;
    } else {
      effect.switchBank(wanted);
      if (isThere) goTo(wanted);
    }
  }
  void takeProgramValues() {
    isLoading = true;
    expected += "( ";
    for (int i = 0; i < kABBank; ++i) set(i, stored.programs.at(at(program)).at(at(i)));
    isLoading = false;
  }
  void changeProgram() {
    program = static_cast<int>(random() % 2);
    effect.setProgram(program);
    takeProgramValues();
    expected += "v ) program ";
  }
  void save() {
    saved = stored;
    savedBytes = effect.chunk();
    TestEffect other(nullptr);
    ASSERT_TRUE(other.load(savedBytes, false));
    expectStored(other);
  }
  void restore() {
    if (savedBytes.empty()) return;
    ASSERT_TRUE(effect.load(savedBytes, false));
    stored = saved;
    takeProgramValues();
    stored = saved;  // the live bank, too
    values.at(kABBank) = noted(kABBank);
    expected += "l v ) F program ";  // the selector's own value came and went
  }

  void expectStored(TestEffect& other) const {
    for (std::size_t i = 0; i < kABBank; ++i) {
      for (std::size_t p = 0; p < 2; ++p) {
        ASSERT_EQ(other.programs.at(p).values[i], stored.programs.at(p).at(i)) << p << ' ' << i;
      }
      for (std::size_t b = 0; b < 8; ++b) {
        ASSERT_EQ(other.banks.at(b).values[i], stored.banks.at(b).at(i)) << b << ' ' << i;
      }
    }
  }
  void check() {
    ASSERT_EQ(effect.host.take(), std::exchange(expected, {}));
    for (int i = 0; i < kNumIds; ++i) {
      const float value = values.at(at(i));
      ASSERT_EQ(effect.getParameter(i), value) << i;
      ASSERT_EQ(effect.getPlainValue(i), plainOf(i, value)) << i;
      if (i == kABBank) continue;
      ASSERT_EQ(effect.engine.at(at(i)), plainOf(i, value)) << i;
      ASSERT_EQ(editor->shown.at(at(i)), value) << i;
    }
    ASSERT_NO_FATAL_FAILURE(expectStored(effect));
    ASSERT_EQ(effect.getCurrentBank(), bank);
    ASSERT_EQ(effect.getProgram(), program);
    ASSERT_EQ(effect.canUndo(), !undo.empty());
    ASSERT_EQ(effect.canRedo(), !redo.empty());
  }

  // Ten places store these exactly.
  float anywhere() { return static_cast<float>(random() % 65) / 64.0F; }
  int anyId() { return static_cast<int>(random() % kNumIds); }

  TestEffect effect;
  TestEditor* editor = nullptr;
  std::mt19937 random{3};
  Values values;
  Stored stored, saved;
  int bank = 0;
  int program = 0;
  bool isLoading = false;
  std::vector<Step> undo, redo;
  Step open;
  std::string savedBytes, expected;
};

TEST_F(HistoryWalk, KeepsModelHostEditorAndEngineInStep) {
  using Turn = void (HistoryWalk::*)();
  const Turn turns[] = {
      &HistoryWalk::editOnce,         &HistoryWalk::editInGroup,   &HistoryWalk::editLinked,
      &HistoryWalk::editLosingTheEnd, &HistoryWalk::automate,      &HistoryWalk::moveFromAudio,
      &HistoryWalk::useBanks,         &HistoryWalk::changeProgram, &HistoryWalk::save,
      &HistoryWalk::restore,          &HistoryWalk::takeBack,      &HistoryWalk::takeBack,
      &HistoryWalk::takeBack,         &HistoryWalk::repeat,        &HistoryWalk::repeat};
  for (int turn = 0; turn < 5000; ++turn) {
    SCOPED_TRACE(turn);
    effect.gesturesOff = random() % 8 == 0;
    effect.notifyAllOnBankSwitch = random() % 2 == 0;
    (this->*turns[random() % std::size(turns)])();
    ASSERT_NO_FATAL_FAILURE(check());
  }
  for (const bool towardsRedo : {false, true, false}) {
    while (!(towardsRedo ? redo : undo).empty()) {
      step(towardsRedo);
      ASSERT_NO_FATAL_FAILURE(check());
    }
  }
  effect.beginHistoryGroup();
  effect.clearHistory();
  effect.endHistoryGroup();
  EXPECT_FALSE(effect.canUndo() || effect.canRedo());
}

}  // namespace
