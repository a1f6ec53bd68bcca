#pragma once

#include <array>

/// A setting that moves smoothly between the values that a host gives it, at most one per block.
/// A step takes 5 ms, or the whole block if that is longer; values that go the same way in block
/// after block become one curve through all of them, and steady ones a straight line. Each way is a
/// quintic that goes on with the value, slope and curvature of the one before: T. Flash, N. Hogan,
/// The coordination of arm movements, 1985, the path of least jerk. Where a ramp stops, or
/// blocks become much longer or shorter, the value may go beyond it by a quarter of what was asked
/// for in the last 5 ms.
///
/// Threads: one at a time; nothing locks or allocates.
class Glide {
 public:
  explicit Glide(double start = 0.0) noexcept { jump(start); }

  void jump(double newValue) noexcept;  ///< is there at once and stays
  /// Goes to `newTarget`, as a block of `frames` begins; `rate` in Hz. Call it in each block while
  /// `isMoving`, with the same target if the host gave none.
  void setTarget(double newTarget, int frames, double rate) noexcept;
  /// Writes the next `frames` values, the present one first.
  void fill(double* out, int frames) const noexcept;
  /// The value in `frames` from now. From the end of the way it is exactly the target.
  [[nodiscard]] double after(int frames) const noexcept;
  void advance(int frames) noexcept { position += frames < left() ? frames : left(); }
  [[nodiscard]] double value() const noexcept { return after(0); }
  [[nodiscard]] double target() const noexcept { return goal; }
  /// Whether values differ from the target or the target may still move on.
  [[nodiscard]] bool isMoving() const noexcept { return left() > 0 || slopeBefore != 0.0; }

 private:
  [[nodiscard]] int left() const noexcept { return length - position; }  // frames
  [[nodiscard]] bool isUnderWay() const noexcept { return left() > 0 || endSlope != 0.0; }
  void plan(double newGoal, int frames, double newEndSlope) noexcept;

  double goal = 0.0;
  std::array<double, 6> way{};  // powers of the share of `length` that has passed
  int length = 0;               // frames
  int position = 0;             // frames
  double endSlope = 0.0;        // of the way, per frame
  double slopeBefore = 0.0;     // of the host's last two values, 0 if it repeats itself
  int framesBefore = 0;         // of the block of the last target
};
