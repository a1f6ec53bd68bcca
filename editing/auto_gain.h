#pragma once

class EditedParameters;
class compressor;

/// Auto Gain: measures what the chain has done to loudness and sets the output trim to undo it. An
/// edit starts a measurement, the idle call ends it; touching what the measurement stands on
/// switches it off. Threads: control side.
class AutoGain {
 public:
  AutoGain(EditedParameters& edited, compressor& measured) noexcept
      : parameters(edited), engine(measured) {}

  void beginEdit(int index);
  void endEdit();
  /// A state was loaded: what was measured of another one does not count.
  void startAfresh();
  /// Ends the measurement when a second of audible signal has gone through.
  void onIdle(double sampleRate);  ///< Hz

 private:
  void startIfWanted();
  [[nodiscard]] bool isWanted() const;

  EditedParameters& parameters;
  compressor& engine;
};
