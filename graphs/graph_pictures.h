#pragma once

#include "graphs/frequency_axis.h"
#include "graphs/level_axes.h"
#include "toolkit/device_picture.h"

/// The lines of a plot's grid. Threads: as a view's `draw`.
class GridPicture : private DevicePicture {
 public:
  struct Look {
    FrequencyAxis frequencies;
    LevelAxis levels;

    bool operator==(const Look&) const = default;
  };
  void draw(CDrawContext& context, const CRect& plot, const Look& look);

 private:
  void paint(const Look& look, float scale) const;

  Look painted;
};

/// An upright line of dashes, three long and three apart. Threads: as a view's `draw`.
class DashPicture : private DevicePicture {
 public:
  /// As wide as a hairline, from the left edge of `place`.
  void draw(CDrawContext& context, const CRect& place);
};
