#pragma once

#include <array>

#include "filters/analog_sections.h"

/// b0, b1, b2, a1, a2 of one digital section; a0 is 1.
using DigitalSection = std::array<double, 5>;

/// Digital sections that follow analog ones up to Nyquist, where their gain is prescribed. (The
/// bilinear transform would give them the gain at infinity there.) Pure functions of plain values:
/// frequencies and `rate` in Hz, > 0, gains in dB where the name says so, Q > 0. Any thread.
namespace filters {

/// A peak of `gainDb`, positive or negative, with the analog gain at Nyquist (S. J. Orfanidis,
/// Digital Parametric Equalizer Design with Prescribed Nyquist-Frequency Gain, 1997). A peak
/// centred above half the rate is first order and rises to that gain even for cuts, which the later
/// fit must turn round.
[[nodiscard]] DigitalSection peakMatch(double gainDb, double hz, double q, double rate) noexcept;

/// (high s + low w) / (s + w) with w for `hz`: gain `low` at 0 Hz, the analog gain at Nyquist.
[[nodiscard]] DigitalSection firstOrderMatch(double hz, double high, double low,
                                             double rate) noexcept;

/// w^2 / (s^2 + w s / Q + w^2): gain 1 at 0 Hz, the analog gain at Nyquist.
[[nodiscard]] DigitalSection lowpassMatch(double hz, double q, double rate) noexcept;

/// s^2 / (s^2 + w s / Q + w^2): gain 0 at 0 Hz, the analog gain at Nyquist.
[[nodiscard]] DigitalSection highpassMatch(double hz, double q, double rate) noexcept;

struct GeneralMatch {
  DigitalSection section;
  bool inverted;  ///< `section` is the reciprocal of what was asked for
};

/// Matches any second-order row in rad/s, shelves above all. A row with less gain at 0 Hz than at
/// infinity is designed as its reciprocal.
[[nodiscard]] GeneralMatch generalMatch(const AnalogRow& row, double rate) noexcept;

enum class RowShape {
  kConstant,
  kFirstOrder,
  kPeak,
  kHighPeak,  ///< centred above half the rate
  kBandPass,
  kNotch,
  kLowPass,
  kHighPass,
  kGeneral
};

struct RowMatch {
  RowShape shape = RowShape::kConstant;
  DigitalSection section{};
  bool inverted = false;  ///< see `GeneralMatch`
  bool unity = false;     ///< a peak of no more than 0.01 dB
};

/// Matches a row in rad/s by the design that suits its shape.
[[nodiscard]] RowMatch matchRow(const AnalogRow& row, double rate) noexcept;

/// Whether the roots of z^2 + a1 z + a2 lie inside the unit circle.
[[nodiscard]] bool isStable(double a1, double a2) noexcept;

/// 1 / H of a section.
[[nodiscard]] DigitalSection reciprocalSection(const DigitalSection& section) noexcept;

}  // namespace filters
