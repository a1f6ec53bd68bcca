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
  void hideMouse(CFrame* frame, const ValueSource& values);
  /// As often as wanted.
  void restoreMouse(CFrame* frame);

 private:
  bool isHidden = false;
  CPoint startedAt;
};
