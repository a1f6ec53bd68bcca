#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "host/aeffect.h"

class AEffEditor;

/// Whether `hz` is a usable sample rate: 1 Hz to 10 MHz.
[[nodiscard]] constexpr bool isSampleRate(double hz) noexcept { return hz >= 1.0 && hz <= 10e6; }

/// Base of an effect: owns the record that the adapter holds and answers the calls that come
/// through it. Operations defined inline here do nothing or return 0.
///
/// Texts are written with their terminating zero to buffers of at least `kTextCapacity` bytes.
/// Threads: process calls on the audio thread; all else on the host's control threads or the
/// message thread. No exception leaves through the record: the call returns 0 instead.
class AudioEffect {
 public:
  static constexpr std::size_t kTextCapacity = 64;

  AudioEffect(std::int32_t numPrograms, std::int32_t numParams);
  virtual ~AudioEffect();
  AudioEffect(const AudioEffect&) = delete;
  AudioEffect& operator=(const AudioEffect&) = delete;

  /// Owned by the effect. `kEffectClose` does not delete the effect; whoever made it does.
  [[nodiscard]] AEffect* getAeffect() noexcept { return &cEffect; }
  [[nodiscard]] AEffEditor* getEditor() const noexcept { return ownedEditor.get(); }
  /// Hz.
  [[nodiscard]] float getSampleRate() const noexcept {
    return sampleRate.load(std::memory_order_relaxed);
  }
  [[nodiscard]] std::int32_t getBlockSize() const noexcept {
    return blockSize.load(std::memory_order_relaxed);
  }
  [[nodiscard]] std::int32_t getInitialDelay() const noexcept;  ///< declared latency, samples

  /// Every call other than audio and parameter values. An unknown opcode returns 0.
  virtual std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* ptr, float opt);
  virtual void open() {}
  virtual void close() {}
  virtual void suspend() {}
  virtual void resume() {}
  virtual void setSampleRate(float newRate);             ///< Hz; ignored unless `isSampleRate`
  virtual void setBlockSize(std::int32_t newBlockSize);  ///< frames; ignored unless positive

  /// Processes `frames` samples of each channel; `inputs` and `outputs` may be the same buffers.
  virtual void processReplacing(float** /*inputs*/, float** /*outputs*/, std::int32_t /*frames*/) {}
  virtual void processDoubleReplacing(double** /*inputs*/, double** /*outputs*/,
                                      std::int32_t /*frames*/) {}

  virtual void setParameter(std::int32_t /*index*/, float /*normalised*/) {}
  virtual float getParameter(std::int32_t /*index*/) { return 0.0f; }
  /// As `setParameter`, and tells the host that the effect itself made the change.
  virtual void setParameterAutomated(std::int32_t /*index*/, float /*normalised*/) {}
  virtual void getParameterLabel(std::int32_t /*index*/, char* /*text*/) {}
  virtual void getParameterDisplay(std::int32_t /*index*/, char* /*text*/) {}
  virtual void getParameterName(std::int32_t /*index*/, char* /*text*/) {}

  virtual std::int32_t getProgram() { return 0; }
  virtual void setProgram(std::int32_t /*program*/) {}
  virtual void setProgramName(const char* /*name*/) {}
  virtual void getProgramName(char* /*name*/) {}

  /// Points `*data` to the stored state, which the effect owns and which is valid until the next
  /// call, and returns its size in bytes.
  virtual std::int32_t getChunk(void** /*data*/, bool /*isPreset*/) { return 0; }
  /// Loads a state from `byteSize` bytes owned by the caller. Returns 0 when it was not taken.
  virtual std::int32_t setChunk(const void* /*data*/, std::int32_t /*byteSize*/,
                                bool /*isPreset*/) {
    return 0;
  }

 protected:
  // For the constructor of a derived class, before the record is handed out.
  void setUniqueID(std::int32_t id) noexcept { cEffect.uniqueID = id; }
  void setNumInputs(std::int32_t count) noexcept { cEffect.numInputs = count; }
  void setNumOutputs(std::int32_t count) noexcept { cEffect.numOutputs = count; }
  void canProcessReplacing(bool state = true) noexcept { setFlag(kEffectCanReplacing, state); }
  void canDoubleReplacing(bool state = true) noexcept { setFlag(kEffectCanDoubleReplacing, state); }
  void programsAreChunks(bool state = true) noexcept { setFlag(kEffectProgramChunks, state); }
  /// Null deletes the editor. Only while no other thread can reach the effect: at the end of a
  /// constructor or at the start of a destructor.
  void setEditor(std::unique_ptr<AEffEditor> newEditor);
  [[nodiscard]] const std::unique_ptr<AEffEditor>& editorSlot() const noexcept {
    return ownedEditor;
  }

  AEffect cEffect{};

 private:
  void setFlag(std::int32_t flag, bool state) noexcept;
  std::intptr_t dispatchEditor(std::int32_t opcode, void* ptr);
  std::intptr_t dispatchKey(std::int32_t opcode, const VstKeyCode& key);
  std::intptr_t dispatchText(std::int32_t opcode, std::int32_t index, char* text);

  std::unique_ptr<AEffEditor> ownedEditor;
  std::atomic<float> sampleRate{44100.0f};
  std::atomic<std::int32_t> blockSize{1024};
};
