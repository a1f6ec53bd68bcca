#pragma once

#include <cstddef>
#include <vector>

/// Centres of crossover bands (Hz, ascending) once the one at `place` has been asked to be
/// `wanted`: bands give way until each is at least 1.5 times the one below, where the lowest has
/// 10 Hz below it and the highest 30 kHz above. Both sides of a gap that is too small give way, so
/// one that jumps close to its neighbour does not quite get there; one that is dragged in small
/// steps takes its neighbours along. Entries of 0 are left out of it. Where all this is impossible
/// (more bands than the range holds, no numbers) the result is of no use, but it comes.
[[nodiscard]] std::vector<double> spacedCrossover(std::vector<double> centres, std::size_t place,
                                                  double wanted);
