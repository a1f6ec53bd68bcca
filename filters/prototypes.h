#pragma once

#include "filters/analog_sections.h"

/// Analog prototypes with their corner at 1. Pure functions of plain values: gains in dB, Q > 0,
/// `order` taken as 0..32 (from 17 on beyond what a slope asks for) with n / 2 second-order rows
/// first and one first-order row behind them when odd; order 0 has no rows. Any thread.
namespace filters {

/// The same second-order row throughout, with no correction of the corner.
[[nodiscard]] AnalogSections stackedLowPass(int order, double q) noexcept;
/// Identical Butterworth rows, each shifted up so that the stack's corner stays near 1.
[[nodiscard]] AnalogSections shiftedLowPass(int order) noexcept;
[[nodiscard]] AnalogSections butterworthLowPass(int order) noexcept;

/// s becomes 1/s: a low-pass turns into the high-pass of the same corner.
void mirrorSections(AnalogSections& sections) noexcept;
/// Spreads `gainDb` over the second-order rows of a pass filter of `order`; order 1 has only its
/// first-order row to take it. 0 dB touches nothing.
void applyPassGain(AnalogSections& sections, int order, double gainDb) noexcept;

/// `parameterA`: percent that keeps the numerator's Q and the denominator's apart above 0.707.
[[nodiscard]] AnalogRow lowShelf(double gainDb, double q, float parameterA) noexcept;
[[nodiscard]] AnalogRow highShelf(double gainDb, double q, float parameterA) noexcept;

/// The Q that a peak of `gainDb` is drawn with so that its width follows `q` at the gain, bent by
/// `parameterA`; `q` itself at 0 dB.
[[nodiscard]] double peakEffectiveQ(double gainDb, double q, double parameterA) noexcept;
/// Both take the effective Q. The band-pass has `gainDb` as its height.
[[nodiscard]] AnalogRow peak(double gainDb, double effectiveQ) noexcept;
[[nodiscard]] AnalogRow bandPass(double gainDb, double effectiveQ) noexcept;
[[nodiscard]] AnalogRow notch(double q) noexcept;
[[nodiscard]] AnalogRow allpass(double q) noexcept;

}  // namespace filters
