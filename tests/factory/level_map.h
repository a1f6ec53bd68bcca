#pragma once

#include <cstddef>
#include <vector>

#include "tests/factory/material.h"

/// What of a stereo signal is looked at.
enum class Part { kBoth, kMid, kSide };
/// Which of the frames in the given time: all, or the tenth that was loudest or quietest in this
/// region before.
enum class Frames { kAll, kLoudest, kQuietest };

struct Region {
  double fromHz = 0.0;
  double toHz = 24000.0;
  double fromSeconds = 0.0;
  double toSeconds = kMaterialSeconds;
  Part part = Part::kBoth;
  Frames frames = Frames::kAll;
};

/// The power of a signal over time and frequency, in frames of 43 ms every 11 ms.
class LevelMap {
 public:
  explicit LevelMap(const Material::Channels& signal);

  /// Power of one frame between two frequencies.
  [[nodiscard]] double power(std::size_t frame, const Region& region) const;
  /// The frames a region speaks of.
  [[nodiscard]] std::vector<std::size_t> framesOf(const Region& region) const;

 private:
  std::size_t count = 0;
  // For each frame the power below each bin, so that any region costs two look-ups.
  std::vector<double> mid;
  std::vector<double> side;
};

/// How much louder, in dB, a region is in `after`.
[[nodiscard]] double levelChange(const LevelMap& before, const LevelMap& after,
                                 const Region& region);
