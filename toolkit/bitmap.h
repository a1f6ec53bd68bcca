#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "toolkit/base_object.h"
#include "toolkit/geometry.h"

class CDrawContext;

/// A picture of 32-bit pixels, rows from the top: blue in the lowest byte, then green, red and
/// alpha, premultiplied. Threads: one at a time.
class CBitmap : public CBaseObject {
 public:
  /// Clear; empty where a side is 0 or less.
  CBitmap(int width, int height);
  /// The picture that is part of the program as `PNG` under this number, or the one made for twice
  /// the scale: one object for the whole process, to be read alone. Null where there is none or it
  /// is damaged, and for number 0. Threads: any.
  [[nodiscard]] static Held<CBitmap> load(int resourceNumber, bool isDouble = false);
  /// What has been loaded stays with those who hold it alone.
  static void giveUpLoaded();
  /// From the bytes of a PNG file; null where they are none, or larger than 4096 by 4096.
  [[nodiscard]] static Held<CBitmap> decode(std::string_view png);

  [[nodiscard]] int getWidth() const noexcept { return columns; }
  [[nodiscard]] int getHeight() const noexcept { return rows; }
  /// Bytes from a row to the next.
  [[nodiscard]] int getStride() const noexcept { return columns * 4; }
  [[nodiscard]] std::uint32_t* pixels() noexcept { return data.data(); }
  [[nodiscard]] const std::uint32_t* pixels() const noexcept { return data.data(); }
  [[nodiscard]] bool isEmpty() const noexcept { return data.empty(); }

  /// Its part from `offset` on over `rect`; `alpha` for all of it.
  void draw(CDrawContext& context, const CRect& rect, CPoint offset = {}) const;
  void drawAlphaBlend(CDrawContext& context, const CRect& rect, CPoint offset,
                      std::uint8_t alpha) const;

  /// No other picture of the process has it, nor will have: what copies of pictures are kept by.
  [[nodiscard]] std::uint64_t serial() const noexcept { return number; }
  /// How often its pixels have changed: who holds a copy takes them anew when the count differs.
  [[nodiscard]] std::uint32_t revision() const noexcept { return changes; }
  /// Its pixels have been changed.
  void setDirty() noexcept { ++changes; }

 protected:
  ~CBitmap() override;

 private:
  int columns;
  int rows;
  std::vector<std::uint32_t> data;
  std::uint64_t number;
  std::uint32_t changes = 0;
};

/// A bitmap that controls draw into, with edges smoothed by the share of each pixel that a shape
/// covers. Coordinates in pixels; what lies outside is cut off. Each operation blends over what is
/// there by the colour's alpha times `alpha`, and none calls `setDirty`.
class CDIB : public CBitmap {
 public:
  using CBitmap::CBitmap;

  void clear(CColor colour = kTransparentCColor);
  void setPixel(int x, int y, CColor colour, float alpha = 1.0F);
  void box(const CRect& rect, CColor colour, float alpha = 1.0F);
  void line(CPoint from, CPoint to, float width, CColor colour, float alpha = 1.0F);
  void disc(CPoint centre, float radius, CColor colour, float alpha = 1.0F);
  /// A circle's line of `width`, half of it on either side of `radius`.
  void ring(CPoint centre, float radius, float width, CColor colour, float alpha = 1.0F);
  /// Corners of `radius`, those at the top and those at the bottom as asked for.
  void roundBox(const CRect& rect, float radius, bool roundTop, bool roundBottom, CColor colour,
                float alpha = 1.0F);
  /// The line of `width` along the inner edge of such a box.
  void roundFrame(const CRect& rect, float radius, bool roundTop, bool roundBottom, float width,
                  CColor colour, float alpha = 1.0F);
  /// The inside of a closed outline; of one that crosses itself all that it goes round.
  void polygon(std::span<const CPoint> outline, CColor colour, float alpha = 1.0F);
  /// Another picture, its upper left corner at `x`, `y`, each of its channels times `tint`.
  void blend(const CBitmap& other, int x, int y, CColor tint = kWhiteCColor);
};
