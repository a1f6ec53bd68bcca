#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// Returns the centres of crossover bands (Hz, ascending) after the one at `place` is moved to
/// `wanted`. Bands give way until each centre is at least 1.5 times the one below; 10 Hz and 30 kHz
/// count as the neighbours at the ends. Both sides of a gap that is too small give way, so a band
/// that jumps close to a neighbour stops short of its goal, while one dragged in small steps pushes
/// its neighbours along. Entries of 0 are left out. Always returns; the result is meaningless if
/// the bands do not fit (too many for the range, or values that are not finite).
[[nodiscard]] std::vector<double> spacedCrossover(std::vector<double> centres, std::size_t place,
                                                  double wanted);

/// A crossover band: its number, its centre, and whether it must stay there.
struct CrossoverPlace {
  int band = 0;
  double hz = 0.0;
  bool fixed = false;
};

/// Centres of crossover bands (Hz, ascending, no two equal) after one more has been added.
struct CrossoverRoom {
  double own = 0.0;
  std::vector<double> others;
};
/// Finds room for a band at `wanted` (Hz), a factor of at least 1.5 away from its neighbours and
/// from 10 Hz and 30 kHz. Bands above give way upwards and bands below downwards, as far as needed;
/// where they cannot, the new band gives way. None if the fixed bands leave no gap there.
[[nodiscard]] std::optional<CrossoverRoom> roomInCrossover(std::span<const CrossoverPlace> others,
                                                           double wanted);
/// As `roomInCrossover`, by the rule of `spacedCrossover`, as if the band were dragged there. None
/// if that would move a fixed band.
[[nodiscard]] std::optional<CrossoverRoom> roomByRule(std::span<const CrossoverPlace> others,
                                                      double wanted);

/// Sorts crossover bands by frequency and separates those with equal frequencies. One of the equal
/// bands stays, preferably a fixed one; the rest move up from it, or down where there is more room,
/// by factors of at most 1.5. All other bands stay as well, unless bands are so close that no
/// numbers lie between them: then all are spaced anew.
void separateEqual(std::span<CrossoverPlace> places);
