#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "dynamics/bands.h"

/// The engine's block buffers, all of one length: whatever is as long as a block is here, so that a
/// longer block means another one of these and nothing else. Two channels always stand; a mono
/// instance leaves the second as it is.
class WorkBuffers {
 public:
  static constexpr int kChannels = 2;
  using Pair = std::array<double*, kChannels>;
  using BandSet = std::array<std::array<double*, kNumBands>, kChannels>;

  /// For blocks of `frames`, cleared. Throws when memory runs out.
  explicit WorkBuffers(int frames);
  WorkBuffers(const WorkBuffers&) = delete;
  WorkBuffers& operator=(const WorkBuffers&) = delete;

  void clear() noexcept;
  [[nodiscard]] int capacity() const noexcept { return maxFrames; }  ///< frames

  Pair wet{};          ///< the running chain signal
  Pair dry{};          ///< the input after its trim, delayed as the wet path is
  Pair rest{};         ///< the part of the signal outside a dynamic EQ band
  Pair ext{};          ///< external sidechain input
  BandSet band{};      ///< crossover bands by list position; entry 0 serves a dynamic EQ stage
  BandSet bandCopy{};  ///< the crossover bands as the split left them, a sidechain source
  BandSet side{};      ///< each band's sidechain, then its linear gain
  double* ramp = nullptr;
  double* upSignal = nullptr;                 ///< 2 * capacity: scratch of the oversampled product
  double* upGain = nullptr;                   ///< likewise
  std::array<float*, kChannels> reduction{};  ///< linear gain of all bands together, for the meters

 private:
  int maxFrames;
  std::vector<double> memory;
  std::vector<float> meterMemory;
};
