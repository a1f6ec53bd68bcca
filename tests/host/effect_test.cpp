// What stands around an effect: its record, its events and its curves.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

#include "host/curves.h"
#include "tests/host/test_effect.h"
#include "tests/support/data_rows.h"

namespace {

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
  AEffect* const other = generic.getAeffect();
  for (std::int32_t opcode = -2; opcode < 100; ++opcode) {
    for (const int index : {-1, 0, 1000}) other->dispatcher(other, opcode, index, 0, nullptr, 0);
    EXPECT_EQ(record->dispatcher(record, opcode, 0, 0, nullptr, 0),
              opcode == kEffectGetInterfaceVersion ? 2400 : 0);
  }
  EXPECT_EQ(record->magic, 0x56737450);
  EXPECT_EQ(record->numPrograms + 10 * record->numParams, 53);
  EXPECT_EQ(record->numInputs + 10 * record->numOutputs, 11);
  EXPECT_EQ(record->flags, 0);
  EXPECT_EQ(other->flags, 16 | 32 | 4096);
  EXPECT_EQ(other->numPrograms + 10 * other->numParams, 72);
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
    record->process(held, floatChannel, floatChannel, 2);  // not offered
  }
  EXPECT_EQ(floats[0], 2.0F);
  EXPECT_EQ(floats[1], -4.0F);
  EXPECT_EQ(doubles[0], 3.0);
  EXPECT_EQ(doubles[1], -2.0);
  for (const std::int32_t frames : {0x7fffffff, 3}) generic.advanceSampleCount(frames);
  EXPECT_EQ(generic.getSampleCount(), std::numeric_limits<std::int32_t>::min() + 2);
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
    EXPECT_EQ(effect.dispatcher(kEffectProcessEvents, 0, 0, head, 0), 1);
  }
  ASSERT_EQ(effect.midi.size(), 2U);
  EXPECT_EQ(std::memcmp(&effect.midi[1], &control, sizeof control), 0);
}

TEST(Curves, GiveEachValueBack) {
  for (const DataRow& row : dataRows(TEST_DATA "/curve_ranges.txt")) {
    const std::int32_t curve = std::stoi(row[0]);
    const float min = std::stof(row[1]), max = std::stof(row[2]), width = std::stof(row[3]);
    // The steepest curves multiply the rounding of a normalised value, 6e-8, by up to 8 ranges;
    // whole values come back exactly.
    const float tolerance = width > 0 ? 0.0F : 1e-6F * (max - min);
    const float step = width > 0 ? width : (max - min) / 1000.0F;
    for (int i = 0; min + step * static_cast<float>(i) <= max; ++i) {
      const float plain = min + step * static_cast<float>(i);
      const float there = plainToNormalised(plain, min, max, curve);
      ASSERT_NEAR(normalisedToPlain(there, min, max, curve), plain, tolerance) << curve;
    }
  }
}

}  // namespace
