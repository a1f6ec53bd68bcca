#pragma once

#include <array>

#include "editing/gesture_bands.h"
#include "editing/parameter_ids.h"

class EditedParameters;

/// The part of linked parameters in the edit of one of them: they follow it, and are undone with
/// it. Threads: control side.
class LinkedEdits {
 public:
  explicit LinkedEdits(EditedParameters& edited) noexcept : parameters(edited) {}

  // Ahead of the edit, and behind it; the end is for those that followed at the beginning.
  void beginRecording(int index);
  void endRecording(int index);

 private:
  EditedParameters& parameters;
  std::array<GestureBands, kNumParams> followers{};
};
