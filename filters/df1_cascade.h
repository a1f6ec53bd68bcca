#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "filters/eq.h"
#include "filters/kernel_exchange.h"

/// A cascade of up to 16 second-order sections in direct form I for one channel. Coefficients move
/// to a new set in a linear ramp of 1000 samples.
/// Threads: see `EQ`. At each block `process` takes the newest complete set of coefficients and
/// starts the ramp to it from the values at which the last block ended.
class DF1Cascade : public EQ {
 public:
  static constexpr int kMaxSections = AnalogSections::kMaxRows;
  static constexpr std::int32_t kRampLength = 1000;  ///< samples, at any sample rate

  DF1Cascade() noexcept;

  void resetState() noexcept override;  ///< takes effect before the next block
  void resetCoefficients(bool immediate) noexcept override;
  void process(double* samples, std::int32_t n) noexcept override;
  void process(float* samples, std::int32_t n) noexcept override;
  void getCoefficients(double* out) const noexcept override;
  double magnitudeAt(double hz, double* phase) const noexcept override;
  void responseAt(double hz, double* re, double* im) const noexcept override;
  void setCoefficients(const double* newCoefficients, std::int32_t count) noexcept override;

 protected:
  /// For designs: sets the number of sections before `setCoefficients`, which hands it over with
  /// the coefficients and then starts no ramp only because the number differs.
  void setSectionCount(std::int32_t count) noexcept;
  /// For designs: stores whether the result is unity. Call it after setting the coefficients if it
  /// is, before if it is not, so that no block misses their ramp.
  void storeFlat(bool isFlat) noexcept;

 private:
  struct State {
    double x1 = 0.0;
    double x2 = 0.0;
    double y1 = 0.0;
    double y2 = 0.0;
  };
  using Coefficients = std::array<double, 5>;                     // b0, b1, b2, a1, a2
  using SharedCoefficients = std::array<std::atomic<double>, 5>;  // same order
  struct CoefficientSet {
    std::array<Coefficients, kMaxSections> target{};
    std::int32_t count = 1;
    std::uint32_t serial = 0;       // distinguishes a set from the one before
    std::uint32_t rampsWanted = 0;  // running count, so that a set replaced untaken loses no ramp
  };

  [[nodiscard]] int sectionsInUse() const noexcept;
  void takeCoefficients() noexcept;
  template <typename Sample>
  void runCascade(Sample* samples, std::int32_t n) noexcept;
  template <typename Sample>
  void runRamp(Sample* samples, std::int32_t n, std::size_t section) noexcept;
  template <std::size_t kTogether, typename Sample>
  void runPlain(Sample* samples, std::int32_t n, std::size_t first) noexcept;

  // Control side; responses may be read from them on other threads.
  std::atomic<std::int32_t> sectionCount{1};
  std::array<SharedCoefficients, kMaxSections> target{};
  std::uint32_t serial = 0;
  std::uint32_t rampsWanted = 0;

  // A mixture of two sets, or of two moments of a ramp, may be unstable. Sets are therefore handed
  // over whole, and the audio thread computes the ramp from its own present coefficients.
  KernelExchange<CoefficientSet> exchange;
  // Present coefficients: written by the audio thread after each block of a ramp, read elsewhere to
  // see what differs.
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
