#pragma once

#include "toolkit/device_picture.h"

/// The ladder beside a bar: a line every third row, each fifth of them longer. Rows are hairlines.
/// Threads: as a view's `draw`.
class LadderPicture : private DevicePicture {
 public:
  /// The lines begin at the left edge of `rect`, or at its right one. The longer ones are as long
  /// as it is wide.
  void draw(CDrawContext& context, const CRect& rect, bool fromRight);

 private:
  void paint(float scale, bool fromRight) const;

  bool paintedFromRight = false;
};
