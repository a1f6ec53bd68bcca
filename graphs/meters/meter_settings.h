#pragma once

#include "editor/controls/value_source.h"
#include "graphs/meters/meter_holds.h"
#include "toolkit/geometry.h"

/// How the user wants meters to be. Threads: the message thread.
struct MeterSettings {
  HoldMode hold = HoldMode::kFiveSeconds;
  int scale = 0;      ///< for `markOffsetOf`
  int zoomRange = 0;  ///< for `zoomRangeOf`
  bool autoRange = true;
  bool isYellow = false;  ///< what is over full scale, rather than red

  /// From the preferences.
  [[nodiscard]] static MeterSettings read(const ValueSource& values);

  /// Of bars and grounds that are over, and of text on such a ground.
  [[nodiscard]] CColor overColour() const noexcept;
  [[nodiscard]] CColor overTextColour() const noexcept;
};
