#pragma once

#include <array>
#include <atomic>
#include <cstdint>

/// What the meters show of the chain: the values furthest from 0 of its input, its output and its
/// gain reduction in decibels, two channels each, for any number of readers. Of each it keeps only
/// what that reader has not taken yet.
/// Threads: `writeInput` to `endBlock` on the audio thread; `reset` while nothing processes;
/// readers on any.
class MeterPeaks {
 public:
  static constexpr int kSelectors = 8;

  MeterPeaks() = default;
  ~MeterPeaks();
  MeterPeaks(const MeterPeaks&) = delete;
  MeterPeaks& operator=(const MeterPeaks&) = delete;

  void reset() noexcept;  ///< all readers start anew

  /// A null signal is silence.
  void writeInput(int channel, const double* signal, int frames) noexcept;
  void writeOutput(int channel, const double* signal, int frames) noexcept;
  /// Takes the block's linear gain reduction.
  void writeReduction(int channel, const float* gains, int frames) noexcept;
  /// Gives all readers what was written since the last call.
  void endBlock() noexcept;

 private:
  friend class GainReductionReader;

  /// Of one reader; it is used again after that has gone.
  struct Slot {
    enum State : int { kFree, kClaimed, kActive };
    std::atomic<int> state{kClaimed};
    // A value's bits, and whether there is one.
    std::array<std::atomic<std::uint64_t>, kSelectors> words{};
    Slot* next = nullptr;
  };
  [[nodiscard]] Slot& claim() const;
  void keep(int trace, float value) noexcept;

  mutable std::atomic<Slot*> slots{nullptr};
  // Audio thread: of the block, for reduction, input and output.
  std::array<float, 6> furthest{};
};

/// One consumer's reader of the meters, from the moment it is made. Every reader sees every peak,
/// whatever others have read. Threads: any, one at a time per selector. The peaks must outlive it.
class GainReductionReader {
 public:
  /// Throws std::bad_alloc.
  explicit GainReductionReader(const MeterPeaks& source);
  ~GainReductionReader();
  GainReductionReader(const GainReductionReader&) = delete;
  GainReductionReader& operator=(const GainReductionReader&) = delete;

  /// The value furthest from 0 since the last call for the selector, converted from decibels to
  /// linear (even for input and output); the last result again if nothing new has come, at first 1.
  /// `selector` 0 to 3: gain reduction left, right, left, right; 4, 5: input; 6, 7: output; others
  /// give 1.
  [[nodiscard]] double getGainReduction(int selector) noexcept;
  /// The same before it is converted; at first 0, and for unknown selectors.
  [[nodiscard]] double getDecibels(int selector) noexcept;

 private:
  MeterPeaks::Slot& slot;
  std::array<double, MeterPeaks::kSelectors> results{};  // as they were written
};
