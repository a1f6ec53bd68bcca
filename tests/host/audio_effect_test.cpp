// The record and its calls, as an adapter uses them.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/host/test_effect.h"
#include "tests/support/data_rows.h"

namespace {

std::intptr_t call(AEffect* effect, std::int32_t opcode, std::int32_t index = 0,
                   std::intptr_t value = 0, void* ptr = nullptr, float opt = 0.0F) {
  return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

TEST(AudioEffect, CallsReachTheirOperation) {
  TestEffect effect;
  for (const DataRow& row : dataRows(TEST_DATA "/calls.txt")) {
    SCOPED_TRACE(row[0] + " " + row[2] + " " + row[3]);
    char text[128];
    std::strcpy(text, row[4].c_str());
    EXPECT_EQ(call(effect.getAeffect(), std::stoi(row[1]), std::stoi(row[2]), std::stol(row[3]),
                   text, 300.0F),
              std::stol(row[5]));
    EXPECT_EQ(effect.host.take(), row[6].empty() ? "" : row[6] + " ");
    EXPECT_EQ(text, row[7]);
  }
  for (const std::int32_t frames : {0x7fffffff, 3}) effect.advanceSampleCount(frames);
  EXPECT_EQ(effect.getSampleCount(), std::numeric_limits<std::int32_t>::min() + 2);
  for (const bool isPreset : {false, true}) {
    void* data = nullptr;
    const auto size = call(effect.getAeffect(), kEffectGetChunk, isPreset ? 1 : 0, 0, &data);
    EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<std::size_t>(size)),
              effect.document(isPreset));
  }
}

/// Has audio, and fails where it gets none.
class AudioOnly : public AudioEffectX {
 public:
  AudioOnly() : AudioEffectX(nullptr, 3, 5) {}
  void open() override { fail(); }
  void setParameter(std::int32_t /*index*/, float /*normalised*/) override { fail(); }
  float getParameter(std::int32_t index) override { return index == 3 ? 0.25F : fail(); }
  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override {
    if (inputs == nullptr) fail();
    for (std::int32_t i = 0; i < frames; ++i) outputs[0][i] = inputs[0][i] * 2.0F;
  }
  void processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) override {
    if (inputs == nullptr) fail();
    for (std::int32_t i = 0; i < frames; ++i) outputs[0][i] = inputs[0][i] * 3.0;
  }

 private:
  static float fail() { throw std::runtime_error("full disk"); }
};

TEST(AudioEffect, AudioPassesAndFailuresAndDeadRecordsDoNoHarm) {
  TestEffect generic;
  AudioOnly effect;
  AEffect* const record = effect.getAeffect();
  for (std::int32_t opcode = -2; opcode < 100; ++opcode) {
    for (const std::int32_t index : {-1, 0, 1000}) call(generic.getAeffect(), opcode, index);
    EXPECT_EQ(call(record, opcode), opcode == kEffectGetInterfaceVersion ? 2400 : 0) << opcode;
  }
  EXPECT_EQ(record->magic, 0x56737450);
  EXPECT_EQ(record->numPrograms + 10 * record->numParams, 53);
  EXPECT_EQ(record->numInputs + 10 * record->numOutputs, 11);
  EXPECT_EQ(record->flags, 0);
  EXPECT_EQ(generic.getAeffect()->flags, 16 | 32 | 4096);
  EXPECT_EQ(generic.getAeffect()->numPrograms + 10 * generic.getAeffect()->numParams, 72);
  float floats[] = {1.0F, -2.0F};
  double doubles[] = {1.0, -2.0};
  float* floatChannel[] = {floats};
  double* doubleChannel[] = {doubles};
  AEffect orphan = *record;
  orphan.object = nullptr;
  for (AEffect* const held : {record, &orphan, static_cast<AEffect*>(nullptr)}) {
    EXPECT_EQ(record->dispatcher(held, kEffectGetProgram, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(record->getParameter(held, 3), held == record ? 0.25F : 0.0F);
    EXPECT_EQ(record->getParameter(held, 99), 0.0F);
    record->setParameter(held, 0, 1.0F);
    record->processReplacing(held, floatChannel, floatChannel, 2);
    record->processDoubleReplacing(held, doubleChannel, doubleChannel, 1);
    record->processReplacing(held, nullptr, nullptr, 8);
    record->processDoubleReplacing(held, nullptr, nullptr, 8);
    record->process(held, floatChannel, floatChannel, 2);
  }
  EXPECT_EQ(floats[0], 2.0F);
  EXPECT_EQ(floats[1], -4.0F) << "the accumulating call is not offered";
  EXPECT_EQ(doubles[0], 3.0);
  EXPECT_EQ(doubles[1], -2.0);
}

TEST(AudioEffect, TakesMidiOutOfAListOfEvents) {
  VstMidiEvent control{
      kVstMidiType, sizeof(VstMidiEvent), 17, 0, 0, 0, {0xB0, 7, 100, 0}, 0, 0, 0, 0};
  VstMidiEvent exclusive = control;
  exclusive.type = kVstSysExType;
  // As long as its count says, unlike the declared record.
  void* list[2 + 6] = {nullptr, nullptr, &control, nullptr, &exclusive, &control, &control};
  auto* const head = reinterpret_cast<VstEvents*>(list);
  TestEffect effect;
  for (const std::int32_t count : {-3, 0, 4}) {
    EXPECT_TRUE(effect.midi.empty());
    head->numEvents = count;
    EXPECT_EQ(call(effect.getAeffect(), kEffectProcessEvents, 0, 0, head), 1);
  }
  ASSERT_EQ(effect.midi.size(), 2U);
  EXPECT_EQ(std::memcmp(&effect.midi[1], &control, sizeof control), 0);
}

}  // namespace
