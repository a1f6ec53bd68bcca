#pragma once

#include <array>
#include <cstdint>

/// One analog section [n2, n1, n0, d2, d1, d0]: H(s) = (n2 s^2 + n1 s + n0) / (d2 s^2 + d1 s + d0).
/// With n0 and d0 both 0 it is first order, (n2 s + n1) / (d2 s + d1); with n1 and d1 0 as well it
/// is the constant n2 / d2.
using AnalogRow = std::array<double, 6>;

/// The analog description of a filter: the product of its rows. Filters provide it with frequencies
/// in Hz, to be evaluated at s = j f.
struct AnalogSections {
  static constexpr int kMaxRows = 16;

  std::array<AnalogRow, kMaxRows> rows{};  // zero from `count` on, since caches compare all rows
  std::int32_t count = 0;

  friend bool operator==(const AnalogSections&, const AnalogSections&) = default;
};

/// Unity gain: one constant row.
inline constexpr AnalogSections kFlatSections{{{{1.0, 0.0, 0.0, 1.0, 0.0, 0.0}}}, 1};

/// Multiplies every corner frequency by `w`, > 0: the corner in Hz turns a prototype into rows in
/// Hz, 2 pi turns these into rad/s.
void scaleSections(AnalogRow* rows, int count, double w) noexcept;

/// Magnitude at `frequency` (Hz) of the product of rows in Hz; 1 for no rows. If the product of the
/// denominators vanishes it is 0, or 1 if that of the numerators vanishes, too.
[[nodiscard]] double analogMagnitude(const AnalogRow* rows, int count, double frequency) noexcept;
