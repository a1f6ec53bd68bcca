#pragma once

#include <array>
#include <cstdint>

/// One analog section [n2, n1, n0, d2, d1, d0]: H(s) = (n2 s^2 + n1 s + n0) / (d2 s^2 + d1 s + d0).
/// With n0 and d0 both 0 it is first order, (n2 s + n1) / (d2 s + d1); with n1 and d1 0 as well it
/// is the constant n2 / d2.
using AnalogRow = std::array<double, 6>;

/// The analog description of a filter: the product of its rows. A filter hands it out with its
/// frequencies in Hz, to be evaluated at s = j f.
struct AnalogSections {
  static constexpr int kMaxRows = 16;

  std::array<AnalogRow, kMaxRows> rows{};  // zero from `count` on: caches compare whole records
  std::int32_t count = 0;

  friend bool operator==(const AnalogSections&, const AnalogSections&) = default;
};

/// Unity gain: one constant row.
inline constexpr AnalogSections kFlatSections{{{{1.0, 0.0, 0.0, 1.0, 0.0, 0.0}}}, 1};

/// Moves every corner by the factor `w`, > 0: from a prototype's 1 to Hz, or by 2 pi to rad/s.
void scaleSections(AnalogRow* rows, int count, double w) noexcept;

/// Magnitude of the product of rows in Hz at `frequency`, Hz; 1 for no rows. Where all denominators
/// together vanish it is 0, or 1 where the numerators vanish too.
[[nodiscard]] double analogMagnitude(const AnalogRow* rows, int count, double frequency) noexcept;
