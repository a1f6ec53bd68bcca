#pragma once

#include "toolkit/geometry.h"

class CView;

/// What views tell the root of their tree. Threads: as `CView`.
class ViewRoot {
 public:
  virtual ~ViewRoot() = default;

  /// A view has become dirty: cheap, any number of times.
  virtual void markDirty() noexcept = 0;
  /// A part of the frame is to be drawn again.
  virtual void invalidFrameRect(const CRect& part) = 0;
  /// A view leaves: nothing of the root points to it from then on.
  virtual void viewGone(CView& view) = 0;
};
