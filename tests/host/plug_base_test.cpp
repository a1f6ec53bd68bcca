#include "host/plug_base.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/aeff_editor.h"
#include "host/shared_value.h"
#include "tests/host/test_effect.h"

namespace {

using Messages = std::vector<HostRecorder::Message>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

class PlugBaseTest : public testing::Test {
 protected:
  PlugBaseTest() { effect.getAeffect()->user = &host; }

  HostRecorder host;
  TestEffect effect;
};

TEST_F(PlugBaseTest, StartsWithTheDefaultsEverywhere) {
  const float defaults[] = {0.625F, 2.0F / 3.0F, 1, 18.0F / 91.0F, 0, 0, 18.0F / 91.0F, 0.5F, 0};
  const std::int32_t groups[] = {0, 0, 1, 1, 2, 2, 2, 0, 0};
  ASSERT_EQ(effect.parameterCount(), kNumTestParameters);
  for (std::int32_t i = 0; i < kNumTestParameters; ++i) {
    SCOPED_TRACE(i);
    EXPECT_FLOAT_EQ(effect.getParameter(i), defaults[i]);
    EXPECT_EQ(effect.getParameterDefault(i), effect.getParameter(i));
    EXPECT_EQ(effect.getPlainValue(i), kTestTable[static_cast<std::size_t>(i)].value);
    EXPECT_EQ(effect.parameterInfo(i).group, groups[i]);
    for (const ProgramRecord& program : effect.programs) {
      EXPECT_EQ(program.values[static_cast<std::size_t>(i)], effect.getParameter(i));
    }
    for (const ProgramRecord& bank : effect.banks) {
      EXPECT_EQ(bank.values[static_cast<std::size_t>(i)], effect.getParameter(i));
    }
  }
  EXPECT_EQ(effect.getBandNames(), (std::vector<std::string>{"Band 1", "Band 2"}));
}

class EditorValues : public AEffEditor {
 public:
  void setParameter(std::int32_t index, float normalised) override {
    values.emplace_back(index, normalised);
  }
  std::vector<std::pair<std::int32_t, float>> values;
};

TEST_F(PlugBaseTest, AValueGoesToRecordProgramBankEngineAndEditor) {
  auto owned = std::make_unique<EditorValues>();
  EditorValues& editor = *owned;
  effect.setEditor(std::move(owned));
  effect.curBank = 3;
  float plainSeen = 0.0F;
  effect.onUpdate = [&] { plainSeen = effect.getPlainValue(kGain); };
  const struct {
    float given, normalised, plain;
  } cases[] = {{0.75F, 0.75F, 12}, {1.5F, 1, 24}, {-2.0F, 0, -24}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.given);
    editor.values.clear();
    effect.takeUpdates();
    effect.setParameter(kGain, c.given);
    EXPECT_EQ(effect.getParameter(kGain), c.normalised);
    EXPECT_EQ(effect.getPlainValue(kGain), c.plain);
    EXPECT_EQ(effect.programs[0].values[kGain], c.normalised);
    EXPECT_EQ(effect.banks[3].values[kGain], c.normalised);
    EXPECT_EQ(effect.takeUpdates(), "u");
    EXPECT_EQ(plainSeen, c.plain) << "the engine was told before the value was stored";
    EXPECT_EQ(editor.values, (std::vector<std::pair<std::int32_t, float>>{{kGain, c.normalised}}));
  }
  EXPECT_EQ(effect.programs[1].values[kGain], 0.625F);
  EXPECT_EQ(effect.banks[0].values[kGain], 0.625F);
  EXPECT_EQ(effect.getParameterDefault(kGain), 0.625F);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(PlugBaseTest, BadIdsAndValuesAreIgnoredAndNotToldToTheHost) {
  for (const std::int32_t index : {-1000, -1, +kNumTestParameters, 0x7fffffff, +kGain}) {
    SCOPED_TRACE(index);
    const float bad = index == kGain ? kNan : 0.5F;
    effect.setParameter(index, bad);
    effect.setParameterAutomated(index, bad);
    effect.setParameterWithEdit(index, bad);
    EXPECT_EQ(effect.takeUpdates(), "");
    EXPECT_TRUE(host.take().empty());
    if (index == kGain) continue;
    effect.beginEdit(index);
    effect.endEdit(index);
    EXPECT_TRUE(host.take().empty());
    effect.takeUpdates();
    EXPECT_EQ(effect.getParameter(index), 0.0F);
    EXPECT_EQ(effect.getPlainValue(index), 0.0F);
    EXPECT_EQ(effect.getParameterDefault(index), 0.0F);
    EXPECT_EQ(effect.plainToNormalised(index, 1.0F), 0.0F);
    EXPECT_EQ(effect.normalisedToPlain(index, 1.0F), 0.0F);
    EXPECT_EQ(effect.hostStepValue(index, 0.3F, true), 0.3F);
    EXPECT_EQ(effect.getStepCount(index), 0);
  }
  EXPECT_EQ(effect.getParameter(kGain), 0.625F);
}

TEST_F(PlugBaseTest, TellsTheHostWhatTheUserDoes) {
  effect.setParameterAutomated(kGain, 1.25F);
  EXPECT_EQ(host.take(), (Messages{{0, kGain, 0, 1.0F}}));
  effect.takeUpdates();
  effect.setParameterWithEdit(kGain, -12.0F);
  EXPECT_EQ(effect.getPlainValue(kGain), -12.0F);
  EXPECT_EQ(host.take(), (Messages{{43, kGain, 0, 0}, {0, kGain, 0, 0.25F}, {44, kGain, 0, 0}}));
  EXPECT_EQ(effect.takeUpdates(), "uF") << "the end of an edit makes the filters exact";

  effect.gesturesOff = true;
  effect.setParameterWithEdit(kGain, 0.0F);
  EXPECT_EQ(host.take(), (Messages{{0, kGain, 0, 0.5F}}));

  effect.wantEvents();
  effect.declareLatency(0);
  effect.declareLatency(1535);
  effect.declareLatency(1535);
  EXPECT_EQ(host.take(), (Messages{{6, 0, 1, 0}, {13, 0, 0, 0}}));
  EXPECT_EQ(effect.getAeffect()->initialDelay, 1535);
  EXPECT_EQ(effect.getInitialDelay(), 1535);
}

TEST_F(PlugBaseTest, WithoutACallbackAllOfThatDoesNothing) {
  TestEffect deaf(nullptr);
  deaf.setParameterWithEdit(kGain, -12.0F);
  deaf.wantEvents();
  deaf.declareLatency(100);
  deaf.setProgram(1);
  deaf.checkProcessLevel();
  VstPinProperties properties;
  EXPECT_TRUE(deaf.getInputProperties(0, &properties));
  EXPECT_EQ(properties.flags, 7);
  EXPECT_FALSE(deaf.isOffline);
}

TEST_F(PlugBaseTest, AnswersAChangeOfTheProcessLevelOnce) {
  const struct {
    std::intptr_t level;
    const char* updates;
  } cases[] = {{0, ""}, {2, ""}, {4, "!F"}, {4, ""}, {3, "!F"}, {2, ""}};
  for (const auto& c : cases) {
    host.processLevel = c.level;
    effect.checkProcessLevel();
    EXPECT_EQ(effect.takeUpdates(), c.updates) << "level " << c.level;
    EXPECT_EQ(effect.isOffline, c.level == 4);
  }
}

TEST_F(PlugBaseTest, CountsStepsForTheHost) {
  const struct {
    std::int32_t index, count, size;
  } cases[] = {{kGain, 0, 1},   {kFreq, 0, 1},    {kB1State, 1, 1}, {kB1Slope, 16, 6},
               {kB2Mode, 9, 1}, {kB2Wide, 8, 12}, {kABBank, 8, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(effect.getStepCount(c.index), c.count) << c.index;
    EXPECT_EQ(effect.getStepSize(c.index), c.size) << c.index;
  }
}

TEST_F(PlugBaseTest, StepValuesOfTheHostMapBothWays) {
  EXPECT_EQ(effect.hostStepValue(kGain, 0.3F, true), 0.3F);
  EXPECT_EQ(effect.hostStepValue(kB1State, 0.3F, false), 0.3F);
  // The host counts mode -1..7 in eighths, the engine in ninths.
  EXPECT_FLOAT_EQ(effect.hostStepValue(kB2Mode, 3.0F / 9.0F, true), 3.0F / 8.0F);
  EXPECT_FLOAT_EQ(effect.hostStepValue(kB2Mode, 3.0F / 8.0F, false), 3.0F / 9.0F);
  EXPECT_FLOAT_EQ(effect.hostStepValue(kB2Mode, 3.9F / 8.0F, false), 3.0F / 9.0F);
  for (const std::int32_t index : {+kB1Slope, +kB2Mode, +kB2Slope, +kABBank}) {
    const ParameterRecord& record = effect.parameterInfo(index);
    for (float plain = record.min; plain <= record.max;
         plain += static_cast<float>(effect.getStepSize(index))) {
      const float normalised = effect.plainToNormalised(index, plain);
      const float steps = effect.hostStepValue(index, normalised, true);
      ASSERT_FLOAT_EQ(steps, (plain - record.min) / (record.max - record.min)) << plain;
      ASSERT_EQ(effect.hostStepValue(index, steps, false), normalised) << index << ": " << plain;
    }
  }
}

TEST_F(PlugBaseTest, TextsOfAParameter) {
  const struct {
    std::int32_t index;
    const char *name, *label, *display;
  } cases[] = {{kGain, "Gain", "dB", "6.00dB"},
               {kB1Slope, "Band1 Slope", "dB/Oct", "24.00dB/Oct"},
               {kABBank, "AB", "", "0.00"},
               {-1, "before", "before", "before"},
               {kNumTestParameters, "before", "before", "before"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.index);
    char text[AudioEffect::kTextCapacity] = "before";
    effect.getParameterName(c.index, text);
    EXPECT_STREQ(text, c.name);
    std::strcpy(text, "before");
    effect.getParameterLabel(c.index, text);
    EXPECT_STREQ(text, c.label);
    std::strcpy(text, "before");
    effect.getParameterDisplay(c.index, text);
    EXPECT_STREQ(text, c.display);
  }
  char text[PlugBase::kParameterTextCapacity] = "before";
  effect.formatParameterValue(-1, 0.0F, text, false);
  EXPECT_STREQ(text, "before");
  effect.formatParameterValue(kNumTestParameters, 0.0F, text, false);
  EXPECT_STREQ(text, "");
}

TEST_F(PlugBaseTest, ProgramNamesAreCutWhereACharacterEnds) {
  const std::string sixty(60, 'n');
  const struct {
    std::string given, kept;
  } cases[] = {{"Drums", "Drums"},
               {"", ""},
               {sixty + "abc", sixty + "abc"},
               {sixty + "abcd", sixty + "abc"},
               {sixty + "ab\xC3\xA9", sixty + "ab"},                 // two bytes, one too many
               {sixty + "a\xC3\xA9z", sixty + "a\xC3\xA9"},          // fits exactly
               {sixty + "\xF0\x9F\xA5\x81", sixty},                  // four bytes
               {std::string(80, '\x80'), std::string(63, '\x80')}};  // no UTF-8 at all
  for (const auto& c : cases) {
    SCOPED_TRACE(c.given);
    effect.setProgramName("something longer than some of them");
    effect.setProgramName(c.given.c_str());
    char name[ProgramRecord::kNameCapacity];
    effect.getProgramName(name);
    EXPECT_EQ(name, c.kept);
  }
  effect.setProgramName("First");
  char name[ProgramRecord::kNameCapacity] = "before";
  EXPECT_FALSE(effect.getProgramNameIndexed(0, -1, name));
  EXPECT_FALSE(effect.getProgramNameIndexed(0, 2, name));
  EXPECT_STREQ(name, "before");
  EXPECT_TRUE(effect.getProgramNameIndexed(0, 1, name));
  EXPECT_STREQ(name, "None");
  EXPECT_TRUE(effect.getProgramNameIndexed(0, 0, name));
  EXPECT_STREQ(name, "First");
}

TEST_F(PlugBaseTest, AProgramAppliesItsValues) {
  std::vector<float>& values = effect.programs[1].values;
  values.assign(values.size(), 1.0F);
  for (const std::int32_t bad : {-1, 2}) effect.setProgram(bad);
  EXPECT_EQ(effect.getProgram(), 0);
  EXPECT_TRUE(host.take().empty());

  effect.onUpdate = [&] { EXPECT_TRUE(effect.isLoading); };
  effect.setProgram(1);
  EXPECT_EQ(effect.getProgram(), 1);
  EXPECT_FALSE(effect.isLoading);
  EXPECT_EQ(host.take(), (Messages{{35, 0x70726368, 0, 0}}));
  EXPECT_EQ(effect.getPlainValue(kGain), 24.0F);
  EXPECT_EQ(effect.getPlainValue(kB1Slope), 96.0F);
  EXPECT_EQ(effect.getPlainValue(kABBank), 0.0F) << "the live bank stays selected";
  EXPECT_EQ(effect.programs[0].values[kGain], 0.625F);
  EXPECT_EQ(effect.banks[0].values[kGain], 1.0F);

  effect.isLoading = true;
  effect.setProgram(1);
  EXPECT_EQ(effect.getPlainValue(kABBank), 7.0F) << "a whole state brings its bank";
  EXPECT_FALSE(effect.isLoading);
}

TEST_F(PlugBaseTest, DescribesItsChannels) {
  const struct {
    int inputs, outputs, index;
    const char *vendor, *inLabel, *outLabel;
    std::int32_t inFlags, inArrangement, outFlags, outArrangement;
  } cases[] = {
      {4, 2, 0, "", "Input 1", "Output 1", 7, 1, 7, 1},
      {4, 2, 1, "Halvekro", "Input 2", "Output 2", 7, 1, 7, 1},
      {4, 2, 3, "", "Input 4", "", 7, 1, 0, 0},
      {4, 2, 1, "Ableton", "Input 2", "Output 2", 3, 1, 7, 1},
      {4, 2, 1, "Cakewalk, Inc", "Input 2", "Output 2", 3, 1, 7, 1},
      {4, 2, 1, "Cakewalk", "Input 2", "Output 2", 7, 1, 7, 1},
      {1, 1, 0, "Ableton", "Input 1", "Output 1", 1, 0, 5, 0},
      {2, 2, 2, "", "", "", 0, 0, 0, 0},
      {2, 2, -1, "", "", "", 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.index << " of " << c.inputs << ", " << c.vendor);
    effect.setNumInputs(c.inputs);
    effect.setNumOutputs(c.outputs);
    host.vendor = c.vendor;
    const bool hasInput = *c.inLabel != '\0';
    const bool hasOutput = *c.outLabel != '\0';
    VstPinProperties properties{};
    ASSERT_EQ(effect.getInputProperties(c.index, &properties), hasInput);
    EXPECT_STREQ(properties.label, c.inLabel);
    EXPECT_EQ(properties.flags, c.inFlags);
    EXPECT_EQ(properties.arrangementType, c.inArrangement);
    properties = {};
    ASSERT_EQ(effect.getOutputProperties(c.index, &properties), hasOutput);
    EXPECT_STREQ(properties.label, c.outLabel);
    EXPECT_EQ(properties.flags, c.outFlags);
    EXPECT_EQ(properties.arrangementType, c.outArrangement);
  }
  EXPECT_FALSE(effect.getInputProperties(0, nullptr));
}

TEST_F(PlugBaseTest, SaysWhatItCanDo) {
  const struct {
    const char* text;
    std::int32_t answer;
  } cases[] = {{"bypass", 1},
               {"receiveVstEvents", 1},
               {"receiveVstMidiEvent", 1},
               {"supportsViewDpiScaling", 1},
               {"Bypass", 0},
               {"sendVstEvents", 0},
               {"", 0},
               {nullptr, 0}};
  for (const auto& c : cases) EXPECT_EQ(effect.canDo(c.text), c.answer) << c.text;
}

TEST_F(PlugBaseTest, TakesMidiOutOfAListOfEvents) {
  VstMidiEvent control{
      kVstMidiType, sizeof(VstMidiEvent), 17, 0, 0, 0, {0xB0, 7, 100, 0}, 0, 0, 0, 0};
  VstMidiEvent note = control;
  note.midiData[0] = 0x90;
  VstMidiEvent exclusive = control;
  exclusive.type = kVstSysExType;
  // As long as its count says, unlike the declared record.
  std::vector<void*> list(2 + 5);
  VstMidiEvent* const events[] = {&control, nullptr, &exclusive, &note, &control};
  for (std::size_t i = 0; i < 5; ++i) list[2 + i] = events[i];
  auto* const head = reinterpret_cast<VstEvents*>(list.data());
  AEffect* const record = effect.getAeffect();
  const auto send = [&](std::int32_t count) {
    head->numEvents = count;
    record->dispatcher(record, kEffectProcessEvents, 0, 0, head, 0);
  };
  for (const std::int32_t none : {-3, 0}) send(none);
  effect.processEvents(nullptr);
  EXPECT_TRUE(effect.midi.empty());
  send(4);
  ASSERT_EQ(effect.midi.size(), 2U);
  EXPECT_EQ(std::memcmp(&effect.midi[0], &control, sizeof control), 0);
  EXPECT_EQ(effect.midi[1].midiData[0], 0x90);
  EXPECT_EQ(effect.midi[1].deltaFrames, 17);
}

TEST_F(PlugBaseTest, TheSampleCountWrapsAround) {
  effect.advanceSampleCount(0x7fffffff);
  effect.advanceSampleCount(3);
  EXPECT_EQ(effect.getSampleCount(), std::numeric_limits<std::int32_t>::min() + 2);
}

TEST_F(PlugBaseTest, AnyWriteAndResumeMarkTheStateAsChanged) {
  EXPECT_TRUE(effect.chunkDirty);
  effect.chunkDirty = false;
  effect.setParameter(kGain, 0.1F);
  EXPECT_TRUE(effect.chunkDirty);
  effect.chunkDirty = false;
  effect.resume();
  EXPECT_TRUE(effect.chunkDirty);
}

TEST(PlugBaseThreads, ValuesAreWrittenAndReadAtOnce) {
  class Silent : public PlugBaseJSON {
   public:
    Silent() : PlugBaseJSON(nullptr, kTestTable, testKeys(), 1) {}
    using PlugBase::banks;
    using PlugBase::declareLatency;
  } shared;
  std::vector<std::thread> threads;
  for (int writer = 1; writer <= 2; ++writer) {
    threads.emplace_back([&shared, writer] {
      for (int i = 0; i < 2000; ++i) {
        shared.setParameter(kGain, writer == 1 ? 0.25F : 0.75F);
        shared.declareLatency(i % 2);
        if (i % 100 == 0) shared.setProgram(0);
      }
    });
  }
  threads.emplace_back([&shared] {
    for (int i = 0; i < 4000; ++i) {
      const float plain = shared.getPlainValue(kGain);
      ASSERT_TRUE(plain == 6.0F || plain == -12.0F || plain == 12.0F) << plain;
      ASSERT_GE(loadShared(shared.banks[0].values[kGain]), 0.25F);
      shared.checkProcessLevel();
      ASSERT_LE(shared.getInitialDelay(), 1);
    }
  });
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
