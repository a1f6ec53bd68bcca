#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

/// Centres of crossover bands (Hz, ascending) once the one at `place` has been asked to be
/// `wanted`: bands give way until each is at least 1.5 times the one below, where the lowest has
/// 10 Hz below it and the highest 30 kHz above. Both sides of a gap that is too small give way, so
/// one that jumps close to its neighbour does not quite get there; one that is dragged in small
/// steps takes its neighbours along. Entries of 0 are left out of it. Where all this is impossible
/// (more bands than the range holds, no numbers) the result is of no use, but it comes.
[[nodiscard]] std::vector<double> spacedCrossover(std::vector<double> centres, std::size_t place,
                                                  double wanted);

/// A crossover band: its number, its centre, and whether it has to stay there.
struct CrossoverPlace {
  int band = 0;
  double hz = 0.0;
  bool fixed = false;
};

/// Centres of crossover bands (Hz, ascending, no two equal) once one more stands between them.
struct CrossoverRoom {
  double own = 0.0;
  std::vector<double> others;
};
/// Finds room for a band at `wanted`, at least 1.5 times away from its neighbours and from 10 Hz
/// and 30 kHz: the others give way, upwards from the band and downwards from it, as far as they
/// have to; where they cannot, the band does. None where those that stay leave no gap there.
[[nodiscard]] std::optional<CrossoverRoom> roomInCrossover(std::span<const CrossoverPlace> others,
                                                           double wanted);
/// As `spacedCrossover` has it for a band that is dragged there from elsewhere. None where that
/// moves one that has to stay.
[[nodiscard]] std::optional<CrossoverRoom> roomByRule(std::span<const CrossoverPlace> others,
                                                      double wanted);

/// Sorts crossover bands by frequency and takes those apart that stand at the same one: one of them
/// stays, a fixed one rather than another, and the rest goes up from it, or down where there is
/// more room, by factors of at most 1.5. The others stay, too, but where bands are so close to each
/// other that no numbers lie between: then all are spaced.
void separateEqual(std::span<CrossoverPlace> places);
