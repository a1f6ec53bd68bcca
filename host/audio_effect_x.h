#pragma once

#include <cstdint>

#include "host/audio_effect.h"

/// The extended calls: events, properties, names, and the begin and end of edits. Operations
/// defined inline here return 0 or false.
class AudioEffectX : public AudioEffect {
 public:
  using AudioEffect::AudioEffect;

  std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                           float opt) override;

  /// Takes the events for the coming block; audio thread. The list may be null or empty.
  virtual std::int32_t processEvents(const VstEvents* /*events*/) { return 0; }

  virtual bool canParameterBeAutomated(std::int32_t /*index*/) { return false; }
  virtual bool stringToParameter(std::int32_t /*index*/, const char* /*text*/) { return false; }
  virtual bool getProgramNameIndexed(std::int32_t /*category*/, std::int32_t /*index*/,
                                     char* /*text*/) {
    return false;
  }
  // Fill all of `properties`; false, with nothing written, for a channel that does not exist.
  virtual bool getInputProperties(std::int32_t /*index*/, VstPinProperties* /*properties*/) {
    return false;
  }
  virtual bool getOutputProperties(std::int32_t /*index*/, VstPinProperties* /*properties*/) {
    return false;
  }

  /// True from an effect that does the bypass itself.
  virtual bool setBypass(bool /*on*/) { return false; }
  virtual bool getEffectName(char* /*text*/) { return false; }
  virtual bool getVendorString(char* /*text*/) { return false; }
  virtual bool getProductString(char* /*text*/) { return false; }
  virtual std::int32_t getVendorVersion() { return 0; }
  virtual std::intptr_t vendorSpecific(std::int32_t /*index*/, std::intptr_t /*value*/,
                                       void* /*ptr*/, float /*opt*/) {
    return 0;
  }
  /// Whether the effect supports the named feature: 1 yes, -1 no, 0 unknown.
  virtual std::int32_t canDo(const char* /*text*/) { return 0; }
  virtual std::int32_t getTailSize() { return 0; }  ///< samples

  // For adapters whose hosts ask for more than the record has calls for.
  /// Level of an output channel, linear, >= 0; audio thread.
  [[nodiscard]] virtual double getMeterValue(std::int32_t /*channel*/) const noexcept {
    return 0.0;
  }
  virtual void setTrackName(const char* /*name*/) {}
  /// Fills `values` with the response at `count` `frequencies` (Hz); false if the effect has none.
  virtual bool getCurve(const float* /*frequencies*/, std::uint32_t /*count*/, float* /*values*/) {
    return false;
  }
  /// Whether the effect can run with this many main inputs, as many outputs, and no other channels.
  [[nodiscard]] virtual bool acceptsChannels(std::int32_t /*channels*/) const { return false; }

  // Begin and end a change of a parameter by the user.
  virtual void beginEdit(std::int32_t /*index*/) {}
  virtual void endEdit(std::int32_t /*index*/) {}

 private:
  std::intptr_t dispatchProperties(std::int32_t opcode, std::int32_t index, void* ptr);
  std::intptr_t dispatchStrings(std::int32_t opcode, char* text);
};
