#pragma once

#include "toolkit/bitmap.h"
#include "toolkit/draw_context.h"

/// A picture made of smaller ones under each other: what a control shows in each of its states.
struct FilmStrip {
  int frames = 1;              ///< how many there are
  float heightOfOneImage = 0;  ///< pixels; 0 for an even part of the bitmap

  [[nodiscard]] float frameHeight(const CBitmap& bitmap) const;
  /// The picture for a place from 0 to 1 between the first and the last.
  [[nodiscard]] int frameAt(float place) const;
  /// Draws one of the pictures; null and a number that is none draw nothing.
  void draw(CDrawContext& context, const CBitmap* bitmap, const CRect& rect, int frame) const;
};
