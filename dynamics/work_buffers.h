#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "dynamics/bands.h"

/// A chain's buffers for a slice of a block, all of one length. There are always two channels; mono
/// blocks do not touch the second.
class WorkBuffers {
 public:
  static constexpr int kChannels = 2;
  using Pair = std::array<double*, kChannels>;
  using BandSet = std::array<std::array<double*, kNumBands>, kChannels>;

  /// Makes cleared buffers for blocks of up to `frames`. Throws std::bad_alloc.
  explicit WorkBuffers(int frames);
  WorkBuffers(const WorkBuffers&) = delete;
  WorkBuffers& operator=(const WorkBuffers&) = delete;

  void clear() noexcept;
  [[nodiscard]] int capacity() const noexcept { return maxFrames; }  ///< frames

  Pair wet{};          ///< the running chain signal
  Pair dry{};          ///< the input after its trim, with the delay of the wet path
  Pair rest{};         ///< the part of the signal outside a dynamic EQ band
  Pair ext{};          ///< external sidechain input
  BandSet band{};      ///< crossover bands by list position; entry 0 serves a dynamic EQ stage
  BandSet bandCopy{};  ///< the crossover bands after the split, as sidechain sources
  BandSet side{};      ///< each band's sidechain, then its linear gain
  double* ramp = nullptr;
  double* upSignal = nullptr;                 ///< 2 * capacity: scratch of the oversampled product
  double* upGain = nullptr;                   ///< the same size and use
  std::array<float*, kChannels> reduction{};  ///< linear gain of all bands together, for the meters

 private:
  int maxFrames;
  std::vector<double> memory;
  std::vector<float> meterMemory;
};
