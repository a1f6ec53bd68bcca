// Everyday calls, told in a table: what is done, and what is heard of it.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/test_effect.h"
#include "tests/support/data_rows.h"

namespace {

class Script {
 public:
  void run(const char* path) {
    runScript(path, [this](const DataRow& row) {
      index = row[1].empty() ? 0 : std::stoi(row[1]);
      text = row[2];
      if (std::sscanf(text.c_str(), "%f", &number) != 1) number = 0.0F;
      if (row[0] == "new") effect = std::make_unique<TestEffect>();
      commands.at(row[0])(*effect);
      const std::string heard = effect->host.take();
      return heard.substr(0, heard.find_last_not_of(' ') + 1);
    });
  }

 private:
  template <typename Heard>
  void say(const Heard& heard) {
    std::ostringstream words;
    words.precision(9);
    words << heard << ' ';
    effect->host.log += words.str();
  }
  void call(std::int32_t opcode) {
    VstPinProperties pin{};
    ERect* rect = nullptr;
    void* const out = opcode == kEffectEditGetRect ? static_cast<void*>(&rect) : &pin;
    const auto result =
        effect->dispatcher(opcode, index, 0, opcode == kEffectEditOpen ? nullptr : out, 0.0F);
    if (opcode != kEffectGetInputProperties && opcode != kEffectGetOutputProperties) {
      say(result);
    } else if (result != 0) {
      say(pin.label + (" " + std::to_string(pin.flags)) + " " +
          std::to_string(pin.arrangementType));
    }
  }

  /// Each value that a host may show comes back as it was.
  void returnSteps(TestEffect& e) {
    const ParameterRecord& record = e.parameterInfo(index);
    const auto step = static_cast<float>(e.getStepSize(index));
    for (float plain = record.min; plain <= record.max; plain += step) {
      const float normalised = e.plainToNormalised(index, plain);
      const float shown = e.hostStepValue(index, normalised, true);
      EXPECT_FLOAT_EQ(shown, (plain - record.min) / (record.max - record.min)) << plain;
      EXPECT_EQ(e.hostStepValue(index, shown, false), normalised) << plain;
    }
  }
  void show(TestEffect& e) {
    char shown[64] = "x";
    e.formatParameterValue(index, number, shown, false);
    say(shown);
  }
  void splitKeys() {
    keys = ParameterKeys(text);
    for (const auto& entry : keys) say(entry.name + std::to_string(entry.number));
  }
  /// The same value and name everywhere.
  void fill(TestEffect& e) {
    for (std::int32_t i = 0; i < kABBank; ++i) e.setParameter(i, number);
    for (int bank = 0; bank < 8; ++bank) e.copyToBank(bank);
    e.setProgramName("Old");
    e.host.take();
  }
  /// What it leaves: three values, the first one in the first and last bank, and both names.
  void load(TestEffect& e, bool isPreset) {
    EXPECT_TRUE(e.load(text, isPreset));
    EXPECT_FALSE(e.chunkRefused() || e.isLoading);
    for (std::int32_t i = 0; i < 3; ++i) say(e.getParameter(i));
    say(e.banks[0].values[0]), say(e.banks[7].values[0]);
    for (const ProgramRecord& program : e.programs) say(program.name.data());
  }

  using Command = std::function<void(TestEffect&)>;
  const std::map<std::string, Command> commands = {
      {"new", [](TestEffect&) {}},
      {"set", [this](TestEffect& e) { e.setParameter(index, number); }},
      {"automate", [this](TestEffect& e) { e.setParameterAutomated(index, number); }},
      {"edit", [this](TestEffect& e) { e.setParameterWithEdit(index, number); }},
      {"audio", [this](TestEffect& e) { e.setParameterFromAudio(index, number); }},
      {"idle", [](TestEffect& e) { e.onIdle(); }},
      {"begin", [this](TestEffect& e) { e.beginEdit(index); }},
      {"end", [this](TestEffect& e) { e.endEdit(index); }},
      {"undo", [](TestEffect& e) { e.undo(); }},
      {"redo", [](TestEffect& e) { e.redo(); }},
      {"value", [this](TestEffect& e) { say(e.getParameter(index)); }},
      {"plain", [this](TestEffect& e) { say(e.getPlainValue(index)); }},
      {"default", [this](TestEffect& e) { say(e.getParameterDefault(index)); }},
      {"tell", [this](TestEffect& e) { e.tellValue(index); }},
      {"echo", [this](TestEffect& e) { say(e.isEcho(index, number) ? "yes" : "no"); }},
      {"gestures off", [this](TestEffect& e) { e.gesturesOff = number != 0.0F; }},
      {"tell all", [this](TestEffect& e) { e.notifyAllOnBankSwitch = number != 0.0F; }},
      {"midi", [](TestEffect& e) { e.wantEvents(); }},
      {"group", [this](TestEffect& e) { say(e.parameterInfo(index).group); }},
      {"bands",
       [this](TestEffect& e) {
         for (const auto& band : e.getBandNames()) say(band);
       }},
      {"steps", [this](TestEffect& e) { say(e.getStepCount(index)), say(e.getStepSize(index)); }},
      {"steps return", [this](TestEffect& e) { returnSteps(e); }},
      {"to host", [this](TestEffect& e) { say(e.hostStepValue(index, number, true)); }},
      {"from host", [this](TestEffect& e) { say(e.hostStepValue(index, number, false)); }},
      {"to plain", [this](TestEffect& e) { say(e.normalisedToPlain(index, number)); }},
      {"to normalised", [this](TestEffect& e) { say(e.plainToNormalised(index, number)); }},
      {"shows", [this](TestEffect& e) { show(e); }},
      {"keys", [this](TestEffect&) { splitKeys(); }},
      {"key", [this](TestEffect&) { say(keys.find(text)); }},
      {"key of", [this](TestEffect&) { say(keys.name(index)); }},
      {"fill", [this](TestEffect& e) { fill(e); }},
      {"load full", [this](TestEffect& e) { load(e, false); }},
      {"load preset", [this](TestEffect& e) { load(e, true); }},
      {"program", [this](TestEffect& e) { e.setProgram(index); }},
      {"latency", [this](TestEffect& e) { e.declareLatency(static_cast<int>(number)); }},
      {"latency is", [this](TestEffect& e) { say(e.getAeffect()->initialDelay); }},
      {"rate", [this](TestEffect& e) { e.setSampleRate(number); }},
      {"rate is", [this](TestEffect& e) { say(e.getSampleRate()); }},
      {"block", [this](TestEffect& e) { e.setBlockSize(static_cast<int>(number)); }},
      {"block is", [this](TestEffect& e) { say(e.getBlockSize()); }},
      {"hold", [this](TestEffect& e) { scopes.push_back(std::make_unique<Scope>(e)); }},
      {"release", [this](TestEffect&) { scopes.pop_back(); }},
      {"elsewhere",
       [this](TestEffect& e) {
         std::thread([&] { e.setParameterAutomated(index, number); }).join();
       }},
      {"level",
       [this](TestEffect& e) {
         e.host.processLevel = static_cast<std::intptr_t>(number);
         e.checkProcessLevel();
       }},
      {"vendor", [this](TestEffect& e) { e.host.vendor = text; }},
      {"pins",
       [this](TestEffect& e) {
         e.setNumInputs(index);
         e.setNumOutputs(static_cast<int>(number));
       }},
      {"input", [this](TestEffect&) { call(kEffectGetInputProperties); }},
      {"output", [this](TestEffect&) { call(kEffectGetOutputProperties); }},
      {"call", [this](TestEffect&) { call(index); }},
      {"open in", [this](TestEffect& e) { say(e.dispatcher(kEffectEditOpen, 0, 0, &e, 0.0F)); }},
      {"editor idle", [](TestEffect& e) { e.onEditorIdle(); }},
      {"has editor", [this](TestEffect& e) { say(e.getAeffect()->flags & kEffectHasEditor); }},
      {"editor",
       [this](TestEffect& e) {
         e.setEditor(number != 0.0F ? std::make_unique<TestEditor>(e.host.log) : nullptr);
       }},
  };

  using Scope = PlugBase::StateScope;
  std::unique_ptr<TestEffect> effect;
  std::vector<std::unique_ptr<Scope>> scopes;
  std::int32_t index = 0;
  float number = 0.0F;
  std::string text;
  ParameterKeys keys{""};
};

TEST(Scripts, HostEngineAndEditorHearWhatTheyShould) { Script().run(TEST_DATA "/scripts.txt"); }

TEST(Scripts, DocumentsOfAllAgesLoad) { Script().run(TEST_DATA "/documents.txt"); }

}  // namespace
