#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "filters/eq.h"

/// A cascade of up to 16 second-order sections in direct form I for one channel, whose coefficients
/// move to each new set in a straight line of 1000 samples.
/// Threads: as `EQ`. `process` takes new coefficients at its next block. A set that arrives while a
/// ramp runs starts from where the last block ended; coefficients read half way through such a
/// change are mixed for that block.
class DF1Cascade : public EQ {
 public:
  static constexpr int kMaxSections = AnalogSections::kMaxRows;
  static constexpr std::int32_t kRampLength = 1000;  ///< samples, at any sample rate

  DF1Cascade() noexcept;

  void resetState() noexcept override;  ///< takes effect in front of the next block
  void resetCoefficients(bool immediate) noexcept override;
  void process(double* samples, std::int32_t n) noexcept override;
  void process(float* samples, std::int32_t n) noexcept override;
  void getCoefficients(double* out) const noexcept override;
  double magnitudeAt(double hz, double* phase) const noexcept override;
  void responseAt(double hz, double* re, double* im) const noexcept override;
  void setCoefficients(const double* newCoefficients, std::int32_t count) noexcept override;

 protected:
  /// For a design: takes the new number of sections at once, in front of `setCoefficients`, which
  /// then starts no ramp for the sake of the number alone.
  void setSectionCount(std::int32_t count) noexcept;
  /// For a design that came out as unity, and for one that did not; after the coefficients in the
  /// first case, before them in the second, so that no block misses their ramp.
  void storeFlat(bool isFlat) noexcept;

 private:
  struct State {
    double x1 = 0.0;
    double x2 = 0.0;
    double y1 = 0.0;
    double y2 = 0.0;
  };
  using SharedCoefficients = std::array<std::atomic<double>, 5>;  // b0, b1, b2, a1, a2

  [[nodiscard]] int sectionsInUse() const noexcept;
  [[nodiscard]] std::int32_t claimRamp(std::int32_t n) noexcept;
  template <typename Sample>
  void runCascade(Sample* samples, std::int32_t n) noexcept;
  template <typename Sample>
  void runRamp(Sample* samples, std::int32_t n, std::size_t section, std::int32_t ramp) noexcept;
  template <std::size_t kTogether, typename Sample>
  void runPlain(Sample* samples, std::int32_t n, std::size_t first) noexcept;

  std::array<State, kMaxSections> state{};  // audio thread
  // In force: written by the audio thread at the end of a block of a ramp, read for the next step.
  std::array<SharedCoefficients, kMaxSections> coefficients{};
  std::atomic<std::int32_t> sectionCount{1};
  // Samples to go, negative when none: stored with release after `target` and `step`; the audio
  // thread takes its block off in front of reading them, so it never takes from a newer ramp.
  std::atomic<std::int32_t> rampRemaining{-1};
  std::array<SharedCoefficients, kMaxSections> target{};
  std::array<SharedCoefficients, kMaxSections> step{};  // per sample
  std::atomic<bool> stateResetWanted{false};
};
