#include "dynamics/glide.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kStepSeconds = 0.005;

/// The slope at the end of two stretches of equal length with the slopes `before` and `now`: that
/// of the parabola through them, but 0 where the direction changes, and not far above the smaller.
double slopeAtEnd(double before, double now) noexcept {
  if (before * now <= 0.0) return 0.0;
  constexpr double kSteepest = 1.5;
  const double way = now > 0.0 ? 1.0 : -1.0;
  const double smaller = std::min(std::abs(before), std::abs(now));
  return way * std::clamp(way * (now + 0.5 * (now - before)), 0.0, kSteepest * smaller);
}

/// Horner's scheme.
double valueAt(const std::array<double, 6>& way, double share) noexcept {
  const double high = way[3] + share * (way[4] + share * way[5]);
  return way[0] + share * (way[1] + share * (way[2] + share * high));
}

}  // namespace

void Glide::jump(double newValue) noexcept {
  goal = newValue;
  length = 0;
  position = 0;
  endSlope = 0.0;
  slopeBefore = 0.0;
}

void Glide::setTarget(double newTarget, int frames, double rate) noexcept {
  const int step = std::max(1, static_cast<int>(kStepSeconds * rate));
  if (newTarget != goal) {
    const double moved = newTarget - goal;
    const double slope = moved / (slopeBefore != 0.0 ? framesBefore : frames);
    const int wanted = std::max(step, frames);
    // Stretched over a much longer way, the present slope would lead far beyond the target.
    if (isUnderWay() && wanted > 2 * length) {
      plan(newTarget, step, 0.0);
    } else {
      const double steepest = 2.0 * std::abs(newTarget - value()) / wanted;
      plan(newTarget, wanted, std::clamp(slopeAtEnd(slopeBefore, slope), -steepest, steepest));
    }
    slopeBefore = slope;
  } else {
    if (endSlope != 0.0) plan(goal, step, 0.0);
    slopeBefore = 0.0;
  }
  framesBefore = frames;
}

void Glide::plan(double newGoal, int frames, double newEndSlope) noexcept {
  double start = goal;
  double slope = endSlope;  // per frame
  double curvature = 0.0;
  if (left() > 0) {
    const double t = static_cast<double>(position) / length;
    const auto& w = way;
    start = valueAt(w, t);
    slope = w[1] + t * (2.0 * w[2] + t * (3.0 * w[3] + t * (4.0 * w[4] + t * 5.0 * w[5])));
    curvature = 2.0 * w[2] + t * (6.0 * w[3] + t * (12.0 * w[4] + t * 20.0 * w[5]));
    slope /= length;
    curvature /= static_cast<double>(length) * length;
  }
  const double n = frames;
  const double first = slope * n;
  const double second = 0.5 * curvature * n * n;
  // What the higher powers add to value, slope and curvature at the end.
  const double value = newGoal - start - first - second;
  const double rise = newEndSlope * n - first - 2.0 * second;
  const double bend = -2.0 * second;
  way = {start,
         first,
         second,
         10.0 * value - 4.0 * rise + 0.5 * bend,
         -15.0 * value + 7.0 * rise - bend,
         6.0 * value - 3.0 * rise + 0.5 * bend};
  goal = newGoal;
  length = frames;
  position = 0;
  endSlope = newEndSlope;
}

void Glide::fill(double* out, int frames) const noexcept {
  const int moving = std::min(frames, left());
  const double scale = length > 0 ? 1.0 / length : 0.0;
  const std::array<double, 6> w = way;
  const int from = position;
  for (int i = 0; i < moving; ++i) out[i] = valueAt(w, (from + i) * scale);
  std::fill(out + moving, out + frames, goal);
}

double Glide::after(int frames) const noexcept {
  if (frames >= left()) return goal;
  return valueAt(way, static_cast<double>(position + frames) * (1.0 / length));
}
