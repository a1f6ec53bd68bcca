#pragma once

#include <array>
#include <cstddef>

#include "filters/section_match.h"

/// Refines a digital section to approximate wanted magnitudes, with the least sum of squared errors
/// at 128 points from 20 Hz to half the rate, evenly spaced in pitch. Quasi-Newton in b1/b0, b2/b0,
/// a1 and a2, with the best b0 for these (W. H. Press et al., Numerical Recipes in C, 1992, chapter
/// 10.7).
/// Control threads; allocates nothing. A fit takes some hundred passes over the points.
class MatchFit {
 public:
  static constexpr std::size_t kPoints = 128;
  using Points = std::array<double, kPoints>;
  using Vector = std::array<double, 4>;

  explicit MatchFit(double sampleRate) noexcept { prepare(sampleRate); }

  void prepare(double sampleRate) noexcept;  ///< Hz, > 40
  /// Angular frequency of a point in rad/s.
  [[nodiscard]] double radiansPerSecond(std::size_t point) const noexcept {
    return omega[point] * gridRate;
  }

  /// Improves `section` towards `wanted` in up to `tries` - 1 steps. It stays as it was if its
  /// error is at most `floor`, or if the error does not fall, or does not fall below `ceiling`.
  void fitSection(DigitalSection& section, const Points& wanted, double ceiling, int tries,
                  double floor) noexcept;

  // The parts of a fit.

  /// Begins a fit of `section`, whose b0 is not 0, to `wanted`; computes the gradient.
  void start(const DigitalSection& section, const Points& wanted) noexcept;
  /// Reflects the poles into the unit circle, which changes the magnitude by a factor only. Then
  /// finds the best gain and returns the sum of squared errors with it.
  double errorOf() noexcept;
  /// One step with BFGS update. Returns whether it made progress.
  bool step() noexcept;
  [[nodiscard]] const Vector& parameters() const noexcept { return x; }
  [[nodiscard]] DigitalSection fitted() const noexcept;

 private:
  void reflectPoles() noexcept;
  void sumGradient() noexcept;
  [[nodiscard]] bool backtrack(const Vector& from) noexcept;
  double errorAt(const Vector& from, double alpha) noexcept;
  void updateHessian(const Vector& moved) noexcept;

  Vector x{};  // b1/b0, b2/b0, a1, a2
  double gain = 1.0;
  std::array<Vector, 4> inverseHessian{};
  Vector gradient{};
  Vector previousGradient{};
  Vector direction{};
  double error = 0.0;
  double maxStep = 0.0;
  Points target{};
  Points magnitude{};

  double gridRate = 0.0;  // Hz
  Points omega{};         // rad per sample
  Points cos1{};
  Points sin1{};
  Points cos2{};
  Points sin2{};
};
