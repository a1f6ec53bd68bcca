#include "graphs/meters/meter_settings.h"

#include "graphs/meters/meter_look.h"

MeterSettings MeterSettings::read(const ValueSource& values) {
  MeterSettings wanted;
  const std::int32_t hold = values.preference("Meter Peak/Hold");
  if (hold == 1) wanted.hold = HoldMode::kClicked;
  if (hold == 2) wanted.hold = HoldMode::kOff;
  wanted.scale = values.preference("Meter Scale");
  wanted.zoomRange = values.preference("Meter Zoom Range");
  wanted.autoRange = values.preference("Meter Auto Range") != 0;
  wanted.isYellow = values.preference("Meter Peak") == 1;
  return wanted;
}

CColor MeterSettings::overColour() const noexcept {
  return isYellow ? meter_look::kYellow : look::kOver;
}

CColor MeterSettings::overTextColour() const noexcept {
  return isYellow ? kBlackCColor : kWhiteCColor;
}
