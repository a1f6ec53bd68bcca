#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/plug.h"
#include "host/aeffect.h"
#include "libraries/aax/aax_c_effect_parameters.h"

/// The host's identifier of a parameter, made of its number and whether it has steps: four bytes,
/// lowest first, then a zero. For number 224 the first byte is zero and the text therefore empty:
/// kept, since sessions store these texts and no other one is empty.
[[nodiscard]] std::array<char, 5> aaxParameterIdentifier(std::int32_t index, bool stepped) noexcept;

/// Up to 127 bytes of a track's name, up to its first zero byte, with `?` for each non-ASCII byte.
[[nodiscard]] std::string aaxTrackName(std::span<const char> name);

/// One instance: owns the effect and translates between it and the host. The host's parameters are
/// the effect's 422, in order, and one for the bypass.
///
/// Threads: see the interface. Messages of the effect may come on any thread, even before
/// `Initialize` and after `Uninitialize`, when they reach no host. Calls for the audio thread are
/// listed separately below.
class AAXWrap_Parameters final : public AAX_CEffectParameters {
 public:
  /// `newEffect` must not be null and must send its messages to `aaxHostCallback`.
  explicit AAXWrap_Parameters(std::unique_ptr<Plug> newEffect);

  /// Number of instances that exist.
  [[nodiscard]] static std::int32_t liveInstances() noexcept;

  AAX_Result NotificationReceived(AAX_CTypeID type, const void* data, std::uint32_t size) override;
  AAX_Result UpdateParameterNormalizedValue(AAX_CParamID id, double normalised,
                                            AAX_EUpdateSource source) override;
  AAX_Result ResetFieldData(AAX_CFieldIndex field, void* data, std::uint32_t size) const override;
  AAX_Result GetNumberOfChunks(std::int32_t* count) const override;
  AAX_Result GetChunkIDFromIndex(std::int32_t index, AAX_CTypeID* id) const override;
  AAX_Result GetChunkSize(AAX_CTypeID id, std::uint32_t* size) const override;
  /// The effect's state is that whose size `GetChunkSize` last returned.
  AAX_Result GetChunk(AAX_CTypeID id, AAX_SPlugInChunk* chunk) const override;
  AAX_Result SetChunk(AAX_CTypeID id, const AAX_SPlugInChunk* chunk) override;
  AAX_Result GetCurveData(AAX_CTypeID type, const float* frequencies, std::uint32_t count,
                          float* values) const override;

  // Messages of the effect. Parameters out of range do nothing.
  void automate(std::int32_t index, float normalised);
  void touch(std::int32_t index);
  void release(std::int32_t index);
  void latencyChanged();
  /// The effect has changed values without saying which: updates the values that the host reads.
  void takeEffectValues();
  [[nodiscard]] bool isRenderingOffline() const noexcept {
    return isOfflineRender.load(std::memory_order_relaxed);
  }

  // Audio thread; these neither lock nor allocate.
  [[nodiscard]] Plug& plug() const noexcept { return *effect; }
  [[nodiscard]] bool takesMidi() const noexcept { return receivesMidi; }
  /// Whether the render callback must bypass the effect.
  [[nodiscard]] bool isBypassed() const noexcept;
  void markRendered() noexcept { hasRendered.store(1, std::memory_order_relaxed); }
  /// Copies MIDI and system exclusive events; those that do not fit are lost. May be null.
  void queueMidiOut(const VstEvents* events) noexcept;
  void clearMidiOut() noexcept;

  [[nodiscard]] GainReductionReader& reductions() noexcept { return *reductionReader; }

  VstTimeInfo timeInfo{};  ///< for the audio thread only

 protected:
  ~AAXWrap_Parameters() override;
  AAX_Result EffectInit() override;

 private:
  AAX_Result registerParameters();
  [[nodiscard]] std::unique_ptr<AAX_IParameter> makeParameter(std::int32_t index) const;
  [[nodiscard]] float plainAt(std::int32_t index, float normalised) const;
  [[nodiscard]] float stepShare(std::int32_t index, float plain) const;
  [[nodiscard]] float hostValue(std::int32_t index, float normalised) const;
  [[nodiscard]] float effectValue(std::int32_t index, const AAX_IParameter& parameter) const;
  [[nodiscard]] AAX_IParameter* effectParameter(std::int32_t index) const noexcept;
  void bypassChanged();
  AAX_Result reportLatency(bool onlyOnceRendered);
  AAX_Result restoreControls(const AAX_SPlugInChunk& chunk);
  [[nodiscard]] AAX_CTypeID effectChunkId() const noexcept;
  void fetchChunk() const;  // under `chunkLock`

  std::unique_ptr<Plug> effect;
  std::optional<GainReductionReader> reductionReader;  // of the effect, and gone before it
  // The effect's state whose size the host was last told: a copy, since the effect's own bytes
  // change whenever anything else asks for its state.
  mutable std::vector<char> chunkData;
  mutable std::mutex chunkLock;  // never held while the host is called
  AAX_IParameter* bypassParameter = nullptr;
  std::atomic<bool> bypassOn{false};
  const bool effectHandlesBypass = false;
  const bool receivesMidi;
  std::atomic<bool> isOfflineRender{false};
  std::atomic<std::int32_t> hasRendered{0};
  std::vector<VstMidiEvent> midiOutQueue;
  std::vector<VstMidiSysExEvent> sysexOutQueue;
};
