#pragma once

#include <array>
#include <memory>
#include <new>

#include "dynamics/bands.h"

/// A chain's buffers for a slice of a block, all of one length. There are always two channels; mono
/// blocks do not touch the second. They hold anything at first: what a slice reads it has written.
class WorkBuffers {
 public:
  static constexpr int kChannels = 2;
  static constexpr int kFrames = 512;  ///< the longest slice
  using Pair = std::array<double*, kChannels>;
  using BandSet = std::array<std::array<double*, kNumBands>, kChannels>;

  WorkBuffers();          ///< throws std::bad_alloc
  void touch() noexcept;  ///< so that the audio thread need not wait for memory to be mapped
  WorkBuffers(const WorkBuffers&) = delete;
  WorkBuffers& operator=(const WorkBuffers&) = delete;

  Pair wet{};          ///< the running chain signal
  Pair dry{};          ///< the input after its trim, with the delay of the wet path
  Pair rest{};         ///< the part of the signal outside a dynamic EQ band
  Pair ext{};          ///< external sidechain input
  BandSet band{};      ///< crossover bands by list position; entry 0 serves a dynamic EQ stage
  BandSet bandCopy{};  ///< the crossover bands after the split, as sidechain sources
  BandSet side{};      ///< each band's sidechain, then its linear gain
  double* ramp = nullptr;
  double* upSignal = nullptr;  ///< 2 * `kFrames`: scratch of the oversampled product
  double* upGain = nullptr;    ///< the same size and use
  /// Linear gain of all bands together, for the meters.
  std::array<float*, kChannels> reduction{};

 private:
  static constexpr std::align_val_t kAlignment{64};  // a cache line
  struct Free {
    void operator()(double* block) const noexcept { ::operator delete[](block, kAlignment); }
  };
  std::unique_ptr<double[], Free> memory;
  std::array<std::array<float, kFrames>, kChannels> meterMemory;  // NOLINT: not initialised
};
