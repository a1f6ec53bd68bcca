#include "editor/controls/marks.h"

#include <utility>

#include "toolkit/look.h"

CColor MarkState::labelColour(float hover) const {
  return isDisabled ? look::kOff : mix(look::kLabel, look::kQuietText, hover);
}

CColor MarkState::valueColour(CColor rest, float hover) const {
  if (isDisabled) return look::kOff;
  if (isLocked) return look::kLockedValue;
  if (isLinked) return look::kLinkedValue;
  return mix(rest, look::kHotValue, hover);
}

CColor MarkState::railColour() const {
  if (isDisabled) return look::kDisabledRail;
  if (isLocked) return look::kLocked;
  return isLinked ? look::kLinked : look::kLit;
}

void ControlMarks::become(const MarkState& other) {
  if (std::exchange(state, other) != other) marksChanged();
}

void ControlMarks::setLinkHighlight(bool on, CColor colour) {
  MarkState next = state;
  next.hasLinkColour = on;
  next.linkColour = colour;
  become(next);
}

void ControlMarks::setMidiHighlight(bool on, CColor colour) {
  MarkState next = state;
  next.isMapped = on;
  next.midiColour = colour;
  become(next);
}

void ControlMarks::setDisabled(bool on) {
  MarkState next = state;
  next.isDisabled = on;
  become(next);
}

void ControlMarks::setLearning(bool on) {
  MarkState next = state;
  next.isLearning = on;
  become(next);
}

void ControlMarks::setLinkState(bool linked, bool locked) {
  MarkState next = state;
  next.isLinked = linked;
  next.isLocked = locked;
  become(next);
}
