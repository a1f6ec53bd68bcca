#pragma once

#include <cmath>

/// What is left after a block of what shrinks in every sample. Keeps the last result, since a power
/// takes longer than all else that a meter needs in a small block.
class BlockDecay {
 public:
  /// `perSample`: share that a sample leaves. `neighbour`: may have the result already; null for
  /// none.
  [[nodiscard]] double over(double newPerSample, int newFrames,
                            const BlockDecay* neighbour = nullptr) noexcept {
    if (has(newPerSample, newFrames)) return perBlock;
    if (neighbour != nullptr && neighbour->has(newPerSample, newFrames)) {
      *this = *neighbour;
      return perBlock;
    }
    perSample = newPerSample;
    frames = newFrames;
    perBlock = std::pow(perSample, frames);
    return perBlock;
  }

 private:
  [[nodiscard]] bool has(double share, int count) const noexcept {
    return share == perSample && count == frames;
  }

  double perSample = 1.0;
  int frames = 0;
  double perBlock = 1.0;
};
