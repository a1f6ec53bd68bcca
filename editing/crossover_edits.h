#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "dynamics/band_layout.h"

class EditedParameters;
class LinkedEdits;

/// Moves the other crossover bands out of the way when the frequency of one is edited. The others
/// therefore take part in its gesture. Threads: control threads.
class CrossoverEdits {
 public:
  CrossoverEdits(EditedParameters& edited, LinkedEdits& links) noexcept
      : parameters(edited), linkedEdits(links) {}

  /// Sets a parameter and tells the host. For the frequency of a crossover band, bands that must
  /// give way are set first and the band itself last, perhaps not quite where it was wanted; the
  /// engine takes all of them as one. No band gives way unless `neighboursGiveWay`.
  void automate(int index, float normalised);
  /// Moves a band that gives way to `centre` (Hz). The host is told in a gesture of its own, unless
  /// the band takes part in an open one.
  void moveNeighbour(int index, double centre);

  // The other bands' part in a gesture. The bands that begin it also end it, whatever the crossover
  // has become since.
  /// Ends another gesture that is still open: each takes the whole crossover, so it has lost its
  /// end.
  void endLostGesture(int index);
  void beginRecording(int index);  ///< records the other bands' values for the history
  void beginEdit(int index);       ///< tells the host; after it was told of the band itself
  void endEdit(int index);

 private:
  /// The present XOver list; empty if the parameter is not the frequency of a band in it.
  struct Crossover {
    BandLayout::List bands;
    std::vector<double> centres;  // Hz
    std::size_t place = 0;        // index of the parameter's band in both lists
  };

  /// The open gesture, if any. Aligned as one word; otherwise some compilers call a library that
  /// locks.
  struct alignas(4) Gesture {
    bool isOpen = false;
    std::uint8_t band = 0;
    std::uint16_t companions = 0;  // other bands, as bits
  };
  static_assert(std::atomic<Gesture>::is_always_lock_free);

  [[nodiscard]] Crossover crossoverOf(int index);
  [[nodiscard]] bool takesPart(int index) const;

  EditedParameters& parameters;
  LinkedEdits& linkedEdits;
  std::atomic<Gesture> gesture{};
};
