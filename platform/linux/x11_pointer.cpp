#include "platform/linux/x11_pointer.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr Time kDoubleClickMs = 400;
constexpr double kDoubleClickPixels = 4.0;

double distance(DevicePoint a, DevicePoint b) { return std::hypot(a.x - b.x, a.y - b.y); }

}  // namespace

bool X11PointerPlace::moveTo(DevicePoint where, unsigned long serial) {
  bool hasLeapt = false;
  // Moves that were queued in the server come with later numbers from where the pointer was before.
  while (!leaps.empty() && serial >= leaps.front().request &&
         distance(where, leaps.front().to) <= distance(where, seen)) {
    seen = leaps.front().to;
    leaps.pop_front();
    hasLeapt = true;
  }
  const DevicePoint before = told;
  if (leaps.empty()) {
    told = where;
    // What the user had moved by in between is lost with the leap.
    if (hasLeapt && distance(where, seen) < 0.5) {
      seen = where;
      return false;
    }
  } else {
    told = {told.x + where.x - seen.x, told.y + where.y - seen.y};
  }
  seen = where;
  return told.x != before.x || told.y != before.y;
}

bool DoubleClicks::isSecond(DevicePoint where, CButton button, Time time) {
  const bool isDouble = isOpen && button == last && time - pressed <= kDoubleClickMs &&
                        std::abs(where.x - place.x) <= kDoubleClickPixels &&
                        std::abs(where.y - place.y) <= kDoubleClickPixels;
  place = where;
  last = button;
  pressed = time;
  isOpen = !isDouble;  // a third press begins anew
  return isDouble;
}

void X11WheelAxes::readAll(Display* display) {
  axes.clear();
  int count = 0;
  XIDeviceInfo* const devices = XIQueryDevice(display, XIAllDevices, &count);
  if (devices == nullptr) return;
  for (int d = 0; d < count; ++d) {
    const XIDeviceInfo& device = devices[d];
    for (int c = 0; c < device.num_classes; ++c) {
      if (device.classes[c]->type != XIScrollClass) continue;
      const auto& scroll = *reinterpret_cast<const XIScrollClassInfo*>(device.classes[c]);
      for (int v = 0; v < device.num_classes; ++v) {
        if (device.classes[v]->type != XIValuatorClass) continue;
        const auto& valuator = *reinterpret_cast<const XIValuatorClassInfo*>(device.classes[v]);
        if (valuator.number != scroll.number || scroll.increment == 0.0) continue;
        axes.push_back({device.deviceid, scroll.number, scroll.increment, valuator.value});
      }
    }
  }
  XIFreeDeviceInfo(devices);
}

bool X11WheelAxes::knows(int device) const {
  return std::any_of(axes.begin(), axes.end(),
                     [device](const Axis& axis) { return axis.device == device; });
}

float X11WheelAxes::stepsOf(const XIDeviceEvent& event) {
  double steps = 0.0;
  const double* value = event.valuators.values;
  for (int i = 0; i < event.valuators.mask_len * 8; ++i) {
    if (!XIMaskIsSet(event.valuators.mask, i)) continue;
    for (Axis& axis : axes) {
      if (axis.number != i || axis.device != event.sourceid) continue;
      steps -= (*value - axis.value) / axis.increment;
      axis.value = *value;
    }
    ++value;
  }
  return static_cast<float>(steps);
}
