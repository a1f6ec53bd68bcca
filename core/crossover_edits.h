#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "core/gesture_bands.h"
#include "dynamics/band_layout.h"

class Plug;

/// What an edit of one crossover band's frequency does to the other crossover bands: they give way
/// to it, and so they take part in its gesture. Threads: control side.
class CrossoverEdits {
 public:
  explicit CrossoverEdits(Plug& effect) noexcept : plug(effect) {}

  /// Sets a parameter and tells the host. For the frequency of a crossover band those that have to
  /// give way come first, each in a gesture of its own, and the band comes last, perhaps not quite
  /// where it was wanted; the engine hears of all at once. While a state is loaded, or several
  /// parameters change as one, nothing gives way.
  void automate(int index, float normalised);
  // The other bands' share of a gesture; the end is for those who were in at the beginning. What
  // is undone as one begins before the gesture and ends behind it.
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

  [[nodiscard]] Crossover crossoverOf(int index);
  void moveNeighbour(int index, double centre);
  [[nodiscard]] bool gesturesTold() const;
  [[nodiscard]] GestureBands& companionsOf(int index);

  Plug& plug;
  std::array<GestureBands, BandLayout::kBands> companions{};
};
