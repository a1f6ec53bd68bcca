#pragma once

#include <array>
#include <cstddef>

#include "filters/section_match.h"

/// Refines a digital section until its magnitude lies closest to wanted ones, in the sum of squares
/// over 128 points spaced evenly in pitch from 20 Hz to half the rate. Quasi-Newton in b1/b0,
/// b2/b0, a1 and a2; b0 is the best one for those.
/// Control side; allocates nothing. A fit takes some hundred passes over the points.
class MatchFit {
 public:
  static constexpr std::size_t kPoints = 128;
  using Points = std::array<double, kPoints>;
  using Vector = std::array<double, 4>;

  explicit MatchFit(double sampleRate) noexcept { prepare(sampleRate); }

  void prepare(double sampleRate) noexcept;  ///< Hz, > 40
  /// Angular frequencies of the points in rad/s.
  [[nodiscard]] double radiansPerSecond(std::size_t point) const noexcept {
    return omega[point] * gridRate;
  }

  /// Improves `section` towards `wanted` by up to `tries` - 1 steps. It stays as it was if its
  /// error is at most `floor`, or did not fall, or did not fall below `ceiling`.
  void fitSection(DigitalSection& section, const Points& wanted, double ceiling, int tries,
                  double floor) noexcept;

  // What a fit is made of.

  /// Begins a fit of `section`, b0 not 0, to `wanted`, with the gradient there.
  void start(const DigitalSection& section, const Points& wanted) noexcept;
  /// Brings the poles into the unit circle, the magnitude being the same but for its gain; then the
  /// best gain and the sum of squared errors with it.
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
