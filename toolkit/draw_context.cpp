#include "toolkit/draw_context.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numbers>
#include <tuple>
#include <utility>

namespace {

constexpr float kClipSlack = 0.01F;     // pixels: sums of offsets are rounded
constexpr float kSnapSlack = 0.004F;    // device pixels: halves go up although rounded
constexpr float kSampleShift = 0.008F;  // source pixels: keeps samples off the edges between two
constexpr int kSmallLetters = 101;

float nearestEdge(float devicePixels) { return std::floor(devicePixels + 0.5F + kSnapSlack); }

CRect boundsOf(const CBitmap& bitmap) {
  return {0.0F, 0.0F, static_cast<float>(bitmap.getWidth()),
          static_cast<float>(bitmap.getHeight())};
}

DeviceQuad sampled(DeviceQuad quad) {
  const bool isStretched =
      quad.source.width() != quad.target.width() || quad.source.height() != quad.target.height();
  if (isStretched) quad.source = quad.source.movedBy(kSampleShift, kSampleShift);
  return quad;
}

// Edges upright and level, in any order of corners.
bool isBox(std::span<const CPoint> corners) {
  if (corners.size() != 4) return false;
  const auto [a, b, c, d] = std::tie(corners[0], corners[1], corners[2], corners[3]);
  return (a.x == b.x && b.y == c.y && c.x == d.x && d.y == a.y) ||
         (a.y == b.y && b.x == c.x && c.y == d.y && d.x == a.x);
}

// Where a text of `width` starts between two edges: a whole device pixel.
float startOf(const CRect& rect, float width, CHoriTxtAlign align) {
  if (align == kLeftText) return rect.left;
  const float space = rect.width() - width;
  return nearestEdge(rect.left + (align == kCenterText ? space * 0.5F : space));
}

// The baseline of a text whose height stands in the middle of a rectangle.
float baselineOf(const CRect& rect, float height, float ascent) {
  return nearestEdge(rect.top + (rect.height() - height) * 0.5F + ascent);
}

}  // namespace

CDrawContext::CDrawContext() : labels([this](const CBitmap& label) { forgetBitmap(label); }) {}

CDrawContext::~CDrawContext() = default;

void CDrawContext::setScale(float devicePixels) {
  if (devicePixels == scale) return;
  scale = devicePixels;
  clearTexts();
}

void CDrawContext::clearTexts() {
  for (const auto& baked : fonts) forgetBitmap(baked->atlas());
  fonts.clear();
  if (pixelFont) forgetBitmap(pixelFont->atlas());
  pixelFont.reset();
  labels.clear();
}

float CDrawContext::hairline() const noexcept { return std::max(1.0F, std::round(scale)) / scale; }

float CDrawContext::snap(float coordinate) const noexcept {
  return nearestEdge(coordinate * scale) / scale;
}

void CDrawContext::setFont(std::shared_ptr<const Face> face, float size) {
  font.face = std::move(face);
  font.size = size;
}

bool CDrawContext::isInside(CPoint point) const noexcept {
  const CPoint at = point + offset;
  const CRect& area = clip;
  return !area.isEmpty() && at.x >= area.left - kClipSlack && at.x <= area.right + kClipSlack &&
         at.y >= area.top - kClipSlack && at.y <= area.bottom + kClipSlack;
}

bool CDrawContext::areInside(std::span<const CPoint> outline) const noexcept {
  return std::all_of(outline.begin(), outline.end(),
                     [this](CPoint point) { return isInside(point); });
}

bool CDrawContext::isInside(const CRect& rect) const noexcept {
  return isInside(rect.topLeft()) && isInside(CPoint{rect.right, rect.bottom});
}

CPoint CDrawContext::toDevice(CPoint point) const noexcept {
  return {(point.x + offset.x) * scale, (point.y + offset.y) * scale};
}

CRect CDrawContext::toDevice(const CRect& rect) const noexcept {
  const CPoint first = toDevice(rect.topLeft());
  const CPoint last = toDevice(CPoint{rect.right, rect.bottom});
  return {nearestEdge(first.x), nearestEdge(first.y), nearestEdge(last.x), nearestEdge(last.y)};
}

std::span<const CPoint> CDrawContext::toDevice(std::span<const CPoint> outline) {
  points.clear();
  for (const CPoint point : outline) points.push_back(toDevice(point));
  return points;
}

float CDrawContext::wholeWidth() const noexcept {
  return std::max(1.0F, std::round(lineWidth * scale));
}

void CDrawContext::putRect(const CRect& rect, CColor colour) {
  if (rect.isEmpty() || colour.alpha == 0) return;
  const CPoint box[] = {
      rect.topLeft(), {rect.right, rect.top}, {rect.right, rect.bottom}, {rect.left, rect.bottom}};
  putPolygon(box, colour);
}

void CDrawContext::putFeathered() {
  for (const auto& strip : feathered.strips()) {
    if (!strip.empty()) putStrip(strip);
  }
}

void CDrawContext::putLine(CPoint from, CPoint to, float width, CColor colour) {
  const float whole = std::max(1.0F, std::round(width));
  if (from.y == to.y) {
    const float top = nearestEdge(from.y - whole * 0.5F);
    putRect({nearestEdge(std::min(from.x, to.x)), top, nearestEdge(std::max(from.x, to.x)),
             top + whole},
            colour);
  } else if (from.x == to.x) {
    const float left = nearestEdge(from.x - whole * 0.5F);
    putRect({left, nearestEdge(std::min(from.y, to.y)), left + whole,
             nearestEdge(std::max(from.y, to.y))},
            colour);
  } else if (drawMode == kAntialias) {
    const CPoint way[] = {from, to};
    feathered.stroke(way, width, false, colour);
    putFeathered();
  } else {
    const CPoint way = to - from;
    const float half = whole * 0.5F / std::hypot(way.x, way.y);
    const CPoint side{-way.y * half, way.x * half};
    const CPoint corner[] = {from + side, to + side, to - side, from - side};
    putPolygon(corner, colour);
  }
}

void CDrawContext::lineTo(CPoint point) {
  const CPoint from = std::exchange(pen, point);
  if (!isInside(from) || !isInside(point)) return;
  putLine(toDevice(from), toDevice(point), lineWidth * scale, frameColor);
}

void CDrawContext::drawPath(std::span<const CPoint> way, float width, CColor colour) {
  if (way.size() < 2 || !areInside(way)) return;
  const std::span<const CPoint> placed = toDevice(way);
  if (placed.size() == 2) {
    putLine(placed[0], placed[1], width * scale, colour);
    return;
  }
  feathered.stroke(placed, width * scale, false, colour);
  putFeathered();
}

void CDrawContext::drawPolygon(std::span<const CPoint> outline, CDrawStyle style) {
  if (outline.size() < 3 || !areInside(outline)) return;
  if (isBox(outline)) {
    const CRect box{std::min(outline[0].x, outline[2].x), std::min(outline[0].y, outline[2].y),
                    std::max(outline[0].x, outline[2].x), std::max(outline[0].y, outline[2].y)};
    if (style != kDrawStroked) fillRect(box);
    if (style != kDrawFilled) drawRect(box);
    return;
  }
  putOutline(toDevice(outline), style);
}

void CDrawContext::putOutline(std::span<const CPoint> shape, CDrawStyle style) {
  if (style != kDrawStroked) {
    if (drawMode == kAntialias) {
      feathered.fill(shape, fillColor);
      putFeathered();
    } else {
      putPolygon(shape, fillColor);
    }
  }
  if (style != kDrawFilled) {
    feathered.stroke(shape, lineWidth * scale, true, frameColor);
    putFeathered();
  }
}

void CDrawContext::drawRect(const CRect& rect) {
  if (!isInside(rect)) return;
  const CRect box = toDevice(rect);
  const float width = wholeWidth();
  const CRect hole = box.inset(width, width);
  if (hole.isEmpty()) {
    putRect(box, frameColor);
    return;
  }
  putRect({box.left, box.top, box.right, hole.top}, frameColor);
  putRect({box.left, hole.bottom, box.right, box.bottom}, frameColor);
  putRect({box.left, hole.top, hole.left, hole.bottom}, frameColor);
  putRect({hole.right, hole.top, box.right, hole.bottom}, frameColor);
}

void CDrawContext::fillRect(const CRect& rect) { fillRect(rect, fillColor); }

void CDrawContext::fillRect(const CRect& rect, CColor colour) {
  if (isInside(rect)) putRect(toDevice(rect), colour);
}

void CDrawContext::drawEllipse(const CRect& rect, CDrawStyle style) {
  if (rect.isEmpty() || !isInside(rect)) return;
  const CPoint centre = toDevice(rect.centre());
  const auto trace = [&](float shrunkBy) {
    const float wide = std::max(rect.width() * scale * 0.5F - shrunkBy, 0.0F);
    const float high = std::max(rect.height() * scale * 0.5F - shrunkBy, 0.0F);
    // Chords within a 25th of a pixel.
    const float step = std::acos(1.0F - std::min(0.04F / std::max(wide, high), 0.5F));
    const int count = static_cast<int>(std::ceil(std::numbers::pi_v<float> / step));
    points.clear();
    for (int i = 0; i < count; ++i) {
      const float angle =
          2.0F * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(count);
      points.push_back({centre.x + wide * std::cos(angle), centre.y + high * std::sin(angle)});
    }
  };
  if (style != kDrawStroked) {
    trace(0.0F);
    putOutline(points, kDrawFilled);
  }
  if (style != kDrawFilled) {
    trace(lineWidth * scale * 0.5F);
    putOutline(points, kDrawStroked);
  }
}

void CDrawContext::drawTriangleStrip(std::span<const CVertex> strip) {
  const auto isCornerInside = [this](const CVertex& corner) { return isInside(corner.at); };
  if (strip.size() < 3 || !std::all_of(strip.begin(), strip.end(), isCornerInside)) return;
  vertices.clear();
  for (const CVertex& corner : strip) vertices.push_back({toDevice(corner.at), corner.colour});
  putStrip(vertices);
}

void CDrawContext::drawBitmap(const CBitmap& bitmap, const CRect& rect, CPoint from,
                              std::uint8_t alpha) {
  if (!isInside(rect)) return;
  const CRect wanted{from.x, from.y, from.x + rect.width(), from.y + rect.height()};
  const CRect source = wanted.cutTo(boundsOf(bitmap));
  if (source.isEmpty()) return;
  const CRect target = source.movedBy(rect.topLeft() - from);
  const DeviceQuad quad = sampled({source, toDevice(target)});
  putQuads(bitmap, {&quad, 1}, {255, 255, 255, alpha});
}

void CDrawContext::drawBitmapStretched(const CBitmap& bitmap, const CRect& rect, CColor tint) {
  if (bitmap.isEmpty() || !isInside(rect)) return;
  const DeviceQuad quad = sampled({boundsOf(bitmap), toDevice(rect)});
  putQuads(bitmap, {&quad, 1}, tint);
}

void CDrawContext::drawBitmapTiled(const CBitmap& bitmap, const CRect& rect, CPoint from,
                                   std::uint8_t alpha) {
  if (bitmap.isEmpty() || rect.isEmpty() || !isInside(rect)) return;
  const CRect whole = boundsOf(bitmap);
  const float startX = rect.left - (from.x - whole.right * std::floor(from.x / whole.right));
  const float startY = rect.top - (from.y - whole.bottom * std::floor(from.y / whole.bottom));
  pieces.clear();
  for (float y = startY; y < rect.bottom; y += whole.bottom) {
    for (float x = startX; x < rect.right; x += whole.right) {
      const CRect target = whole.movedBy(x, y).cutTo(rect);
      const CRect place = toDevice(target);
      if (!place.isEmpty()) pieces.push_back(sampled({target.movedBy(-x, -y), place}));
    }
  }
  putQuads(bitmap, pieces, {255, 255, 255, alpha});
}

void CDrawContext::drawDeviceBitmap(const CBitmap& bitmap, CPoint at, CColor tint) {
  const CRect whole = boundsOf(bitmap);
  const CRect rect{at.x, at.y, at.x + whole.right / scale, at.y + whole.bottom / scale};
  // Its edges are those of a rectangle of the view, each to the nearest device pixel.
  if (bitmap.isEmpty() || !isInside(rect.inset(0.5F / scale, 0.5F / scale))) return;
  const CPoint place = toDevice(at);
  const DeviceQuad quad{whole, whole.movedBy(nearestEdge(place.x), nearestEdge(place.y))};
  putQuads(bitmap, {&quad, 1}, tint);
}

const BakedFont& CDrawContext::bakedFont(const std::shared_ptr<const Face>& face, float size) {
  const float devicePixels = size * scale;
  for (const auto& baked : fonts) {
    if (baked->face() == face.get() && baked->size() == devicePixels) return *baked;
  }
  return *fonts.emplace_back(std::make_unique<BakedFont>(face, devicePixels));
}

const BakedFont& CDrawContext::smallFont() {
  if (!pixelFont) {
    const bool isDouble = scale >= 1.5F;
    const float factor = isDouble ? std::floor(scale * 0.5F + 0.25F) : 1.0F;
    pixelFont = std::make_unique<BakedPixelFont>(CBitmap::load(kSmallLetters, isDouble),
                                                 std::max(static_cast<int>(factor), 1));
  }
  return *pixelFont;
}

void CDrawContext::putText(const BakedFont& baked, std::string_view text, const CRect& rect,
                           CHoriTxtAlign align, CColor colour) {
  if (!isInside(rect)) return;
  const CRect space = toDevice(rect);
  const CPoint start{startOf(space, baked.width(text), align),
                     baselineOf(space, baked.size(), static_cast<float>(baked.ascent()))};
  pieces.clear();
  baked.place(text, start, pieces);
  if (!pieces.empty()) putQuads(baked.atlas(), pieces, colour);
}

void CDrawContext::drawString(std::string_view utf8, const CRect& rect, CHoriTxtAlign align) {
  if (font.face) {
    putText(bakedFont(font.face, font.size), utf8, rect, align, font.colour);
  } else {
    putText(smallFont(), utf8, rect, align, frameColor);
  }
}

float CDrawContext::getStringWidth(std::string_view utf8) {
  return (font.face ? bakedFont(font.face, font.size) : smallFont()).width(utf8) / scale;
}

void CDrawContext::drawText(std::string_view text, const CRect& rect, const TextStyle& style) {
  if (style.face) putText(bakedFont(style.face, style.size), text, rect, style.align, style.colour);
}

void CDrawContext::drawTextCached(std::string_view utf8, const CRect& rect,
                                  const TextStyle& style) {
  if (!style.face || !isInside(rect)) return;
  const float size = style.size * scale;
  const StaticTextLabelCache::Label label = labels.find(utf8, style.face, size);
  if (label.picture->isEmpty()) return;
  const CRect space = toDevice(rect);
  const float ascent = std::round(style.face->ascent(size));
  const CRect whole = boundsOf(*label.picture);
  const DeviceQuad quad{
      whole,
      whole.movedBy(startOf(space, label.width, style.align) + static_cast<float>(label.left),
                    baselineOf(space, size, ascent) + static_cast<float>(label.top))};
  putQuads(*label.picture, {&quad, 1}, style.colour);
}
