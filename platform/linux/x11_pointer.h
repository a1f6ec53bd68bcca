#pragma once

#include <deque>
#include <utility>
#include <vector>

#include "platform/linux/x11_display.h"
#include "platform/native_window.h"

/// Where the mouse is, for one window, whose own leaps by `warp` are no moves of the user: what was
/// on its way when the pointer was made to leap counts as a move from where it leapt to.
class X11PointerPlace {
 public:
  void warp(DevicePoint where, unsigned long request) {
    leaps.push_back({where, request}), told = where;
  }
  /// Takes in where the server says that the pointer is; false if the user did not move it.
  [[nodiscard]] bool moveTo(DevicePoint where, unsigned long serial);
  [[nodiscard]] DevicePoint place() const { return told; }

 private:
  struct Leap {
    DevicePoint to;
    unsigned long request;  // number of the request, at which the server makes it
  };
  std::deque<Leap> leaps;  // not made yet
  DevicePoint seen{-1.0e6, -1.0e6};
  DevicePoint told{-1.0e6, -1.0e6};
};

/// Tells the second press of two.
class DoubleClicks {
 public:
  [[nodiscard]] bool isSecond(DevicePoint where, CButton button, Time time);

 private:
  DevicePoint place;
  CButton last = kLButton;
  Time pressed = 0;
  bool isOpen = false;
};

/// The axes of wheels and touch pads that scroll by parts of a step.
class X11WheelAxes {
 public:
  struct Axis {
    int device;
    int number;
    double increment;  // of the valuator, for a step down or to the right
    double value;
  };
  X11WheelAxes() = default;
  explicit X11WheelAxes(std::vector<Axis> known) : axes(std::move(known)) {}

  /// To be asked again when the pointer comes in, as axes move while it is elsewhere.
  void readAll(Display* display);
  /// Steps since the last event, up above 0.
  [[nodiscard]] float stepsOf(const XIDeviceEvent& event);
  [[nodiscard]] bool knows(int device) const;

 private:
  std::vector<Axis> axes;
};
