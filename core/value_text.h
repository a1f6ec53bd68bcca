#pragma once

#include <string>

#include "host/parameter_record.h"
#include "host/parameter_store.h"

/// What the text of a value depends on besides the value: plain values of other parameters and one
/// preference.
struct ValueTextContext {
  float extendedRanges = 0.0F;  ///< `kExtendedRanges`: 0, 1, 2
  bool extendedRatios = false;  ///< `kExtendedRatios`
  bool simpleNumbers = false;   ///< preference "Number Format" is "Simple"
  // Of the parameter's own band:
  float ratioAbove = 0.0F;   ///< `kB1Ratio`
  float ratioBelow = 0.0F;   ///< `kB1RatioB`
  bool dynamicEq = false;    ///< `kB1Type`
  bool leftRight = false;    ///< `kB1LR`
  bool scLeftRight = false;  ///< `kB1SCLR`
};

/// The text shown for a value of parameter `index` (0..421), independent of the process's locale.
/// `plain` is the value to show; `record` gives label and curve. With `showNote` a frequency is
/// shown as a musical note with octave and cents. Pure; any thread.
[[nodiscard]] std::string valueText(int index, float plain, const ParameterRecord& record,
                                    const ValueTextContext& context, bool showNote);

/// The context of parameter `index` with the present `values`. Any thread.
[[nodiscard]] ValueTextContext valueTextContext(const ParameterStore& values, int index);

/// The multiplier of `kB1Ceiling` and `kB1Floor`: 1, 2 or 4 for `kExtendedRanges` 0, 1 or 2.
[[nodiscard]] int rangeMultiplier(float extendedRanges) noexcept;
