#pragma once

#include <array>

/// The choices of "Meter Peak/Hold": for five seconds, until a click, and none.
enum class HoldMode : int { kFiveSeconds, kClicked, kOff };

/// The further of two linear gains from unity, whether up or down.
[[nodiscard]] float furtherFromUnity(float held, float gain) noexcept;

/// What the main meter holds: maxima of its levels, and the gains furthest from unity. One time
/// limits all: each new hold begins it anew. Seconds are those of any clock that never runs
/// backwards. Threads: one at a time.
class MeterHolds {
 public:
  /// Linear, for two channels.
  struct Reading {
    std::array<float, 2> peak{};
    std::array<float, 2> rms{};
    std::array<float, 2> reduction{1.0F, 1.0F};

    bool operator==(const Reading&) const = default;
  };
  static constexpr double kSeconds = 5.0;

  void setMode(HoldMode wanted) noexcept { mode = wanted; }
  [[nodiscard]] HoldMode getMode() const noexcept { return mode; }
  void take(const Reading& now, double seconds) noexcept;
  /// What was held is forgotten for this.
  void reset(const Reading& now) noexcept { held = now; }
  [[nodiscard]] const Reading& holds() const noexcept { return held; }

 private:
  HoldMode mode = HoldMode::kFiveSeconds;
  Reading held;
  double holdUntil = 0.0;
};

/// The same for a single number, of which that with the largest size is held.
class ValueHold {
 public:
  void take(double now, double seconds, HoldMode mode) noexcept;
  void reset(double now = 0.0) noexcept { held = now; }
  [[nodiscard]] double get() const noexcept { return held; }

 private:
  double held = 0.0;
  double holdUntil = 0.0;
};
