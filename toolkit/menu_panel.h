#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "toolkit/device_picture.h"
#include "toolkit/draw_context.h"
#include "toolkit/geometry.h"
#include "toolkit/menu_entry.h"

/// One box of an open menu: where its rows stand, which of them are seen, and how they look.
/// Coordinates are the frame's. Threads: as a view.
class MenuPanel {
 public:
  static constexpr int kNone = -1;
  /// The scroll arrows, as places of the mouse.
  static constexpr int kUpArrow = -2;
  static constexpr int kDownArrow = -3;
  /// From its edge to its rows.
  static constexpr float kInside = 4.0F;

  /// `entries` outlive it.
  explicit MenuPanel(const std::vector<MenuEntry>& entries);

  /// As large as it likes to be, but no larger than `room`.
  void fitInto(const CRect& room);
  void moveTo(CPoint corner) { rect = rect.movedBy(corner - rect.topLeft()); }
  [[nodiscard]] const CRect& place() const noexcept { return rect; }

  [[nodiscard]] const std::vector<MenuEntry>& rows() const noexcept { return *entries; }
  [[nodiscard]] const MenuEntry* entry(int row) const noexcept;
  /// Of one that is seen; its place is empty otherwise.
  [[nodiscard]] CRect rowPlace(int row) const;
  /// A row, an arrow that leads to further ones, or none.
  [[nodiscard]] int rowAt(CPoint where) const;

  /// The row under the mouse or the keys; one that is no row, or of no use, is none.
  bool setHot(int row);
  [[nodiscard]] int hot() const noexcept { return hotRow; }
  /// The next row of use in this direction, round the ends; `from` may be none.
  [[nodiscard]] int neighbour(int from, int direction) const;
  /// The first row of use at or after `from`, in this direction, without going round; or none.
  [[nodiscard]] int firstOfUse(int from, int direction) const;
  /// The next row whose text begins so, from `from` on and round the end; or none.
  [[nodiscard]] int find(std::string_view prefix, int from) const;

  /// By rows, down above 0. Whether anything moved.
  bool scroll(int byRows);
  void reveal(int row);
  /// Rows that a page of it shows, at least 1.
  [[nodiscard]] int pageRows() const;

  void draw(CDrawContext& context);

 private:
  [[nodiscard]] bool scrolls() const noexcept { return content < tops.back(); }
  [[nodiscard]] CRect rowsPlace() const;
  [[nodiscard]] int lastSeen() const;
  [[nodiscard]] int most() const;
  void drawRow(CDrawContext& context, int row, const CRect& place);
  void drawArrows(CDrawContext& context);

  const std::vector<MenuEntry>* entries;
  std::vector<float> tops;  // of the rows, and the end of the last
  CRect rect;
  float content = 0.0F;  // height that the rows have
  int first = 0;         // row that is seen at the top
  int hotRow = kNone;
  BoxPicture ground;
  BoxPicture hotGround;
  IconPicture check;
  IconPicture arrow;
  IconPicture hotArrow;
  IconPicture upArrow;
  IconPicture downArrow;
};
