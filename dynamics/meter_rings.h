#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "dynamics/shared_ring.h"

/// Per-sample history for the meters: what goes into the chain, what comes out of it, and the gain
/// reduction in decibels, two channels each, under one write position.
/// Threads: `writeInput` to `endBlock` on the audio thread; `getGainReduction` on one reading
/// thread per selector; `reset` and `resetReaders` while nothing processes.
class MeterRings {
 public:
  static constexpr std::size_t kSize = 262144;  ///< samples
  static constexpr int kSelectors = 8;

  void reset() noexcept;         ///< rings and write position
  void resetReaders() noexcept;  ///< read positions to 0, results to 1

  /// A null signal is silence.
  void writeInput(int channel, const double* signal, int frames) noexcept;
  void writeOutput(int channel, const double* signal, int frames) noexcept;
  /// Stores the block's linear gain reduction in decibels.
  void writeReduction(int channel, const float* gains, int frames) noexcept;
  /// Publishes the position behind the block.
  void endBlock(int frames) noexcept;

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
  // Where the next block goes; stored with release once the block's entries stand.
  std::atomic<std::uint32_t> meterWrite{0};
  std::array<Reader, kSelectors> readers;
};
