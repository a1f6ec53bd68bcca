#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "filters/eq.h"
#include "filters/kernel_exchange.h"

/// A cascade of up to 16 second-order sections in direct form I for one channel, whose coefficients
/// move to each new set in a straight line of 1000 samples.
/// Threads: as `EQ`. `process` takes the newest set of coefficients, whole, at its next block, and
/// starts the ramp to it from where the last block ended.
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
  /// For a design: the new number of sections in front of `setCoefficients`, which then starts no
  /// ramp for the sake of the number alone and hands it over with its set.
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
  using Coefficients = std::array<double, 5>;                     // b0, b1, b2, a1, a2
  using SharedCoefficients = std::array<std::atomic<double>, 5>;  // the same
  struct CoefficientSet {
    std::array<Coefficients, kMaxSections> target{};
    std::int32_t count = 1;
    std::uint32_t serial = 0;       // tells a set from the one before
    std::uint32_t rampsWanted = 0;  // so far: none is lost where one set replaces another untaken
  };

  [[nodiscard]] int sectionsInUse() const noexcept;
  void takeCoefficients() noexcept;
  template <typename Sample>
  void runCascade(Sample* samples, std::int32_t n) noexcept;
  template <typename Sample>
  void runRamp(Sample* samples, std::int32_t n, std::size_t section) noexcept;
  template <std::size_t kTogether, typename Sample>
  void runPlain(Sample* samples, std::int32_t n, std::size_t first) noexcept;

  // Control side; the responses may be read elsewhere.
  std::atomic<std::int32_t> sectionCount{1};
  std::array<SharedCoefficients, kMaxSections> target{};
  std::uint32_t serial = 0;
  std::uint32_t rampsWanted = 0;

  // A mix of two sets may be unstable, and so may one of two moments of a ramp: sets change hands
  // whole, and the audio thread works out the steps from what it has in force itself.
  KernelExchange<CoefficientSet> exchange;
  // In force: written by the audio thread at the end of a block of a ramp, read to see what
  // differs.
  std::array<SharedCoefficients, kMaxSections> coefficients{};

  // Audio thread.
  std::array<State, kMaxSections> state{};
  std::array<Coefficients, kMaxSections> goal{};
  std::array<Coefficients, kMaxSections> step{};  // per sample
  std::int32_t sectionsRun = 1;
  std::int32_t rampRemaining = -1;  // samples to go, negative when none
  std::uint32_t serialTaken = 0;
  std::uint32_t rampsTaken = 0;

  std::atomic<bool> stateResetWanted{false};
};
