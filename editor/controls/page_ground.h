#pragma once

#include <memory>

#include "toolkit/draw_context.h"

/// The ground of a page that is drawn for the scale, since its image has edges that must not be
/// stretched. Threads: as a view's `draw`.
class PageGround {
 public:
  /// What stands for an image that has such edges; null for all others.
  [[nodiscard]] static std::unique_ptr<PageGround> ofImage(int resourceNumber);
  virtual ~PageGround() = default;

  /// `whole`: the page, in its own coordinates.
  virtual void draw(CDrawContext& context, const CRect& whole) = 0;
};
