#pragma once

/// How far the gain of a band went in a render, dB.
struct GainRange {
  double lowest = 0.0;   ///< at most 0
  double highest = 0.0;  ///< at least 0
};
