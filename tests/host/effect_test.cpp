// An effect: its record and events, what it stores and what it makes of damaged documents.

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <thread>

#include "state/chunk_codec.h"
#include "tests/host/test_effect.h"
#include "tests/support/test_directory.h"

namespace {

/// Has audio, and fails where it gets none.
class AudioOnly : public AudioEffectX {
 public:
  AudioOnly() : AudioEffectX(3, 5) {}
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

// As sessions on disk have it: changing any byte of it breaks them.
TEST(Document, BothFormsAreExactToTheByteAndPackedAsSmallAsZlibCan) {
  TestEffect effect;
  effect.setParameter(kB2Mode, 0.1F);
  effect.setParameter(kGain, 0.0F);
  effect.setParameter(kB1Slope, 0.5F);
  effect.setParameter(kB1Slope, effect.getParameterDefault(kB1Slope));
  effect.setProgramName("A \"B\"\n\x01");
  for (const bool isPreset : {false, true}) {
    std::string text = readBytes(isPreset ? TEST_DATA "/preset.json" : TEST_DATA "/full.json");
    text.back() = '\0';
    for (const int level : {0, 1, 9}) {
      effect.setCompressionLevel(level == 9 ? 12 : level == 0 ? -1 : level);
      EXPECT_EQ(effect.chunk(isPreset), level == 0 ? text : packChunk(text, level));
    }
  }
}

TEST(Document, AFullFormIsKeptUntilSomethingChanges) {
  TestEffect effect(HostRecorder::callback, true);
  void* first = nullptr;
  void* again = nullptr;
  const auto isKept = [&] {
    const std::int32_t size = effect.getChunk(&first, false);
    return effect.getChunk(&again, false) == size && again == first;
  };
  // Those of values and banks are part of the walk.
  for (const bool byName : {true, false}) {
    EXPECT_TRUE(isKept());
    const std::string preset = effect.chunk(true);
    EXPECT_EQ(effect.chunk(false), preset) << "the last buffer, whatever its form";
    byName ? effect.setProgramName("B") : static_cast<void>(effect.load("{\"name\":\"C\"}", true));
    const std::string changed = effect.chunk();
    EXPECT_EQ(changed, effect.document(false));
    // What a thread was handed stays as it was until it asks again.
    effect.getChunk(&first, false);
    std::thread([&] {
      effect.setParameter(kB2Wide, effect.getParameter(kB2Wide) + 0.1F);
      EXPECT_NE(effect.chunk(), changed);
    }).join();
    EXPECT_EQ(std::string(static_cast<char*>(first), changed.size()), changed);
  }
  effect.getChunk(&first, false);
  effect.resume();
  effect.getChunk(&again, false);
  EXPECT_NE(again, first) << "a session that begins anew asks anew";
  TestEffect keepsNone;
  keepsNone.getChunk(&first, false);
  keepsNone.getChunk(&again, false);
  EXPECT_NE(again, first) << "although it was not asked for";
}

TEST(Document, WhatIsNoDocumentChangesNothing) {
  TestEffect effect;
  for (std::int32_t i = 0; i < kNumIds; ++i) effect.setParameter(i, 0.3F);
  const std::string good = effect.chunk();
  const auto expectRefused = [&](const std::string& bytes) {
    EXPECT_TRUE(effect.load(bytes, bytes.size() % 2 == 0));
    EXPECT_TRUE(effect.chunkRefused());
    ASSERT_EQ(effect.document(false), good);
  };
  // Without its checksum, the last four bytes, and the end mark before it the text is still whole.
  for (std::size_t cut = 0; cut + 6 < good.size(); ++cut) expectRefused(good.substr(0, cut));
  for (const char* const bad : {"[1]", "7", "\"parameters\"", "null", "{\"a\":1", "ZIP {}"}) {
    expectRefused(bad);
  }
  // Well written, but made to take memory and time.
  const std::string head = R"({"parameters":{"kGain":1},"x":)";
  std::string many = head + "[0";
  for (std::size_t i = 0; i < kMostDocumentNodes; ++i) many += ",0";
  for (const std::string& text :
       {head + '"' + std::string(kMostDocumentBytes, 'x') + "\"}", many + "]}"}) {
    expectRefused(text);
    expectRefused(*packChunk(text, 1));
  }
  // The checksum sees every bit, unless the stream loses its end and with it the checksum.
  for (std::size_t bit = 0; bit < 8 * (good.size() - 16); ++bit) {
    std::string flipped = good;
    flipped[bit / 8] ^= static_cast<char>(1U << bit % 8);
    expectRefused(flipped);
  }
  EXPECT_EQ(effect.setChunk(nullptr, 5, false), 0);
  EXPECT_EQ(effect.setChunk("{}", -1, false), 0);
  EXPECT_EQ(effect.document(false), good);
  EXPECT_TRUE(effect.load(good, false));
  EXPECT_FALSE(effect.chunkRefused());
}

}  // namespace
