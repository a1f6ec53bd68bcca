#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "dynamics/band_layout.h"

class EditedParameters;
class LinkedEdits;

/// What an edit of one crossover band's frequency does to the other crossover bands: they give way
/// to it, and so they take part in its gesture. Threads: control side.
class CrossoverEdits {
 public:
  CrossoverEdits(EditedParameters& edited, LinkedEdits& links) noexcept
      : parameters(edited), linkedEdits(links) {}

  /// Sets a parameter and tells the host. For the frequency of a crossover band those that have to
  /// give way come first, and the band comes last, perhaps not quite where it was wanted; the
  /// engine hears of all at once. While a state is loaded, or several parameters change as one,
  /// nothing gives way.
  void automate(int index, float normalised);
  /// A band that gives way: told in a gesture of its own, unless it takes part in one.
  void moveNeighbour(int index, double centre);
  // The other bands' share of a gesture; the end is for those who were in at the beginning.
  /// Each gesture takes the whole crossover along, so that another one still open has lost its end.
  void endLostGesture(int index);
  void beginRecording(int index);
  void beginEdit(int index);  ///< once the host has been told of the gesture itself
  void endEdit(int index);

 private:
  /// The XOver list as it stands, empty for a parameter that is no frequency of one in it.
  struct Crossover {
    BandLayout::List bands;
    std::vector<double> centres;  // Hz
    std::size_t place = 0;        // of the band whose parameter it is
  };

  /// The open one, if `isOpen`. Aligned as one word, or some compilers call a library with locks.
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
