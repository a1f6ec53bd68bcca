#pragma once

#include <span>
#include <vector>

#include "toolkit/geometry.h"

/// Works out which share of each pixel outlines cover: exact areas, summed edge by edge. What
/// outlines of one direction cover twice counts once; what one of the other direction covers is
/// taken out. Keeps its memory from shape to shape. Threads: one at a time.
class Coverage {
 public:
  /// Starts a shape that lies within `bounds`, on a picture of this size in pixels.
  void begin(const CRect& bounds, int pictureWidth, int pictureHeight);
  /// An outline, closed from its last point to its first.
  void add(std::span<const CPoint> outline);

  [[nodiscard]] int left() const noexcept { return originX; }
  [[nodiscard]] int top() const noexcept { return originY; }
  [[nodiscard]] int height() const noexcept { return rows; }
  /// Shares, 0 to 1, of the pixels of a row from `left` on; `row` from 0 for `top`. Once per row.
  [[nodiscard]] std::span<const float> shares(int row);

 private:
  void addEdge(CPoint from, CPoint to);
  void addPiece(CPoint from, CPoint to, float direction);
  void addInRow(float* cells, float x0, float x1, float area);

  int originX = 0;
  int originY = 0;
  int columns = 0;
  int rows = 0;
  std::vector<float>
      sums;  // rows of `columns` + 2 cells: by how much the share grows from there on
};
