#include "host/plug_base.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "host/aeff_editor.h"
#include "tests/host/test_effect.h"

namespace {

using Messages = std::vector<HostRecorder::Message>;

class PlugBaseTest : public testing::Test {
 protected:
  PlugBaseTest() { effect.getAeffect()->user = &host; }

  HostRecorder host;
  TestEffect effect;
};

TEST_F(PlugBaseTest, StartsWithTheDefaultsEverywhere) {
  const float defaults[] = {0.625F, 1, 18.0F / 91.0F, 0, 0, 18.0F / 91.0F, 0};
  const std::int32_t groups[] = {0, 1, 1, 2, 2, 2, 0};
  for (std::int32_t i = 0; i < kNumIds; ++i) {
    const auto place = static_cast<std::size_t>(i);
    EXPECT_FLOAT_EQ(effect.getParameter(i), defaults[i]);
    EXPECT_EQ(effect.getPlainValue(i), kTestTable[place].value);
    EXPECT_EQ(effect.parameterInfo(i).group, groups[i]);
    EXPECT_EQ(effect.programs[1].values[place], effect.getParameter(i));
    EXPECT_EQ(effect.banks[7].values[place], effect.getParameter(i));
  }
  EXPECT_EQ(effect.getBandNames(), (std::vector<std::string>{"Band 1", "Band 2"}));
}

class EditorValues : public AEffEditor {
 public:
  void setParameter(std::int32_t, float normalised) override { value = normalised; }
  float value = -1;
};

TEST_F(PlugBaseTest, AValueGoesToRecordProgramBankEngineAndEditor) {
  effect.setEditor(std::make_unique<EditorValues>());
  effect.curBank = 3;
  effect.chunkDirty = false;
  float plainSeen = 0.0F;
  effect.onUpdate = [&] { plainSeen = effect.getPlainValue(kGain); };
  const struct {
    float given, normalised, plain;
  } cases[] = {{0.75F, 0.75F, 12}, {1.5F, 1, 24}, {-2.0F, 0, -24}};
  for (const auto& c : cases) {
    effect.setParameter(kGain, c.given);
    EXPECT_EQ(effect.getParameter(kGain), c.normalised);
    EXPECT_EQ(effect.programs[0].values[kGain], c.normalised);
    EXPECT_EQ(effect.banks[3].values[kGain], c.normalised);
    EXPECT_EQ(effect.takeUpdates(), "u");
    EXPECT_EQ(plainSeen, c.plain) << "the engine was told before the value was stored";
    EXPECT_EQ(static_cast<EditorValues*>(effect.getEditor())->value, c.normalised);
  }
  EXPECT_EQ(effect.programs[1].values[kGain], 0.625F);
  EXPECT_EQ(effect.banks[0].values[kGain], 0.625F);
  EXPECT_EQ(effect.getParameterDefault(kGain), 0.625F);
  EXPECT_TRUE(effect.chunkDirty.exchange(false));
  effect.resume();
  EXPECT_TRUE(effect.chunkDirty);
}

TEST_F(PlugBaseTest, BadIdsAndValuesAreIgnoredAndNotToldToTheHost) {
  for (const std::int32_t index : {-1000, -1, +kNumIds, 0x7fffffff, +kGain}) {
    SCOPED_TRACE(index);
    const float bad = index == kGain ? std::numeric_limits<float>::quiet_NaN() : 0.5F;
    effect.setParameter(index, bad);
    effect.setParameterAutomated(index, bad);
    effect.setParameterWithEdit(index, bad);
    EXPECT_EQ(effect.takeUpdates(), "");
    if (index == kGain) continue;
    effect.beginEdit(index);
    effect.endEdit(index);
    effect.takeUpdates();
    EXPECT_EQ(effect.getParameter(index), 0.0F);
    EXPECT_EQ(effect.getPlainValue(index), 0.0F);
    EXPECT_EQ(effect.getParameterDefault(index), 0.0F);
    EXPECT_EQ(effect.plainToNormalised(index, 1.0F), 0.0F);
    EXPECT_EQ(effect.normalisedToPlain(index, 1.0F), 0.0F);
    EXPECT_EQ(effect.hostStepValue(index, 0.3F, true), 0.3F);
    EXPECT_EQ(effect.getStepCount(index), 0);
  }
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(effect.getParameter(kGain), 0.625F);
}

TEST_F(PlugBaseTest, TellsTheHostWhatTheUserDoes) {
  effect.setParameterAutomated(kGain, 1.25F);
  EXPECT_EQ(host.take(), (Messages{{0, kGain, 0, 1.0F}}));
  effect.takeUpdates();
  effect.setParameterWithEdit(kGain, -12.0F);
  EXPECT_EQ(host.take(), (Messages{{43, kGain, 0, 0}, {0, kGain, 0, 0.25F}, {44, kGain, 0, 0}}));
  EXPECT_EQ(effect.takeUpdates(), "uF") << "the end of an edit makes the filters exact";
  effect.gesturesOff = true;
  effect.setParameterWithEdit(kGain, 0.0F);
  EXPECT_EQ(host.take(), (Messages{{0, kGain, 0, 0.5F}}));

  effect.wantEvents();
  for (const std::int32_t latency : {0, 1535, 1535}) effect.declareLatency(latency);
  EXPECT_EQ(host.take(), (Messages{{6, 0, 1, 0}, {13, 0, 0, 0}}));
  EXPECT_EQ(effect.getAeffect()->initialDelay, 1535);

  TestEffect deaf(nullptr);
  deaf.setParameterWithEdit(kGain, -12.0F);
  deaf.setProgram(1);
  deaf.checkProcessLevel();
  EXPECT_FALSE(deaf.isOffline);
}

TEST_F(PlugBaseTest, AnswersAChangeOfTheProcessLevelOnce) {
  const struct {
    std::intptr_t level;
    const char* updates;
  } cases[] = {{2, ""}, {4, "!F"}, {4, ""}, {3, "!F"}, {2, ""}};
  for (const auto& c : cases) {
    host.processLevel = c.level;
    effect.checkProcessLevel();
    EXPECT_EQ(effect.takeUpdates(), c.updates) << "level " << c.level;
  }
}

TEST_F(PlugBaseTest, HostsCountSteps) {
  const struct {
    std::int32_t index, count, size;
  } cases[] = {{kGain, 0, 1},   {kB1State, 1, 1}, {kB1Slope, 16, 6},
               {kB2Mode, 9, 1}, {kB2Wide, 8, 12}, {kABBank, 8, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(effect.getStepCount(c.index), c.count) << c.index;
    EXPECT_EQ(effect.getStepSize(c.index), c.size) << c.index;
  }
  EXPECT_EQ(effect.hostStepValue(kGain, 0.3F, true), 0.3F);
  EXPECT_EQ(effect.hostStepValue(kB1State, 0.3F, false), 0.3F);
  // The host counts mode -1..7 in eighths, the engine in ninths.
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
    const char* texts;
  } cases[] = {{kB1Slope, "Band1 Slope|dB/Oct|24.00dB/Oct|12.00dB/Oct"},
               {kABBank, "AB||0.00|0.00"},
               {-1, "x|x|x|x"},
               {kNumIds, "x|x|x|"}};
  for (const auto& c : cases) {
    char name[64] = "x", label[64] = "x", display[64] = "x", value[64] = "x";
    effect.getParameterName(c.index, name);
    effect.getParameterLabel(c.index, label);
    effect.getParameterDisplay(c.index, display);
    effect.formatParameterValue(c.index, 0.1F, value, false);
    EXPECT_EQ(std::string(name) + "|" + label + "|" + display + "|" + value, c.texts);
  }
}

TEST_F(PlugBaseTest, ProgramNamesAreCutWhereACharacterEnds) {
  const std::string sixty(60, 'n');
  const struct {
    std::string given, kept;
  } cases[] = {{sixty + "abcd", sixty + "abc"},
               {sixty + "ab\xC3\xA9", sixty + "ab"},                // two bytes, one too many
               {sixty + "a\xC3\xA9z", sixty + "a\xC3\xA9"},         // fits exactly
               {sixty + "\xF0\x9F\xA5\x81", sixty},                 // four bytes
               {std::string(80, '\x80'), std::string(63, '\x80')},  // no UTF-8 at all
               {"", ""},
               {"First", "First"}};
  char name[ProgramRecord::kNameCapacity];
  for (const auto& c : cases) {
    effect.setProgramName(c.given.c_str());
    effect.getProgramName(name);
    EXPECT_EQ(name, c.kept);
  }
  for (const std::int32_t none : {-1, 2}) {
    EXPECT_FALSE(effect.getProgramNameIndexed(0, none, name));
  }
  EXPECT_TRUE(effect.getProgramNameIndexed(0, 1, name));
  EXPECT_STREQ(name, "None");
}

TEST_F(PlugBaseTest, AProgramAppliesItsValues) {
  effect.programs[1].values.assign(kNumIds, 1.0F);
  for (const std::int32_t bad : {-1, 2}) effect.setProgram(bad);
  EXPECT_EQ(effect.getProgram(), 0);
  effect.onUpdate = [&] { EXPECT_TRUE(effect.isLoading); };
  effect.setProgram(1);
  EXPECT_EQ(effect.getProgram(), 1);
  EXPECT_FALSE(effect.isLoading);
  EXPECT_EQ(host.take(), (Messages{{35, 0x70726368, 0, 0}}));
  EXPECT_EQ(effect.getPlainValue(kGain), 24.0F);
  EXPECT_EQ(effect.getPlainValue(kABBank), 0.0F) << "the live bank stays selected";
  EXPECT_EQ(effect.programs[0].values[kGain], 0.625F);

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
      {4, 2, 1, "Halvekro", "Input 2", "Output 2", 7, 1, 7, 1},
      {4, 2, 3, "", "Input 4", "", 7, 1, 0, 0},
      {4, 2, 1, "Ableton", "Input 2", "Output 2", 3, 1, 7, 1},
      {4, 2, 1, "Cakewalk, Inc", "Input 2", "Output 2", 3, 1, 7, 1},
      {1, 1, 0, "Ableton", "Input 1", "Output 1", 1, 0, 5, 0},
      {2, 2, 2, "", "", "", 0, 0, 0, 0},
      {2, 2, -1, "", "", "", 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.index << " of " << c.inputs << ", " << c.vendor);
    effect.setNumInputs(c.inputs);
    effect.setNumOutputs(c.outputs);
    host.vendor = c.vendor;
    VstPinProperties input{}, output{};
    EXPECT_EQ(effect.getInputProperties(c.index, &input), *c.inLabel != '\0');
    EXPECT_EQ(effect.getOutputProperties(c.index, &output), *c.outLabel != '\0');
    EXPECT_STREQ(input.label, c.inLabel);
    EXPECT_STREQ(output.label, c.outLabel);
    EXPECT_EQ(input.flags, c.inFlags);
    EXPECT_EQ(output.flags, c.outFlags);
    EXPECT_EQ(input.arrangementType, c.inArrangement);
    EXPECT_EQ(output.arrangementType, c.outArrangement);
  }
}

TEST_F(PlugBaseTest, SaysWhatItCanDo) {
  for (const char* const able :
       {"bypass", "receiveVstEvents", "receiveVstMidiEvent", "supportsViewDpiScaling"}) {
    EXPECT_EQ(effect.canDo(able), 1);
  }
  for (const char* const unable : {"Bypass", "sendVstEvents", ""}) {
    EXPECT_EQ(effect.canDo(unable), 0);
  }
}

TEST_F(PlugBaseTest, TakesMidiOutOfAListOfEvents) {
  VstMidiEvent control{
      kVstMidiType, sizeof(VstMidiEvent), 17, 0, 0, 0, {0xB0, 7, 100, 0}, 0, 0, 0, 0};
  VstMidiEvent exclusive = control;
  exclusive.type = kVstSysExType;
  // As long as its count says, unlike the declared record.
  void* list[2 + 5] = {nullptr, nullptr, &control, nullptr, &exclusive, &control, &control};
  auto* const head = reinterpret_cast<VstEvents*>(list);
  AEffect* const record = effect.getAeffect();
  for (const std::int32_t count : {-3, 0, 4}) {
    EXPECT_TRUE(effect.midi.empty());
    head->numEvents = count;
    record->dispatcher(record, kEffectProcessEvents, 0, 0, head, 0);
  }
  ASSERT_EQ(effect.midi.size(), 2U);
  EXPECT_EQ(std::memcmp(&effect.midi[1], &control, sizeof control), 0);
}

TEST_F(PlugBaseTest, TheSampleCountWrapsAround) {
  for (const std::int32_t frames : {0x7fffffff, 3}) effect.advanceSampleCount(frames);
  EXPECT_EQ(effect.getSampleCount(), std::numeric_limits<std::int32_t>::min() + 2);
}

}  // namespace
