#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "dynamics/shared_ring.h"

/// Per-sample history for the meters: what goes into the chain, what comes out of it, and the gain
/// reduction in decibels, two channels each, under one write position.
/// Threads: `writeInput` to `endBlock` on the audio thread; `readFurthest` on any, one at a time
/// per cursor; `reset` while nothing processes.
class MeterRings {
 public:
  static constexpr std::size_t kSize = 262144;  ///< samples
  static constexpr int kSelectors = 8;

  /// How far a consumer has read for one selector, and what it found.
  struct Cursor {
    std::uint32_t position = 0;
    std::uint32_t resets = 0;
    double result = 1.0;
  };

  void reset() noexcept;  ///< to silence; all cursors start anew

  /// A null signal is silence.
  void writeInput(int channel, const double* signal, int frames) noexcept;
  void writeOutput(int channel, const double* signal, int frames) noexcept;
  /// Stores the block's linear gain reduction in decibels.
  void writeReduction(int channel, const float* gains, int frames) noexcept;
  /// Publishes the position behind the block.
  void endBlock(int frames) noexcept;

  /// A cursor at the present position: nothing older is read with it.
  [[nodiscard]] Cursor newCursor() const noexcept;
  /// The entry furthest from 0 since the last call with this cursor, taken as decibels and made
  /// linear; the last result again where nothing new has come. `selector` 0 to 3: gain reduction
  /// left, right, left, right; 4, 5: input; 6, 7: output. Cost: linear in the entries read.
  double readFurthest(int selector, Cursor& cursor) const noexcept;

 private:
  using Ring = SharedRing<float, kSize>;
  [[nodiscard]] std::uint32_t writePosition() const noexcept {
    return meterWrite.load(std::memory_order_relaxed);
  }
  static void write(Ring& ring, std::uint32_t position, const double* signal, int frames) noexcept;

  std::array<Ring, 2> inputRings;
  std::array<Ring, 2> outputRings;
  std::array<Ring, 2> reductionRings;
  // Where the next block goes; stored with release once the block's entries stand.
  std::atomic<std::uint32_t> meterWrite{0};
  std::atomic<std::uint32_t> resets{0};
};

/// What one consumer reads of the meters' history, from the moment the reader is made. Each reader
/// sees every peak, whatever others have read. Threads: any, one at a time per selector. The rings
/// must outlive it.
class GainReductionReader {
 public:
  explicit GainReductionReader(const MeterRings& source) noexcept : rings(source) {
    cursors.fill(source.newCursor());
  }
  /// As `MeterRings::readFurthest`; an unknown selector gives 1.
  [[nodiscard]] double getGainReduction(int selector) noexcept;

 private:
  const MeterRings& rings;
  std::array<MeterRings::Cursor, MeterRings::kSelectors> cursors;
};
