#pragma once

#include "filters/analog_sections.h"

/// Analog prototypes with their corner at 1. Pure functions of plain values: gains in dB, Q > 0,
/// `order` clamped to 0..32 (slopes need no more than 16). An order has order / 2 second-order
/// rows, followed by one first-order row if it is odd; order 0 has no rows. Any thread.
namespace filters {

/// Identical second-order rows of Q `q`, without correction of the corner.
[[nodiscard]] AnalogSections stackedLowPass(int order, double q) noexcept;
/// Identical Butterworth rows, shifted up so that the corner of the stack stays near 1.
[[nodiscard]] AnalogSections shiftedLowPass(int order) noexcept;
[[nodiscard]] AnalogSections butterworthLowPass(int order) noexcept;

/// Replaces s by 1/s: turns a low-pass into the high-pass with the same corner.
void mirrorSections(AnalogSections& sections) noexcept;
/// Spreads `gainDb` over the second-order rows of a pass filter of `order`; for order 1 the
/// first-order row takes it. 0 dB changes nothing.
void applyPassGain(AnalogSections& sections, int order, double gainDb) noexcept;

/// `parameterA`: percentage by which the Q of numerator and denominator differ above 0.707.
[[nodiscard]] AnalogRow lowShelf(double gainDb, double q, float parameterA) noexcept;
[[nodiscard]] AnalogRow highShelf(double gainDb, double q, float parameterA) noexcept;

/// The Q to design a peak of `gainDb` with, so that its width at that gain follows `q`, modified by
/// `parameterA`; `q` itself at 0 dB.
[[nodiscard]] double peakEffectiveQ(double gainDb, double q, double parameterA) noexcept;
// Both take the effective Q. The band-pass has `gainDb` at its centre.
[[nodiscard]] AnalogRow peak(double gainDb, double effectiveQ) noexcept;
[[nodiscard]] AnalogRow bandPass(double gainDb, double effectiveQ) noexcept;
[[nodiscard]] AnalogRow notch(double q) noexcept;
[[nodiscard]] AnalogRow allpass(double q) noexcept;

}  // namespace filters
