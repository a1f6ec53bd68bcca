// The record and its calls, as an adapter uses them.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/aeff_editor.h"
#include "host/audio_effect_x.h"
#include "tests/host/test_effect.h"

namespace {

/// Notes every call that arrives; texts answer with what they were asked.
class CallLog : public AudioEffectX {
 public:
  CallLog() : AudioEffectX(nullptr, 3, 5) {}

  void open() override { log += "open "; }
  void close() override { log += "close "; }
  void suspend() override { log += "suspend "; }
  void resume() override { log += "resume "; }
  std::int32_t getProgram() override { return 2; }
  void setProgram(std::int32_t program) override { note("program", program); }
  void setProgramName(const char* name) override { log += std::string("named ") + name; }
  void getProgramName(char* name) override { std::strcpy(name, "Now"); }
  void getParameterLabel(std::int32_t index, char* text) override { write(text, "label", index); }
  void getParameterDisplay(std::int32_t index, char* text) override {
    write(text, "display", index);
  }
  void getParameterName(std::int32_t index, char* text) override { write(text, "name", index); }
  void setParameter(std::int32_t index, float normalised) override {
    note("set", index);
    if (normalised < 0.0F) throw std::runtime_error("refused");
  }
  float getParameter(std::int32_t index) override {
    return index < 5 ? 0.25F : throw std::out_of_range("index");
  }
  std::int32_t getChunk(void** data, bool isPreset) override {
    *data = chunk;
    return isPreset ? 2 : 4;
  }
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override {
    log += std::string(static_cast<const char*>(data), static_cast<std::size_t>(byteSize));
    return isPreset ? 1 : 2;
  }
  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override {
    for (std::int32_t i = 0; i < frames; ++i) outputs[0][i] = inputs[0][i] * 2.0F;
  }
  void processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) override {
    for (std::int32_t i = 0; i < frames; ++i) outputs[0][i] = inputs[0][i] * 3.0;
  }

  bool stringToParameter(std::int32_t index, const char* text) override {
    note(text, index);
    return true;
  }
  bool getProgramNameIndexed(std::int32_t category, std::int32_t index, char* text) override {
    write(text, std::to_string(category), index);
    return true;
  }
  bool setBypass(bool on) override {
    note("bypass", on ? 1 : 0);
    return true;
  }
  bool getEffectName(char* text) override { return write(text, "effect", 0); }
  bool getVendorString(char* text) override { return write(text, "vendor", 0); }
  bool getProductString(char* text) override { return write(text, "product", 0); }
  std::int32_t canDo(const char* text) override { return std::strcmp(text, "x") == 0 ? -1 : 1; }
  std::intptr_t vendorSpecific(std::int32_t index, std::intptr_t value, void*, float opt) override {
    return index + value + static_cast<std::intptr_t>(opt);
  }

  std::string log;
  char chunk[4] = {'a', 'b', 'c', 'd'};

 private:
  void note(const std::string& what, std::int32_t number) {
    log += what + std::to_string(number) + " ";
  }
  static bool write(char* text, const std::string& what, std::int32_t index) {
    std::strcpy(text, (what + std::to_string(index)).c_str());
    return true;
  }
};

std::intptr_t call(AEffect* effect, std::int32_t opcode, std::int32_t index = 0,
                   std::intptr_t value = 0, void* ptr = nullptr, float opt = 0.0F) {
  return effect->dispatcher(effect, opcode, index, value, ptr, opt);
}

class AudioEffectTest : public testing::Test {
 protected:
  CallLog effect;
  AEffect* const record = effect.getAeffect();
};

TEST_F(AudioEffectTest, TheRecordDescribesTheEffect) {
  EXPECT_EQ(std::memcmp(&record->magic, "PtsV", 4), 0);
  EXPECT_EQ(record->numPrograms, 3);
  EXPECT_EQ(record->numParams, 5);
  EXPECT_EQ(record->initialDelay, 0);
  EXPECT_EQ(effect.getSampleRate(), 44100.0F);
  EXPECT_EQ(effect.getBlockSize(), 1024);

  TestEffect generic;
  EXPECT_EQ(generic.getAeffect()->flags, 16 | 32 | 4096);
  generic.setEditor(std::make_unique<AEffEditor>());
  EXPECT_EQ(generic.getAeffect()->flags, 1 | 16 | 32 | 4096);
}

TEST_F(AudioEffectTest, CallsReachTheirOperation) {
  char text[] = "Word";
  const struct {
    std::int32_t opcode, index;
    std::intptr_t value;
    void* ptr;
    std::intptr_t result;
    const char* log;
  } cases[] = {
      {0, 0, 0, nullptr, 0, "open "},
      {1, 0, 0, nullptr, 0, "close "},
      {2, 0, 1, nullptr, 0, "program1 "},
      {2, 0, std::intptr_t{1} << 33, nullptr, 0, ""},
      {3, 0, 0, nullptr, 2, ""},
      {4, 0, 0, text, 0, "named Word"},
      {12, 0, 1, nullptr, 0, "resume "},
      {12, 0, 0, nullptr, 0, "suspend "},
      {24, 0, 4, text, 2, "Word"},
      {24, 1, 2, text, 1, "Wo"},
      {24, 0, 0, text, 0, ""},
      {24, 0, -4, text, 0, ""},
      {27, 3, 0, text, 1, "Word3 "},
      {44, 0, 1, nullptr, 1, "bypass1 "},
      {50, 1, 20, nullptr, 321, ""},
      {51, 0, 0, text, 1, ""},
      {58, 0, 0, nullptr, 2400, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "opcode " << c.opcode << " value " << c.value);
    effect.log.clear();
    EXPECT_EQ(call(record, c.opcode, c.index, c.value, c.ptr, 300.0F), c.result);
    EXPECT_EQ(effect.log, c.log);
  }
}

TEST_F(AudioEffectTest, TextsAndStateComeBack) {
  const struct {
    std::int32_t opcode;
    const char* text;
    std::intptr_t result;
  } cases[] = {{5, "Now", 0}, {6, "label4", 0},   {7, "display4", 0}, {8, "name4", 0},
               {29, "94", 1}, {45, "effect0", 1}, {47, "vendor0", 1}, {48, "product0", 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "opcode " << c.opcode);
    char text[AudioEffect::kTextCapacity] = "";
    EXPECT_EQ(call(record, c.opcode, 4, 9, text), c.result);
    EXPECT_STREQ(text, c.text);
  }
  void* data = nullptr;
  EXPECT_EQ(call(record, kEffectGetChunk, 0, 0, &data), 4);
  EXPECT_EQ(data, effect.chunk);
  EXPECT_EQ(call(record, kEffectGetChunk, 1, 0, &data), 2);
}

TEST_F(AudioEffectTest, ValuesAndAudioPassThroughTheRecord) {
  record->setParameter(record, 3, 0.5F);
  EXPECT_EQ(effect.log, "set3 ");
  EXPECT_EQ(record->getParameter(record, 3), 0.25F);

  float floats[2] = {1.0F, -2.0F};
  float* floatChannel[] = {floats};
  record->processReplacing(record, floatChannel, floatChannel, 2);
  EXPECT_EQ(floats[1], -4.0F);
  record->process(record, floatChannel, floatChannel, 2);
  EXPECT_EQ(floats[1], -4.0F) << "the accumulating call is not offered";
  double doubles[2] = {1.0, -2.0};
  double* doubleChannel[] = {doubles};
  record->processDoubleReplacing(record, doubleChannel, doubleChannel, 1);
  EXPECT_EQ(doubles[0], 3.0);
  EXPECT_EQ(doubles[1], -2.0);
}

TEST_F(AudioEffectTest, RateAndBlockSizeTakeOnlySenseful) {
  const float rates[] = {96000.0F, 0.0F, -1.0F, std::numeric_limits<float>::infinity(),
                         std::numeric_limits<float>::quiet_NaN()};
  for (const float rate : rates) call(record, kEffectSetSampleRate, 0, 0, nullptr, rate);
  EXPECT_EQ(effect.getSampleRate(), 96000.0F);
  for (const int size : {256, 0, -5}) call(record, kEffectSetBlockSize, 0, size);
  EXPECT_EQ(effect.getBlockSize(), 256);
}

TEST_F(AudioEffectTest, NoCallWithoutPointersFailsAndUnknownOnesAnswerZero) {
  for (std::int32_t opcode = -2; opcode < 100; ++opcode) {
    if (opcode == 3 || opcode == 44 || opcode == 58) continue;  // answer without a pointer
    EXPECT_EQ(call(record, opcode), 0) << "opcode " << opcode;
  }
  TestEffect generic;
  for (const std::int32_t index : {-1, 0, 1000}) {
    for (std::int32_t opcode = -2; opcode < 100; ++opcode)
      call(generic.getAeffect(), opcode, index);
  }
}

TEST_F(AudioEffectTest, NeitherExceptionsNorDeadRecordsLeaveTheirTrace) {
  record->setParameter(record, 1, -1.0F);
  EXPECT_EQ(record->getParameter(record, 99), 0.0F);

  AEffect orphan = *record;
  orphan.object = nullptr;
  for (AEffect* dead : {&orphan, static_cast<AEffect*>(nullptr)}) {
    EXPECT_EQ(record->dispatcher(dead, kEffectGetProgram, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(record->getParameter(dead, 0), 0.0F);
    record->setParameter(dead, 0, 1.0F);
    record->processReplacing(dead, nullptr, nullptr, 8);
    record->processDoubleReplacing(dead, nullptr, nullptr, 8);
  }
}

class EditorLog : public AEffEditor {
 public:
  explicit EditorLog(std::string& editorLog) : log(editorLog) {}
  ~EditorLog() override { log += "gone "; }
  bool getRect(ERect** rect) override {
    *rect = &size;
    return true;
  }
  bool open(void* parentWindow) override {
    log += parentWindow != nullptr ? "open " : "nowhere ";
    return parentWindow != nullptr;
  }
  void close() override { log += "close "; }
  void idle() override { log += "idle "; }

  std::string& log;
  ERect size{0, 0, 500, 844};
};

TEST(AudioEffectEditor, GetsItsCallsButIdlesByTheTimerOnly) {
  std::string log;
  TestEffect effect;
  AEffect* const record = effect.getAeffect();
  ERect* rect = nullptr;
  EXPECT_EQ(call(record, kEffectEditGetRect, 0, 0, &rect), 0);
  effect.onEditorIdle();

  effect.setEditor(std::make_unique<EditorLog>(log));
  EXPECT_EQ(call(record, kEffectEditGetRect, 0, 0, &rect), 1);
  ASSERT_NE(rect, nullptr);
  EXPECT_EQ(rect->right, 844);
  EXPECT_EQ(call(record, kEffectEditGetRect), 0);
  EXPECT_EQ(call(record, kEffectEditOpen), 0);
  EXPECT_EQ(call(record, kEffectEditOpen, 0, 0, &effect), 1);
  EXPECT_EQ(call(record, kEffectEditIdle), 0);
  EXPECT_EQ(log, "nowhere open ");
  effect.onEditorIdle();
  call(record, kEffectEditClose);
  effect.setEditor(nullptr);
  EXPECT_EQ(log, "nowhere open idle close gone ");
  EXPECT_EQ(record->flags & kEffectHasEditor, 0);
}

}  // namespace
