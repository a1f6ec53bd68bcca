#pragma once

#include <array>

#include "editing/gesture_bands.h"
#include "editing/parameter_ids.h"

class EditedParameters;

/// Records linked parameters in the history when one of them is edited, so that the values that
/// follow are undone with it. Threads: control threads.
class LinkedEdits {
 public:
  explicit LinkedEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  // To be called before and after the edit. The end is for the parameters that were linked at the
  // beginning.
  void beginRecording(int index);
  void endRecording(int index);

 private:
  EditedParameters& parameters;
  std::array<GestureBands, kNumParams> followers{};
};
