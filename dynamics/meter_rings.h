#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "dynamics/shared_ring.h"

/// Per-sample history for the meters: input and output of the chain, and the gain reduction in
/// decibels, two channels each, with a common write position.
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

  void reset() noexcept;  ///< clears to silence; all cursors start anew

  /// A null signal is silence.
  void writeInput(int channel, const double* signal, int frames) noexcept;
  void writeOutput(int channel, const double* signal, int frames) noexcept;
  /// Converts the block's linear gain reduction to decibels and stores it.
  void writeReduction(int channel, const float* gains, int frames) noexcept;
  /// Publishes the position after the block.
  void endBlock(int frames) noexcept;

  /// A cursor at the present position: nothing older is read with it.
  [[nodiscard]] Cursor newCursor() const noexcept;
  /// The entry furthest from 0 since the last call with this cursor, converted from decibels to
  /// linear (even for input and output); the last result again if nothing new has come. `selector`
  /// 0 to 3: gain reduction left, right, left, right; 4, 5: input; 6, 7: output. Cost: linear in
  /// the entries read.
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
  // Position of the next block; stored with release after the entries before it are written.
  std::atomic<std::uint32_t> meterWrite{0};
  std::atomic<std::uint32_t> resets{0};
};

/// One consumer's reader of the meters' history, from the moment it is made. Every reader sees
/// every peak, whatever others have read. Threads: any, one at a time per selector. The rings must
/// outlive it.
class GainReductionReader {
 public:
  explicit GainReductionReader(const MeterRings& source) noexcept : rings(source) {
    cursors.fill(source.newCursor());
  }
  /// See `MeterRings::readFurthest`; an unknown selector gives 1.
  [[nodiscard]] double getGainReduction(int selector) noexcept;

 private:
  const MeterRings& rings;
  std::array<MeterRings::Cursor, MeterRings::kSelectors> cursors;
};
