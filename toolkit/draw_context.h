#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "toolkit/baked_font.h"
#include "toolkit/bitmap.h"
#include "toolkit/face.h"
#include "toolkit/feather.h"
#include "toolkit/geometry.h"
#include "toolkit/label_cache.h"

enum CDrawStyle { kDrawStroked, kDrawFilled, kDrawFilledAndStroked };
/// Edges hard, or smoothed over one device pixel.
enum CDrawMode { kCopyMode, kAntialias };
enum CHoriTxtAlign { kLeftText = 0, kCenterText = 1, kRightText = 2 };

/// How a text is written: `size` in unzoomed pixels.
struct TextStyle {
  std::shared_ptr<const Face> face;
  float size = 12.0F;
  CColor colour = kWhiteCColor;
  CHoriTxtAlign align = kLeftText;
  /// The user's own words: `$` and `~` are no bullet and arrow.
  bool isVerbatim = false;
};

/// What views draw with. Coordinates are unzoomed pixels from the origin that `setOffset` gives,
/// and all of them are cut by one rule: a figure of which a point lies outside of the clip
/// rectangle is not drawn at all; of a text or picture the corners of its rectangle count. Edges of
/// rectangles, text and pictures fall on whole device pixels; discs, curves and slanted lines stand
/// where they are.
///
/// What a figure consists of is worked out here, so that every context shows the same; a context
/// itself knows how to put triangles, pictures and glyphs to the screen, in device pixels. Threads:
/// the one that draws, under the frame's lock.
class CDrawContext {
 public:
  CDrawContext();
  virtual ~CDrawContext();
  CDrawContext(const CDrawContext&) = delete;
  CDrawContext& operator=(const CDrawContext&) = delete;

  /// Device pixels per unzoomed pixel.
  [[nodiscard]] float getScale() const noexcept { return scale; }
  /// Texts are made anew where it differs.
  void setScale(float devicePixels);
  /// Gives up what is kept of texts.
  void clearTexts();
  /// One device pixel, or what comes nearest to one unzoomed pixel, in unzoomed pixels.
  [[nodiscard]] float hairline() const noexcept;
  /// The nearest edge between device pixels.
  [[nodiscard]] float snap(float coordinate) const noexcept;

  void setOffset(CPoint origin) noexcept { offset = origin; }
  [[nodiscard]] CPoint getOffset() const noexcept { return offset; }
  /// In the coordinates of the current origin. An empty one draws nothing.
  void setClipRect(const CRect& rect) noexcept { clip = rect.movedBy(offset); }
  [[nodiscard]] CRect getClipRect() const noexcept { return clip.movedBy(-offset.x, -offset.y); }

  void setFrameColor(CColor colour) noexcept { frameColor = colour; }
  void setFillColor(CColor colour) noexcept { fillColor = colour; }
  void setFontColor(CColor colour) noexcept { font.colour = colour; }
  [[nodiscard]] CColor getFrameColor() const noexcept { return frameColor; }
  [[nodiscard]] CColor getFillColor() const noexcept { return fillColor; }
  [[nodiscard]] CColor getFontColor() const noexcept { return font.colour; }
  /// Null goes back to the small strip of pixel letters.
  void setFont(std::shared_ptr<const Face> face, float size = 12.0F);
  void setLineWidth(float pixels) noexcept { lineWidth = pixels; }
  void setDrawMode(CDrawMode mode) noexcept { drawMode = mode; }

  void moveTo(CPoint point) noexcept { pen = point; }
  /// A line in the frame colour, half of its width on either side of the way. A horizontal or
  /// vertical one is moved to whole device pixels: of width 1 at scale 1, one from (0, 10) and one
  /// from (0, 10.5) both fill the row from 10 to 11.
  void lineTo(CPoint point);
  /// A line through all points, with joined corners, which blends no pixel twice at a corner; of
  /// two points as `lineTo`.
  void drawPath(std::span<const CPoint> way, float width, CColor colour);
  /// `outline`: convex; its line is closed.
  void drawPolygon(std::span<const CPoint> outline, CDrawStyle style);
  /// A line within the rectangle's edges, in the frame colour.
  void drawRect(const CRect& rect);
  void fillRect(const CRect& rect);
  void fillRect(const CRect& rect, CColor colour);
  void drawEllipse(const CRect& rect, CDrawStyle style);
  /// Each corner makes a triangle with the two before it; edges are hard.
  void drawTriangleStrip(std::span<const CVertex> corners);

  /// The part of a picture that begins at `from` in it and is as large as `rect`: one of its pixels
  /// for each unzoomed pixel.
  void drawBitmap(const CBitmap& bitmap, const CRect& rect, CPoint from = {},
                  std::uint8_t alpha = 255);
  /// The whole picture stretched over `rect`.
  void drawBitmapStretched(const CBitmap& bitmap, const CRect& rect, CColor tint = kWhiteCColor);
  /// Side by side at its own size from the upper left corner of `rect`, cut at its edges.
  void drawBitmapTiled(const CBitmap& bitmap, const CRect& rect, CPoint from = {},
                       std::uint8_t alpha = 255);
  /// A picture made for this scale: one of its pixels for each of the device's.
  void drawDeviceBitmap(const CBitmap& bitmap, CPoint at, CColor tint = kWhiteCColor);

  /// In the font set last, in the font colour.
  void drawString(std::string_view utf8, const CRect& rect, CHoriTxtAlign align = kCenterText);
  [[nodiscard]] float getStringWidth(std::string_view utf8);
  /// For what changes from frame to frame: of the characters 32 to 127, where `$` writes a bullet,
  /// `~` and 127 arrows to the left and right.
  void drawText(std::string_view text, const CRect& rect, const TextStyle& style);
  /// For what stays: any character, with `$`, `~` and 127 as above unless the style says otherwise;
  /// the text is kept as a picture.
  void drawTextCached(std::string_view utf8, const CRect& rect, const TextStyle& style);

  /// What it keeps of a picture that is about to go.
  virtual void forgetBitmap(const CBitmap& /*bitmap*/) {}

 protected:
  /// Corners of triangles in device pixels, each making one with the two before it.
  virtual void putStrip(std::span<const CVertex> corners) = 0;
  /// A convex outline in device pixels.
  virtual void putPolygon(std::span<const CPoint> corners, CColor colour) = 0;
  /// Parts of one picture, each channel times `tint`.
  virtual void putQuads(const CBitmap& bitmap, std::span<const DeviceQuad> quads, CColor tint) = 0;

 private:
  [[nodiscard]] bool isInside(CPoint point) const noexcept;
  [[nodiscard]] bool areInside(std::span<const CPoint> outline) const noexcept;
  [[nodiscard]] bool isInside(const CRect& rect) const noexcept;
  [[nodiscard]] CPoint toDevice(CPoint point) const noexcept;
  [[nodiscard]] CRect toDevice(const CRect& rect) const noexcept;
  std::span<const CPoint> toDevice(std::span<const CPoint> outline);
  /// Device pixels of a line.
  [[nodiscard]] float wholeWidth() const noexcept;

  void putRect(const CRect& rect, CColor colour);
  void putLine(CPoint from, CPoint to, float width, CColor colour);
  void putOutline(std::span<const CPoint> corners, CDrawStyle style);
  void putFeathered();
  [[nodiscard]] const BakedFont& bakedFont(const std::shared_ptr<const Face>& face, float size);
  [[nodiscard]] const BakedFont& smallFont();
  void putText(const BakedFont& baked, std::string_view text, const CRect& rect,
               CHoriTxtAlign align, CColor colour);

  CPoint offset;
  CRect clip;
  CPoint pen;
  float scale = 1.0F;
  float lineWidth = 1.0F;
  CDrawMode drawMode = kAntialias;
  CColor frameColor = kWhiteCColor;
  CColor fillColor = kWhiteCColor;
  TextStyle font;

  std::vector<std::unique_ptr<BakedFont>> fonts;  // each for its face and size
  std::unique_ptr<BakedPixelFont> pixelFont;
  StaticTextLabelCache labels;

  // Kept from figure to figure, so that a frame allocates nothing.
  std::vector<CPoint> points;
  std::vector<CVertex> vertices;
  std::vector<DeviceQuad> pieces;
  FeatheredShape feathered;
};
