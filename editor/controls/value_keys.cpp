#include "editor/controls/value_keys.h"

#include <algorithm>
#include <cmath>

#include "host/parameter_record.h"

namespace {

constexpr float kPage = 10.0F;  // arrow keys that a page key counts for
constexpr float kFine = 0.1F;
constexpr float kEvenSpan = 10.0F;  // of units, from which on one of them is a step
constexpr float kShareOfWay = 0.01F;

}  // namespace

std::optional<float> movedByKey(const KeyEvent& key, const ValueStep& step) {
  const bool isFine = key.modifiers.has(kShift) && !step.isStepped;
  const float unit = step.unit * (isFine ? kFine : 1.0F);
  float to = step.value;
  switch (key.key) {
    case Key::kUp:
    case Key::kRight:
      to += unit;
      break;
    case Key::kDown:
    case Key::kLeft:
      to -= unit;
      break;
    case Key::kPageUp:
      to += unit * kPage;
      break;
    case Key::kPageDown:
      to -= unit * kPage;
      break;
    case Key::kHome:
      return step.least;
    case Key::kEnd:
      return step.most;
    case Key::kDelete:
      if (step.byDefault < step.least || step.byDefault > step.most) return std::nullopt;
      return step.byDefault;
    default:
      return std::nullopt;
  }
  return std::clamp(to, step.least, step.most);
}

std::optional<float> toggledByKey(const KeyEvent& key, const ValueStep& step) {
  if (key.key == Key::kSpace || key.key == Key::kReturn || key.key == Key::kEnter) {
    return step.value > (step.least + step.most) * 0.5F ? step.least : step.most;
  }
  // A default between the two is one that nobody has set.
  if (key.key == Key::kDelete && step.byDefault != step.least && step.byDefault != step.most) {
    return std::nullopt;
  }
  ValueStep whole = step;
  whole.unit = step.most - step.least;
  whole.isStepped = true;
  return movedByKey(key, whole);
}

bool isMenuKey(const KeyEvent& key) { return key.key == Key::kMenu; }

bool opensEntry(const KeyEvent& key) {
  if (key.key == Key::kReturn || key.key == Key::kEnter) return true;
  if (key.modifiers.has(kControl) || key.modifiers.has(kAlt) || key.text.size() != 1) return false;
  const char first = key.text.front();
  return (first >= '0' && first <= '9') || first == '-' || first == '.' || first == '+';
}

float plainStepOf(std::int32_t curve) {
  switch (curve) {
    case kCurveWhole:
    case kCurveSwitch:
    case kCurveFloor:
      return 1.0F;
    case kCurveMultipleOf6:
      return 6.0F;
    case kCurveMultipleOf12:
      return 12.0F;
    default:
      return 0.0F;
  }
}

float heldValue(const ValueSource& values, std::int32_t tag, float normalised) {
  if (plainStepOf(values.stepsOf(tag).curve) == 0.0F) return normalised;
  return values.normalisedOf(tag, values.plainOf(tag, normalised));
}

float valueAfter(const ValueSource& values, std::int32_t tag, float normalised, float notches,
                 bool fine) {
  const ValueSteps steps = values.stepsOf(tag);
  const float plainStep = plainStepOf(steps.curve);
  if (plainStep > 0.0F) {
    const float plain = values.plainOf(tag, normalised) + std::round(notches) * plainStep;
    return values.normalisedOf(tag, std::clamp(plain, steps.least, steps.most));
  }
  const float span = steps.most - steps.least;
  const bool isEven = steps.curve == kCurveLinear && span >= kEvenSpan;
  const float unit = (isEven ? 1.0F / span : kShareOfWay) * (fine ? kFine : 1.0F);
  return std::clamp(normalised + notches * unit, 0.0F, 1.0F);
}

bool goesToDefault(const ValueSource& values, CButtonState buttons) {
  return buttons.has(kControl) ||
         (buttons.has(kAlt) && values.preference("ProTools Opt/Shift") == 1);
}

float wheelSensitivity(const ValueSource& values) {
  switch (values.preference("MouseWheel Sensitivity")) {
    case 1:
      return 0.5F;
    case 2:
      return 0.25F;
    default:
      return 1.0F;
  }
}

std::optional<float> parameterByKey(const ValueSource& values, std::int32_t tag, float normalised,
                                    const KeyEvent& key) {
  const ValueSteps steps = values.stepsOf(tag);
  if (key.key == Key::kSpace) {
    if (steps.count != 2) return std::nullopt;
    return normalised > 0.5F ? 0.0F : 1.0F;
  }
  const bool isFine = key.modifiers.has(kShift);
  const std::optional<float> notches =
      movedByKey(key, {0.0F, -kPage, kPage, 1.0F, kPage + 1.0F, true});
  if (key.key == Key::kDelete) return values.defaultOf(tag);
  if (key.key == Key::kHome) return heldValue(values, tag, 0.0F);
  if (key.key == Key::kEnd) return heldValue(values, tag, 1.0F);
  if (!notches) return std::nullopt;
  return valueAfter(values, tag, normalised, *notches, isFine);
}

int WheelNotches::take(float steps, const ValueSource& values) {
  rest += std::trunc(steps) == steps ? steps : steps * wheelSensitivity(values);
  const float whole = std::trunc(rest);
  rest -= whole;
  return static_cast<int>(whole);
}
