// The record and its calls, as an adapter uses them.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

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
  void setProgramName(const char* name) override { log += name; }
  void getProgramName(char* text) override { write(text, "now", 0); }
  void getParameterLabel(std::int32_t index, char* text) override { write(text, "label", index); }
  void getParameterDisplay(std::int32_t index, char* text) override { write(text, "show", index); }
  void getParameterName(std::int32_t index, char* text) override { write(text, "name", index); }
  void setParameter(std::int32_t index, float normalised) override {
    note("set", index);
    if (normalised < 0.0F) throw std::runtime_error("refused");
  }
  float getParameter(std::int32_t index) override {
    return index < 5 ? 0.25F : throw std::out_of_range("index");
  }
  std::int32_t getChunk(void** data, bool isPreset) override {
    *data = this;
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
    return write(text, std::to_string(category), index);
  }
  bool setBypass(bool on) override {
    note("bypass", on ? 1 : 0);
    return true;
  }
  bool getEffectName(char* text) override { return write(text, "effect", 0); }
  bool getVendorString(char* text) override { return write(text, "vendor", 0); }
  bool getProductString(char* text) override { return write(text, "product", 0); }
  std::int32_t canDo(const char* text) override { return std::strcmp(text, "Word") == 0 ? -1 : 1; }
  std::intptr_t vendorSpecific(std::int32_t index, std::intptr_t value, void*, float opt) override {
    return index + value + static_cast<std::intptr_t>(opt);
  }

  std::string log;

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

TEST_F(AudioEffectTest, CallsReachTheirOperation) {
  const struct {
    std::int32_t opcode;
    std::intptr_t value, result;
    const char* logAndText;
  } cases[] = {{0, 0, 0, "open Word"},     {1, 0, 0, "close Word"},
               {2, 1, 0, "program1 Word"}, {2, std::intptr_t{1} << 33, 0, "Word"},
               {3, 0, 2, "Word"},          {4, 0, 0, "WordWord"},
               {5, 0, 0, "now0"},          {6, 0, 0, "label4"},
               {7, 0, 0, "show4"},         {8, 0, 0, "name4"},
               {12, 1, 0, "resume Word"},  {12, 0, 0, "suspend Word"},
               {24, 2, 1, "WoWord"},       {24, -4, 0, "Word"},
               {27, 0, 1, "Word4 Word"},   {29, 9, 1, "94"},
               {44, 1, 1, "bypass1 Word"}, {45, 0, 1, "effect0"},
               {47, 0, 1, "vendor0"},      {48, 0, 1, "product0"},
               {50, 20, 324, "Word"},      {51, 0, -1, "Word"},
               {58, 0, 2400, "Word"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "opcode " << c.opcode << " value " << c.value);
    effect.log.clear();
    char text[AudioEffect::kTextCapacity] = "Word";
    EXPECT_EQ(call(record, c.opcode, 4, c.value, text, 300.0F), c.result);
    EXPECT_EQ(effect.log + text, c.logAndText);
  }
  void* data = nullptr;
  EXPECT_EQ(call(record, kEffectGetChunk, 0, 0, &data), 4);
  EXPECT_EQ(call(record, kEffectGetChunk, 1, 0, &data), 2);
  EXPECT_EQ(data, &effect);
}

TEST_F(AudioEffectTest, ValuesAndAudioPassThroughTheRecord) {
  record->setParameter(record, 3, 0.5F);
  EXPECT_EQ(effect.log, "set3 ");
  EXPECT_EQ(record->getParameter(record, 3), 0.25F);

  float floats[2] = {1.0F, -2.0F};
  float* floatChannel[] = {floats};
  record->processReplacing(record, floatChannel, floatChannel, 2);
  record->process(record, floatChannel, floatChannel, 2);
  EXPECT_EQ(floats[1], -4.0F) << "the accumulating call is not offered";
  double doubles[2] = {1.0, -2.0};
  double* doubleChannel[] = {doubles};
  record->processDoubleReplacing(record, doubleChannel, doubleChannel, 1);
  EXPECT_EQ(doubles[0], 3.0);
  EXPECT_EQ(doubles[1], -2.0);
}

TEST_F(AudioEffectTest, RateAndBlockSizeTakeOnlySenseful) {
  for (const float rate : {96000.0F, 0.0F, -1.0F, 1.1e7F, std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN()}) {
    call(record, kEffectSetSampleRate, 0, 0, nullptr, rate);
  }
  EXPECT_EQ(effect.getSampleRate(), 96000.0F);
  for (const int size : {256, 0, -5}) call(record, kEffectSetBlockSize, 0, size);
  EXPECT_EQ(effect.getBlockSize(), 256);
}

TEST_F(AudioEffectTest, CallsWithoutPointersExceptionsAndDeadRecordsDoNoHarm) {
  TestEffect generic;
  for (std::int32_t opcode = -2; opcode < 100; ++opcode) {
    for (const std::int32_t index : {-1, 0, 1000}) call(generic.getAeffect(), opcode, index);
    if (opcode == 3 || opcode == 44 || opcode == 58) continue;  // answer without a pointer
    EXPECT_EQ(call(record, opcode), 0) << "opcode " << opcode;
  }
  record->setParameter(record, 1, -1.0F);
  EXPECT_EQ(record->getParameter(record, 99), 0.0F);
  AEffect orphan = *record;
  orphan.object = nullptr;
  for (AEffect* dead : {&orphan, static_cast<AEffect*>(nullptr)}) {
    EXPECT_EQ(record->dispatcher(dead, kEffectGetProgram, 0, 0, nullptr, 0), 0);
    EXPECT_EQ(record->getParameter(dead, 0), 0.0F);
    record->setParameter(dead, 0, 1.0F);
    record->processReplacing(dead, nullptr, nullptr, 8);
  }
}

class EditorLog : public AEffEditor {
 public:
  explicit EditorLog(std::string& editorLog) : log(editorLog) {}
  ~EditorLog() override { log += "gone "; }
  bool getRect(ERect** rect) override { return (*rect = &size) != nullptr; }
  bool open(void* parentWindow) override { return parentWindow != nullptr; }
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
  EXPECT_EQ(record->flags & kEffectHasEditor, kEffectHasEditor);
  EXPECT_EQ(call(record, kEffectEditGetRect, 0, 0, &rect), 1);
  EXPECT_EQ(rect->right, 844);
  EXPECT_EQ(call(record, kEffectEditOpen), 0);
  EXPECT_EQ(call(record, kEffectEditOpen, 0, 0, &effect), 1);
  EXPECT_EQ(call(record, kEffectEditIdle), 0);
  EXPECT_EQ(log, "");
  effect.onEditorIdle();
  call(record, kEffectEditClose);
  effect.setEditor(nullptr);
  EXPECT_EQ(log, "idle close gone ");
  EXPECT_EQ(record->flags & kEffectHasEditor, 0);
}

}  // namespace
