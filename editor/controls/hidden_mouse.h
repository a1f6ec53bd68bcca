#pragma once

#include "toolkit/geometry.h"

class CFrame;
class ValueSource;

/// Hides the cursor for the time of a drag, if the user wants that, and puts it back where it was.
/// Threads: as `CView`.
class nControlMouse {
 public:
  virtual ~nControlMouse() = default;

 protected:
  /// Where the mouse is now is where it will be put back.
  void rememberMouse(const CFrame* frame);
  void hideMouse(CFrame* frame, const ValueSource& values);
  /// As often as wanted.
  void restoreMouse(CFrame* frame);

 private:
  bool isHidden = false;
  CPoint startedAt;
};
