// What is done to an effect, told in tables, and what host, engine and editor hear of it.

#include "tests/support/script.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <thread>

#include "host/curves.h"
#include "tests/host/test_effect.h"
#include "tests/support/real_time.h"

namespace {

class HostScript : public Script {
 protected:
  using Scope = PlugBase::StateScope;
  using Values = std::array<float, kNumIds>;

  HostScript() {
    addValues();
    addState();
    addSetup();
    addWalk();
  }

  void afterRow() override {
    said = effect->host.take() + said;
    said.erase(said.find_last_not_of(' ') + 1);
  }
  [[nodiscard]] std::int32_t id() const { return row[1].empty() ? 0 : number(1); }
  [[nodiscard]] float value() const { return row[2].empty() ? 0.0F : std::stof(row[2]); }

  /// Each value that a host may show comes back as it was.
  void returnSteps() {
    const ParameterRecord& record = effect->parameterInfo(id());
    const auto step = static_cast<float>(effect->getStepSize(id()));
    for (float plain = record.min; plain <= record.max; plain += step) {
      const float normalised = effect->plainToNormalised(id(), plain);
      const float shown = effect->hostStepValue(id(), normalised, true);
      EXPECT_FLOAT_EQ(shown, (plain - record.min) / (record.max - record.min)) << plain;
      EXPECT_EQ(effect->hostStepValue(id(), shown, false), normalised) << plain;
    }
  }

  void turnCurve(float (*way)(float, float, float, std::int32_t)) {
    char text[32];
    const float other = way(std::stof(row[4]), std::stof(row[2]), std::stof(row[3]), id());
    std::snprintf(text, sizeof text, "%.6g", static_cast<double>(other));
    say(text);
  }

  void addValues() {
    commands["new"] = [this] { effect = std::make_unique<TestEffect>(); };
    commands["set"] = [this] { effect->setParameter(id(), value()); };
    commands["automate"] = [this] { effect->setParameterAutomated(id(), value()); };
    commands["edit"] = [this] { effect->setParameterWithEdit(id(), value()); };
    commands["audio"] = [this] { effect->setParameterFromAudio(id(), value()); };
    commands["idle"] = [this] { effect->onIdle(); };
    commands["begin"] = [this] { effect->beginEdit(id()); };
    commands["end"] = [this] { effect->endEdit(id()); };
    commands["undo"] = [this] { effect->undo(); };
    commands["redo"] = [this] { effect->redo(); };
    commands["value"] = [this] { say(effect->getParameter(id())); };
    commands["plain"] = [this] { say(effect->getPlainValue(id())); };
    commands["default"] = [this] { say(effect->getParameterDefault(id())); };
    commands["tell"] = [this] { effect->tellValue(id()); };
    commands["echo"] = [this] { say(effect->isEcho(id(), value())); };
    commands["gestures off"] = [this] { effect->gesturesOff = value() != 0.0F; };
    commands["tell all"] = [this] { effect->notifyAllOnBankSwitch = value() != 0.0F; };
    commands["midi"] = [this] { effect->wantEvents(); };
    commands["group"] = [this] { say(effect->parameterInfo(id()).group); };
    commands["bands"] = [this] {
      for (const auto& band : effect->getBandNames()) say(band);
    };
    commands["steps"] = [this] { say(effect->getStepCount(id())), say(effect->getStepSize(id())); };
    commands["steps return"] = [this] { returnSteps(); };
    commands["to host"] = [this] { say(effect->hostStepValue(id(), value(), true)); };
    commands["from host"] = [this] { say(effect->hostStepValue(id(), value(), false)); };
    commands["to plain"] = [this] { say(effect->normalisedToPlain(id(), value())); };
    commands["to normalised"] = [this] { say(effect->plainToNormalised(id(), value())); };
    commands["shows"] = [this] {
      char shown[64] = "x";
      effect->formatParameterValue(id(), value(), shown, false);
      say(shown);
    };
    commands["plain of"] = [this] { turnCurve(normalisedToPlain); };
    commands["normalised of"] = [this] { turnCurve(plainToNormalised); };
    commands["keys"] = [this] {
      keys = ParameterKeys(row[2]);
      for (const auto& entry : keys) say(entry.name + std::to_string(entry.number));
    };
    commands["key"] = [this] { say(keys.find(row[2])); };
    commands["key of"] = [this] { say(keys.name(id())); };
  }

  /// What it leaves: three values, the first one in the first and last bank, and both names.
  void load(bool isPreset) {
    EXPECT_TRUE(effect->load(row[2], isPreset));
    EXPECT_FALSE(effect->chunkRefused() || effect->isLoading);
    for (std::int32_t i = 0; i < 3; ++i) say(effect->getParameter(i));
    say(effect->banks[0].values[0]), say(effect->banks[7].values[0]);
    for (const ProgramRecord& program : effect->programs) say(program.name.data());
  }

  void addState() {
    // The same value and name everywhere.
    commands["fill"] = [this] {
      for (std::int32_t i = 0; i < kABBank; ++i) effect->setParameter(i, value());
      for (int bank = 0; bank < 8; ++bank) effect->copyToBank(bank);
      effect->setProgramName("Old");
      effect->host.take();
    };
    commands["load full"] = [this] { load(false); };
    commands["load preset"] = [this] { load(true); };
    commands["program"] = [this] { effect->setProgram(id()); };
    commands["hold"] = [this] { scopes.push_back(std::make_unique<Scope>(*effect)); };
    commands["release"] = [this] { scopes.pop_back(); };
    commands["elsewhere"] = [this] {
      std::thread([this] { effect->setParameterAutomated(id(), value()); }).join();
    };
    commands["latency"] = [this] {
      effect->declareLatency(static_cast<int>(value())), say(effect->getAeffect()->initialDelay);
    };
  }

  void describePin(std::int32_t opcode) {
    VstPinProperties pin{};
    if (effect->dispatcher(opcode, id(), 0, &pin, 0.0F) == 0) return;
    say(pin.label), say(pin.flags), say(pin.arrangementType);
  }

  void addSetup() {
    commands["rate"] = [this] { effect->setSampleRate(value()), say(effect->getSampleRate()); };
    commands["block"] = [this] {
      effect->setBlockSize(static_cast<int>(value())), say(effect->getBlockSize());
    };
    commands["level"] = [this] {
      effect->host.processLevel = static_cast<std::intptr_t>(value());
      effect->checkProcessLevel();
    };
    commands["vendor"] = [this] { effect->host.vendor = row[2]; };
    commands["pins"] = [this] {
      effect->setNumInputs(id());
      effect->setNumOutputs(static_cast<int>(value()));
    };
    commands["input"] = [this] { describePin(kEffectGetInputProperties); };
    commands["output"] = [this] { describePin(kEffectGetOutputProperties); };
    commands["call"] = [this] {
      char text[128];
      std::strcpy(text, row[4].c_str());
      AEffect* const record = effect->getAeffect();
      say(record->dispatcher(record, id(), number(2), std::stol(row[3]), text, 300.0F));
      if (text[0] != '\0') say(text);
    };
    commands["call editor"] = [this] {
      ERect* rect = nullptr;
      void* const out = id() == kEffectEditGetRect ? static_cast<void*>(&rect) : nullptr;
      say(effect->dispatcher(id(), 0, 0, out, 0.0F));
    };
    commands["open in"] = [this] { say(effect->dispatcher(kEffectEditOpen, 0, 0, this, 0.0F)); };
    commands["editor idle"] = [this] { effect->onEditorIdle(); };
    commands["has editor"] = [this] { say(effect->getAeffect()->flags & kEffectHasEditor); };
    commands["editor"] = [this] {
      auto made = value() != 0.0F ? std::make_unique<TestEditor>(effect->host.log) : nullptr;
      editor = made.get();
      for (int i = 0; editor && i < kNumIds; ++i) editor->setParameter(i, effect->getParameter(i));
      effect->setEditor(std::move(made));
    };
  }

  // A walk: each turn is drawn from its number, and says what the effect holds afterwards.
  template <typename Act>
  void turn(const std::string& name, const Act& act) {
    commands[name] = [this, act] {
      random.seed(static_cast<unsigned>(number(1)));
      effect->gesturesOff = random() % 8 == 0;
      effect->notifyAllOnBankSwitch = random() % 2 == 0;
      act();
      showAll();
    };
  }
  void addWalk() {
    turn("an edit", [this] { edit(anyId()); });
    turn("a group", [this] { editInGroup(); });
    turn("linked edits", [this] { editLinked(); });
    turn("a lost end", [this] { editLosingTheEnd(); });
    turn("a value",
         [this] { random() % 2 == 0 ? move(anyId()) : effect->setParameter(anyId(), anywhere()); });
    turn("values of audio", [this] { moveFromAudio(); });
    turn("a bank", [this] { useBanks(); });
    turn("save", [this] { save(); });
    turn("restore", [this] {
      EXPECT_TRUE(effect->load(savedBytes, false));
      EXPECT_EQ(stored(*effect), saved);
    });
    turn("take back", [this] { effect->undo(); });
    turn("repeat", [this] { effect->redo(); });
    commands["cached"] = [this] { effect->chunkCacheEnabled = true, effect->updateDsp(true); };
    commands["to both ends"] = [this] { editAndGoToBothEnds(); };
  }
  // Ten places store these exactly.
  float anywhere() { return static_cast<float>(random() % 65) / 64.0F; }
  int anyId() { return static_cast<int>(random() % (isPlain ? kABBank : kNumIds)); }
  void move(int moved) { effect->setParameterAutomated(moved, anywhere()); }
  void close() { steps.push_back(now()); }

  void edit(int edited) {
    const float before = effect->getParameter(edited);
    effect->beginEdit(edited);
    for (std::size_t moves = random() % 3; moves > 0; --moves) move(edited);
    if (random() % 4 == 0) effect->setParameterAutomated(edited, before);
    effect->endEdit(edited);
  }
  void editInGroup() {
    for (int nested = 0; nested < 2; ++nested) effect->beginHistoryGroup();
    for (std::size_t edits = random() % 4; edits > 0; --edits) edit(anyId());
    if (random() % 2 == 0) effect->endHistoryGroup();
    for (std::size_t edits = random() % 2; edits > 0; --edits) edit(anyId());
    close();
    if (!isPlain && random() % 3 == 0) effect->undo();  // it ends the group, and takes all of it
    for (int ends = 0; ends < 2; ++ends) effect->endHistoryGroup();
  }
  // Gestures side by side, of which the last one ends the group by its begin.
  void editLinked() {
    const int first = anyId();
    effect->beginHistoryGroup();
    if (random() % 3 == 0) {  // the edit that this one waits for never comes
      edit(first);
      effect->endGroupWithEdit(first);
      if (!isPlain && random() % 2 == 0) return effect->undo();  // it waits no longer
      effect->beginHistoryGroup();
    }
    std::vector<int> ids = {first, (first + 1) % kABBank, (first + 3) % kABBank};
    for (const int each : ids) {
      if (each == ids.back()) effect->endGroupWithEdit(each);
      effect->beginEdit(each);
    }
    for (const int each : ids) move(each);
    std::shuffle(ids.begin(), ids.end(), random);
    for (const int each : ids) effect->endEdit(each);
    close();
  }
  // The end of a gesture is lost, and comes when the next one has ended.
  void editLosingTheEnd() {
    const int edited = anyId();
    for (int gesture = 0; gesture < 2; ++gesture) {
      effect->beginEdit(edited);
      move(edited);
      close();
    }
    for (int ends = 0; ends < 2; ++ends) effect->endEdit(edited);
  }
  // The audio thread's values stand at once; all others hear of them by the idle call.
  void moveFromAudio() {
    for (std::size_t moves = 1 + random() % 3; moves > 0; --moves) {
      const int moved = anyId();
      const float to = anywhere();
      inRealTime([&] { effect->setParameterFromAudio(moved, to); });
      EXPECT_TRUE(moved == kABBank || effect->getParameter(moved) == to) << moved;
    }
    EXPECT_EQ(effect->host.log, "");
    for (int again = 0; again < 2; ++again) effect->onIdle();
  }
  void useBanks() {
    const int wanted = static_cast<int>(random() % 10) - 1;
    switch (random() % 3) {
      case 0:
        return effect->copyToBank(wanted);
      case 1:
        return effect->switchBank(wanted);
      default:
        return effect->setProgram(wanted % 2);
    }
  }
  void save() {
    savedBytes = effect->chunk();
    saved = stored(*effect);
    TestEffect other(nullptr);
    EXPECT_TRUE(other.load(savedBytes, false));
    EXPECT_EQ(stored(other), saved);
  }

  [[nodiscard]] Values now() const {
    Values values;
    for (std::size_t i = 0; i < kNumIds; ++i) values[i] = effect->getParameter(static_cast<int>(i));
    return values;
  }
  /// What documents bring back.
  static std::vector<float> stored(TestEffect& of) {
    std::vector<float> all;
    const auto add = [&all](const ProgramRecord& record) {
      all.insert(all.end(), record.values.begin(), record.values.begin() + kABBank);
    };
    std::for_each(of.programs.begin(), of.programs.end(), add);
    std::for_each(of.banks.begin(), of.banks.end(), add);
    return all;
  }
  void showAll() {
    const Values values = now();
    for (std::size_t i = 0; i < kNumIds; ++i) {
      const ParameterRecord& record = kTestTable.at(i);
      const float plain = normalisedToPlain(values[i], record.min, record.max, record.curve);
      EXPECT_EQ(effect->getPlainValue(static_cast<int>(i)), plain) << i;
      say(values[i]);
      if (i == kABBank) continue;
      EXPECT_EQ(effect->engine[i], plain) << i;
      EXPECT_EQ(editor->shown[i], values[i]) << i;
    }
    double sum = 0.0;
    double place = 0.0;
    for (const float each : stored(*effect)) sum += each * ++place;
    say(sum), say(effect->getCurrentBank()), say(effect->getProgram());
    if (effect->canUndo()) say("undo");
    if (effect->canRedo()) say("redo");
    for (int i = 0; i < kNumIds; ++i) {
      if (effect->isEcho(i, effect->getParameter(i))) say("~" + std::to_string(i));
    }
  }
  // Edits of all kinds are walked back, forth and back again, each step as it was.
  void editAndGoToBothEnds() {
    isPlain = true;
    effect->clearHistory();
    steps = {now()};
    for (int turns = 0; turns < 100; ++turns) {
      edit(anyId()), close();
      editInGroup();
      editLinked();
      editLosingTheEnd();
    }
    steps.erase(std::unique(steps.begin(), steps.end()), steps.end());
    for (const bool forth : {false, true, false}) {
      std::vector<Values> seen = {now()};
      while (forth ? effect->canRedo() : effect->canUndo()) {
        forth ? effect->redo() : effect->undo();
        seen.push_back(now());
      }
      seen.erase(std::unique(seen.begin(), seen.end()), seen.end());
      if (!forth) std::reverse(seen.begin(), seen.end());
      EXPECT_EQ(seen, steps);
    }
    effect->beginHistoryGroup();
    effect->clearHistory();
    effect->endHistoryGroup();
    EXPECT_FALSE(effect->canUndo() || effect->canRedo());
    effect->host.take();
  }

  std::unique_ptr<TestEffect> effect;
  TestEditor* editor = nullptr;
  std::vector<std::unique_ptr<Scope>> scopes;
  ParameterKeys keys{""};
  std::mt19937 random{3};
  bool isPlain = false;  // no banks, and nothing is taken back meanwhile
  std::vector<Values> steps;
  std::vector<float> saved;
  std::string savedBytes;
};

TEST_F(HostScript, HostEngineAndEditorHearWhatTheyShould) {
  run(TEST_DATA "/scripts.txt");
  run(TEST_DATA "/calls.txt");
}

TEST_F(HostScript, CurvesGiveTheirValuesAndStayInRange) {
  commands["new"]();
  run(TEST_DATA "/curves.txt");
}

TEST_F(HostScript, DocumentsOfAllAgesLoad) { run(TEST_DATA "/documents.txt"); }

TEST_F(HostScript, AWalkOfAllThatChangesAnEffect) { run(TEST_DATA "/walk.txt"); }

}  // namespace
