#pragma once

#include <cstdint>

#include "editor/controls/pages.h"
#include "toolkit/device_picture.h"

/// The ground of a panel: a rounded rectangle with a hairline round it. Threads: as `CView`.
class roundEdgedFrame : public nPage {
 public:
  enum Flags : int { kRoundTop = 1, kRoundBottom = 2 };
  /// `flags`: which corners are round.
  roundEdgedFrame(const CRect& size, std::int32_t tag, int pagenumber, int flags, CColor border,
                  CColor fill);

  /// A column of another tone along one side, inside of the hairline.
  struct Column {
    enum class Side : std::uint8_t { kNone, kLeft, kRight };
    Side side = Side::kNone;
    float width = 0.0F;
    CColor colour;

    bool operator==(const Column&) const = default;
  };
  void setColumn(const Column& other);
  /// Over the hairline at the top, between the round corners; transparent for none.
  void setTopEdge(CColor colour);
  [[nodiscard]] const Column& getColumn() const noexcept { return column; }
  [[nodiscard]] CColor getTopEdge() const noexcept { return topEdge; }

  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;

 private:
  void drawColumn(CDrawContext& context);

  BoxLook look;
  BoxPicture box;
  Column column;
  CColor topEdge = kTransparentCColor;
  BoxPicture columnShape;
};
