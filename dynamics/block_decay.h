#pragma once

#include <cmath>

/// What is left after a block of what shrinks in every sample. Keeps the last result, since a power
/// takes longer than all else that a meter needs in a small block.
class BlockDecay {
 public:
  /// `perSample`: share that a sample leaves.
  [[nodiscard]] double over(double newPerSample, int newFrames) noexcept {
    if (newPerSample != perSample || newFrames != frames) {
      perSample = newPerSample;
      frames = newFrames;
      perBlock = std::pow(perSample, frames);
    }
    return perBlock;
  }

 private:
  double perSample = 1.0;
  int frames = 0;
  double perBlock = 1.0;
};
