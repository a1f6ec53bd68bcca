#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "dynamics/shared_ring.h"

/// Per-sample history for the meters: what goes into the chain, what comes out of it, and the gain
/// reduction in decibels, two channels each, under one write position.
/// Threads: `beginBlock` to `endBlock` on the audio thread; `getGainReduction` on one reading
/// thread per selector; `prepare`, `reset` and `resetReaders` while nothing processes.
class MeterRings {
 public:
  static constexpr std::size_t kSize = 262144;  ///< samples
  static constexpr int kSelectors = 8;

  /// Room for blocks of up to `frames`; allocates.
  void prepare(int frames);
  void reset() noexcept;         ///< rings and write position
  void resetReaders() noexcept;  ///< read positions to 0, results to 1

  /// The block's gain reduction starts at 1 for every sample; bands multiply their gains into
  /// `reduction`.
  void beginBlock(int frames) noexcept;
  [[nodiscard]] float* reduction(int channel) noexcept;
  void writeInput(int channel, const double* signal, int frames) noexcept;
  void writeOutput(int channel, const double* signal, int frames) noexcept;
  /// Turns the reduction into decibels, stores it and publishes the new position.
  void endBlock(int frames, int channels) noexcept;

  /// The entry furthest from 0 since the last call with this selector, taken as decibels and made
  /// linear; the last result again where nothing new has come. Selectors 0 to 3: gain reduction
  /// left, right, left, right; 4, 5: input; 6, 7: output. Another selector gives 1.
  [[nodiscard]] double getGainReduction(int selector) noexcept;

 private:
  using Ring = SharedRing<float, kSize>;
  struct Reader {
    std::atomic<std::uint32_t> position{0};
    std::atomic<double> result{1.0};
  };
  [[nodiscard]] std::uint32_t writePosition() const noexcept {
    return meterWrite.load(std::memory_order_relaxed);
  }
  static void write(Ring& ring, std::uint32_t position, const double* signal, int frames) noexcept;

  std::array<Ring, 2> inputRings;
  std::array<Ring, 2> outputRings;
  std::array<Ring, 2> reductionRings;
  std::array<std::vector<float>, 2> gains;  // audio thread: the block's linear gain reduction
  // Where the next block goes; stored with release once the block's entries stand.
  std::atomic<std::uint32_t> meterWrite{0};
  std::array<Reader, kSelectors> readers;
};
