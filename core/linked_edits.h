#pragma once

#include <array>

#include "core/gesture_bands.h"
#include "core/parameter_ids.h"

class Plug;

/// The part of linked parameters in the edit of one of them: they follow it, and are undone with
/// it. Threads: control side.
class LinkedEdits {
 public:
  explicit LinkedEdits(Plug& effect) noexcept : plug(effect) {}

  // Ahead of the edit, and behind it; the end is for those that followed at the beginning.
  void beginRecording(int index);
  void endRecording(int index);

 private:
  Plug& plug;
  std::array<GestureBands, kNumParams> followers{};
};
