// What is done to an effect, told in tables, and what host, engine and editor hear of it.

#include "tests/support/script.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
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
    said = effect->recorder.take() + said;
    said.erase(said.find_last_not_of(' ') + 1);
  }
  [[nodiscard]] std::int32_t id() const { return row[1].empty() ? 0 : number(1); }
  [[nodiscard]] float value() const { return row[2].empty() ? 0.0F : std::stof(row[2]); }

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
    commands["audio"] = [this] {
      inRealTime([this] { effect->parameterInput().setFromAudio(id(), value()); });
    };
    commands["idle"] = [this] { effect->onIdle(); };
    commands["begin"] = [this] { effect->beginEdit(id()); };
    commands["end"] = [this] { effect->endEdit(id()); };
    commands["undo"] = [this] { effect->undo(); };
    commands["redo"] = [this] { effect->redo(); };
    commands["value"] = [this] { say(effect->getParameter(id())); };
    commands["plain"] = [this] { say(effect->getPlainValue(id())); };
    commands["default"] = [this] { say(effect->getParameterDefault(id())); };
    commands["tell"] = [this] { effect->host.tellValue(id()); };
    commands["echo"] = [this] { say(effect->host.isEcho(id(), value())); };
    commands["gestures off"] = [this] { effect->host.setGesturesOff(value() != 0.0F); };
    commands["tell all"] = [this] { effect->parameterInput().setTellsBanks(value() != 0.0F); };
    commands["midi"] = [this] { effect->host.wantMidi(); };
    commands["group"] = [this] { say(effect->parameterInfo(id()).group); };
    commands["bands"] = [this] {
      for (const auto& band : effect->getBandNames()) say(band);
    };
    commands["steps"] = [this] { say(effect->getStepCount(id())), say(effect->getStepSize(id())); };
    commands["to host"] = [this] { say(effect->hostStepValue(id(), value(), true)); };
    commands["from host"] = [this] { say(effect->hostStepValue(id(), value(), false)); };
    commands["to plain"] = [this] { say(effect->normalisedToPlain(id(), value())); };
    commands["to normalised"] = [this] { say(effect->plainToNormalised(id(), value())); };
    commands["shows"] = [this] {
      char shown[64] = "x";
      effect->formatParameterValue(id(), value(), shown, false);
      say(shown);
    };
    // Each value of a range, by steps, to a tolerance.
    commands["all return"] = [this] {
      const float low = std::stof(row[2]), high = std::stof(row[3]);
      for (float plain = low; plain <= high; plain += std::stof(row[4])) {
        const float there = plainToNormalised(plain, low, high, id());
        ASSERT_NEAR(normalisedToPlain(there, low, high, id()), plain, std::stof(row[5]));
      }
    };
    commands["plain of"] = [this] { turnCurve(normalisedToPlain); };
    commands["normalised of"] = [this] { turnCurve(plainToNormalised); };
    commands["keys"] = [this] {
      keys = ParameterKeys(row[2]);
      for (std::size_t i = 0; i < keys.size(); ++i) {
        say(keys[i].name + std::to_string(keys[i].number));
      }
    };
    commands["key"] = [this] { say(keys.find(row[2])); };
    commands["key of"] = [this] { say(keys.name(id())); };
  }

  /// What it leaves: three values, the first one in the first and last bank, and both names.
  void load(bool isPreset) {
    EXPECT_TRUE(effect->load(row[2], isPreset));
    EXPECT_FALSE(effect->chunkRefused() || effect->parameterInput().loading());
    for (std::int32_t i = 0; i < 3; ++i) say(effect->getParameter(i));
    say(effect->values.banks()[0].values[0]), say(effect->values.banks()[7].values[0]);
    for (const ProgramRecord& program : effect->values.programs()) say(program.name.data());
  }

  void addState() {
    // The same value and name everywhere.
    commands["fill"] = [this] {
      for (std::int32_t i = 0; i < kABBank; ++i) effect->setParameter(i, value());
      for (int bank = 0; bank < 8; ++bank) effect->copyToBank(bank);
      effect->setProgramName("Old");
      effect->recorder.take();
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
      effect->host.declareLatency(static_cast<int>(value())),
          say(effect->getAeffect()->initialDelay);
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
      effect->recorder.processLevel = static_cast<std::intptr_t>(value());
      effect->checkProcessLevel();
    };
    commands["vendor"] = [this] { effect->recorder.vendor = row[2]; };
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
      const float opt = row[6].empty() ? 300.0F : std::stof(row[6]);
      say(record->dispatcher(record, id(), number(2), std::stol(row[3]), text, opt));
      if (text[0] != '\0') say(text);
    };
    commands["call editor"] = [this] {
      ERect* rect = nullptr;
      void* const out = id() == kEffectEditGetRect ? static_cast<void*>(&rect) : nullptr;
      say(effect->dispatcher(id(), 0, 0, out, 0.0F));
    };
    commands["editor idle"] = [this] { effect->onEditorIdle(); };
    commands["has editor"] = [this] { say(effect->getAeffect()->flags & kEffectHasEditor); };
    commands["editor"] = [this] {
      auto made = value() != 0.0F ? std::make_unique<TestEditor>(effect->recorder.log) : nullptr;
      editor = made.get();
      for (int i = 0; editor && i < kNumIds; ++i) editor->setParameter(i, effect->getParameter(i));
      effect->setEditor(std::move(made));
    };
  }

  void addWalk() {
    commands["open group"] = [this] { effect->beginHistoryGroup(); };
    commands["close group"] = [this] { effect->endHistoryGroup(); };
    commands["close group with"] = [this] { effect->endGroupWithEdit(id()); };
    commands["forget"] = [this] { effect->clearHistory(); };
    commands["switch"] = [this] { effect->switchBank(id()); };
    commands["copy"] = [this] { effect->copyToBank(id()); };
    commands["save"] = [this] {
      savedBytes = effect->chunk();
      saved = stored(*effect);
      TestEffect other(nullptr);
      EXPECT_TRUE(other.load(savedBytes, false));
      EXPECT_EQ(stored(other), saved);
    };
    commands["restore"] = [this] {
      EXPECT_TRUE(effect->load(savedBytes, false));
      EXPECT_EQ(stored(*effect), saved);
    };
    commands["cached"] = [this] {
      effect = std::make_unique<TestEffect>(HostRecorder::callback, true);
      effect->updateDsp(true);
    };
    commands["show"] = [this] { showAll(); };
    commands["to both ends"] = [this] { goToBothEnds(); };
  }
  [[nodiscard]] Values now() const {
    Values values;
    for (std::size_t i = 0; i < kNumIds; ++i) values[i] = effect->getParameter(static_cast<int>(i));
    return values;
  }
  /// What documents bring back.
  static std::vector<float> stored(TestEffect& of) {
    std::vector<float> all;
    for (std::size_t i = 0; i < of.values.programs().size() + of.values.banks().size(); ++i) {
      const auto& record = i < 2 ? of.values.programs()[i] : of.values.banks()[i - 2];
      all.insert(all.end(), record.values.begin(), record.values.begin() + kABBank);
    }
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
      if (effect->host.isEcho(i, effect->getParameter(i))) say("~" + std::to_string(i));
    }
  }
  // The history is walked back, forth and back again, each step as it was.
  void goToBothEnds() {
    std::vector<Values> steps;
    for (const bool forth : {false, true, false}) {
      std::vector<Values> seen = {now()};
      while (forth ? effect->canRedo() : effect->canUndo()) {
        forth ? effect->redo() : effect->undo();
        seen.push_back(now());
      }
      if (!forth) std::reverse(seen.begin(), seen.end());
      EXPECT_TRUE(steps.empty() || seen == steps);
      steps = seen;
    }
    double sum = 0.0;
    for (const Values& step : steps)
      sum = 0.7 * sum + std::accumulate(step.begin(), step.end(), 0.0);
    effect->recorder.take();
    say(steps.size()), say(sum);
  }

  std::unique_ptr<TestEffect> effect;
  TestEditor* editor = nullptr;
  std::vector<std::unique_ptr<Scope>> scopes;
  ParameterKeys keys{""};
  std::vector<float> saved;
  std::string savedBytes;
};

TEST_F(HostScript, HostEngineAndEditorHearWhatTheyShould) {
  for (const std::string table : {"scripts", "calls", "curves", "documents", "walk"}) {
    SCOPED_TRACE(table);
    ASSERT_NO_FATAL_FAILURE(run(TEST_DATA "/" + table + ".txt"));
  }
}

}  // namespace
