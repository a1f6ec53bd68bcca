#pragma once

#include <optional>

#include "editor/controls/value_source.h"
#include "platform/window_events.h"

// How values move by keys and wheel.

/// Where a value is moved from, and how far.
struct ValueStep {
  float value = 0.0F;
  float least = 0.0F;
  float most = 1.0F;
  float unit = 0.01F;      ///< of one arrow key or notch
  float byDefault = 0.0F;  ///< outside of least and most: none
  bool isStepped = false;  ///< has no values between its units
};

/// The value after a key: arrows by a unit, with Shift a tenth of it, page keys by ten, Home and
/// End, Delete for the default. None for any other key.
[[nodiscard]] std::optional<float> movedByKey(const KeyEvent& key, const ValueStep& step);
/// The same for what is off or on: arrows choose, Space changes to the other one.
[[nodiscard]] std::optional<float> toggledByKey(const KeyEvent& key, const ValueStep& step);
/// The key that opens the menu of what has the keys.
[[nodiscard]] bool isMenuKey(const KeyEvent& key);
/// Begins the entry of a number.
[[nodiscard]] bool opensEntry(const KeyEvent& key);

/// The plain difference between neighbours of a curve with values of its own; 0 for any other.
[[nodiscard]] float plainStepOf(std::int32_t curve);
/// The value of a parameter `notches` further: by neighbours where it has some, by 1 of its unit
/// where it is even and wide enough, and otherwise by a hundredth of its way. `fine`: a tenth.
[[nodiscard]] float valueAfter(const ValueSource& values, std::int32_t tag, float normalised,
                               float notches, bool fine);
/// The nearest value that a parameter can have.
[[nodiscard]] float heldValue(const ValueSource& values, std::int32_t tag, float normalised);
/// Whether a press is to go to the default: with Control held, or as the user prefers with Alt.
[[nodiscard]] bool goesToDefault(const ValueSource& values, CButtonState buttons);
/// What the wheel counts for, by the user's preference.
[[nodiscard]] float wheelSensitivity(const ValueSource& values);
/// The value of a parameter after a key, as `movedByKey` has it.
[[nodiscard]] std::optional<float> parameterByKey(const ValueSource& values, std::int32_t tag,
                                                  float normalised, const KeyEvent& key);

/// Makes whole notches of the parts that a smooth wheel gives.
class WheelNotches {
 public:
  /// The user's sensitivity slows a smooth wheel alone: a notch that one can feel always counts.
  [[nodiscard]] int take(float steps, const ValueSource& values);

 private:
  float rest = 0.0F;
};
