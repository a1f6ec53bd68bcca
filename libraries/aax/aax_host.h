#pragma once

#include <cstdint>

#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

// The interfaces that the host offers to an instance while it lives.

/// Text passed between host and plug-in.
class AAX_IString {
 public:
  [[nodiscard]] virtual std::uint32_t Length() const = 0;
  [[nodiscard]] virtual const char* Get() const = 0;
  virtual void Set(const char* text) = 0;  ///< copies

 protected:
  ~AAX_IString() = default;
};

/// The host's log, provided by the host's own unknown. Any thread but the audio thread.
class AAX_IHostServices : public IACFUnknown {
 public:
  virtual AAX_Result HandleAssertFailure(const char* file, std::int32_t line, const char* note) = 0;

 protected:
  ~AAX_IHostServices() = default;
};

/// The host's view of one instance. Any thread but the audio thread, unless noted.
class AAX_IController : public IACFUnknown {
 public:
  virtual AAX_Result GetSampleRate(AAX_CSampleRate* hz) const = 0;
  virtual AAX_Result GetInputStemFormat(AAX_EStemFormat* format) const = 0;
  /// Samples. Any thread.
  virtual AAX_Result SetSignalLatency(std::int32_t samples) = 0;

 protected:
  ~AAX_IController() = default;
};

/// Sends parameter changes to the host's automation. The same object as the controller. Posted
/// values come back through `AAX_IEffectParameters::UpdateParameterNormalizedValue`, at once or
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
  /// 960000 ticks per quarter note.
  virtual AAX_Result GetCurrentTickPosition(std::int64_t* ticks) const = 0;
  virtual AAX_Result GetCurrentLoopPosition(bool* looping, std::int64_t* startTick,
                                            std::int64_t* endTick) const = 0;
  virtual AAX_Result GetCurrentNativeSampleLocation(std::int64_t* samples) const = 0;

 protected:
  ~AAX_ITransport() = default;
};

/// A stream of MIDI packets to or from the plug-in, or access to the transport. Audio thread.
class AAX_IMIDINode {
 public:
  [[nodiscard]] virtual AAX_CMidiStream* GetNodeBuffer() = 0;
  virtual AAX_Result PostMIDIPacket(AAX_CMidiPacket* packet) = 0;
  /// Null unless the node has the transport type.
  [[nodiscard]] virtual AAX_ITransport* GetTransport() = 0;

 protected:
  ~AAX_IMIDINode() = default;
};

inline constexpr acfIID IID_AAX_IHostServices = {{0x48564b41, 0x43460201, 0xd5086e3f, 0x64b1927c}};
inline constexpr acfIID IID_AAX_IController = {{0x48564b41, 0x43460202, 0x3f9a57c1, 0xe80d462b}};
inline constexpr acfIID IID_AAX_IAutomationDelegate = {
    {0x48564b41, 0x43460203, 0xb846120d, 0x5c7fe39a}};
