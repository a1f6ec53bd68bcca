#pragma once

class EditedParameters;
class compressor;

/// Auto Gain: measures how the chain changes the loudness and sets the output trim to undo that. An
/// edit starts a measurement and the idle call ends it. An edit of the output trim, of listening or
/// of a solo switches Auto Gain off. Threads: control threads.
class AutoGain {
 public:
  AutoGain(EditedParameters& edited, compressor& measured) noexcept
      : parameters(edited), engine(measured) {}

  void beginEdit(int index);
  void endEdit();
  /// Restarts the measurement after a state has been loaded.
  void startAfresh();
  /// Ends the measurement and sets the trim after one second of audible signal.
  void onIdle(double sampleRate);  ///< Hz

 private:
  void startIfWanted();
  [[nodiscard]] bool isWanted() const;

  EditedParameters& parameters;
  compressor& engine;
};
