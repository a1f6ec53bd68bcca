#pragma once

#include <cstdint>

#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

/// What the host offers to an instance while it lives.

/// Text that host and plug-in hand to each other.
class AAX_IString {
 public:
  [[nodiscard]] virtual std::uint32_t Length() const = 0;
  [[nodiscard]] virtual const char* Get() const = 0;
  virtual void Set(const char* text) = 0;  ///< copies

 protected:
  ~AAX_IString() = default;
};

/// The host's log; the host's own unknown hands it out. Any thread but the audio thread.
class AAX_IHostServices : public IACFUnknown {
 public:
  virtual AAX_Result HandleAssertFailure(const char* file, std::int32_t line, const char* note) = 0;

 protected:
  ~AAX_IHostServices() = default;
};

/// One instance's place in the host. Not on the audio thread, but for what says so.
class AAX_IController : public IACFUnknown {
 public:
  virtual AAX_Result GetSampleRate(AAX_CSampleRate* hz) const = 0;
  virtual AAX_Result GetInputStemFormat(AAX_EStemFormat* format) const = 0;
  /// Samples. Any thread.
  virtual AAX_Result SetSignalLatency(std::int32_t samples) = 0;

 protected:
  ~AAX_IController() = default;
};

/// How parameter changes reach the host's automation. The same object as the controller. Values
/// posted come back through `AAX_IEffectParameters::UpdateParameterNormalizedValue`, at once or
/// later. Any thread but the audio thread.
class AAX_IAutomationDelegate : public IACFUnknown {
 public:
  virtual AAX_Result RegisterParameter(AAX_CParamID id) = 0;
  virtual AAX_Result UnregisterParameter(AAX_CParamID id) = 0;
  virtual AAX_Result PostSetValueRequest(AAX_CParamID id, double normalised) = 0;
  virtual AAX_Result PostTouchRequest(AAX_CParamID id) = 0;
  virtual AAX_Result PostReleaseRequest(AAX_CParamID id) = 0;

 protected:
  ~AAX_IAutomationDelegate() = default;
};

/// Position and tempo. Audio thread.
class AAX_ITransport {
 public:
  virtual AAX_Result GetCurrentTempo(double* beatsPerMinute) const = 0;
  virtual AAX_Result GetCurrentMeter(std::int32_t* numerator, std::int32_t* denominator) const = 0;
  virtual AAX_Result IsTransportPlaying(bool* playing) const = 0;
  /// 960000 to the quarter note.
  virtual AAX_Result GetCurrentTickPosition(std::int64_t* ticks) const = 0;
  virtual AAX_Result GetCurrentLoopPosition(bool* looping, std::int64_t* startTick,
                                            std::int64_t* endTick) const = 0;
  virtual AAX_Result GetCurrentNativeSampleLocation(std::int64_t* samples) const = 0;

 protected:
  ~AAX_ITransport() = default;
};

/// A stream of MIDI packets to or from the plug-in, or the way to the transport. Audio thread.
class AAX_IMIDINode {
 public:
  [[nodiscard]] virtual AAX_CMidiStream* GetNodeBuffer() = 0;
  virtual AAX_Result PostMIDIPacket(AAX_CMidiPacket* packet) = 0;
  /// Null where the node is none of the transport type.
  [[nodiscard]] virtual AAX_ITransport* GetTransport() = 0;

 protected:
  ~AAX_IMIDINode() = default;
};

inline constexpr acfIID IID_AAX_IHostServices = {{0x48564b41, 0x43460201, 0xd5086e3f, 0x64b1927c}};
inline constexpr acfIID IID_AAX_IController = {{0x48564b41, 0x43460202, 0x3f9a57c1, 0xe80d462b}};
inline constexpr acfIID IID_AAX_IAutomationDelegate = {
    {0x48564b41, 0x43460203, 0xb846120d, 0x5c7fe39a}};
