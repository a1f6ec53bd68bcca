#include "toolkit/device_picture.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace {

constexpr float kUnitsPerEm = 2048.0F;

/// One way round body and shackle, and through a cut of no width at its top round what it encloses.
std::vector<CPoint> padlock() {
  constexpr float kMiddle = 250.0F;
  constexpr float kOuter = 400.0F;
  constexpr float kInner = 250.0F;
  constexpr int kSteps = 12;  // of a quarter
  std::vector<CPoint> way = {{-480, 120}, {-480, -640}, {480, -640}, {480, 120}, {kOuter, 120}};
  const auto addArc = [&way](float radius, int from, int to) {
    for (int i = from; i != to + (to > from ? 1 : -1); i += to > from ? 1 : -1) {
      const float angle = std::numbers::pi_v<float> * static_cast<float>(i) / (2.0F * kSteps);
      way.push_back({radius * std::cos(angle), kMiddle + radius * std::sin(angle)});
    }
  };
  addArc(kOuter, 0, kSteps);
  addArc(kInner, kSteps, 0);
  way.push_back({kInner, 120});
  way.push_back({-kInner, 120});
  addArc(kInner, 2 * kSteps, kSteps);
  addArc(kOuter, kSteps, 2 * kSteps);
  way.push_back({-kOuter, 120});
  return way;
}

/// Outlines in units of an em around the middle, y up.
std::vector<CPoint> outlineOf(Icon icon) {
  if (icon == Icon::kLock) return padlock();
  const std::vector<CPoint> plus = {{-80, 480}, {80, 480},   {80, 80},   {480, 80},
                                    {480, -80}, {80, -80},   {80, -480}, {-80, -480},
                                    {-80, -80}, {-480, -80}, {-480, 80}, {-80, 80}};
  switch (icon) {
    case Icon::kLeft:
      return {{-420, 0}, {420, 560}, {420, -560}};
    case Icon::kRight:
      return {{420, 0}, {-420, 560}, {-420, -560}};
    case Icon::kUp:
      return {{-470, -260}, {470, -260}, {0, 300}};
    case Icon::kDown:
      return {{-470, 260}, {470, 260}, {0, -300}};
    case Icon::kCheck:
      return {{-560, 0}, {-400, 150}, {-150, -110}, {420, 470}, {570, 320}, {-150, -420}};
    case Icon::kPlus:
      return plus;
    case Icon::kCross:
    case Icon::kLock:
      break;
  }
  constexpr float kHalfRoot = 0.70710678F;  // turned by 45 degrees
  std::vector<CPoint> cross;
  cross.reserve(plus.size());
  for (const CPoint p : plus) {
    cross.push_back({(p.x - p.y) * kHalfRoot, (p.x + p.y) * kHalfRoot});
  }
  return cross;
}

/// Where edges between device pixels lie for all that is drawn.
int pixelAt(const CDrawContext& context, float coordinate) {
  return static_cast<int>(std::lround(context.snap(coordinate) * context.getScale()));
}

}  // namespace

DevicePicture::Place DevicePicture::placeOf(const CDrawContext& context, const CRect& rect) {
  const CRect moved = rect.movedBy(context.getOffset());
  return {pixelAt(context, moved.left), pixelAt(context, moved.top), pixelAt(context, moved.right),
          pixelAt(context, moved.bottom)};
}

bool DevicePicture::needsPaint(const CDrawContext& context, const Place& place, bool sameLook) {
  const int width = std::max(0, place.right - place.left);
  const int height = std::max(0, place.bottom - place.top);
  const bool fits = picture && picture->getWidth() == width && picture->getHeight() == height;
  if (fits && sameLook && paintedScale == context.getScale()) return false;
  if (!fits) picture = Held<CDIB>::adopt(new CDIB(width, height));
  picture->clear();
  picture->setDirty();
  paintedScale = context.getScale();
  return true;
}

void DevicePicture::put(CDrawContext& context, const Place& place) const {
  const float scale = context.getScale();
  const CPoint corner{static_cast<float>(place.left) / scale,
                      static_cast<float>(place.top) / scale};
  context.drawDeviceBitmap(*picture, corner - context.getOffset());
}

void BoxPicture::draw(CDrawContext& context, const CRect& rect, const BoxLook& wanted) {
  const auto reach = static_cast<float>(wanted.shadow);
  const CRect seen = CRect{rect.left - reach, rect.top - reach + std::min(0.0F, wanted.shadowDrop),
                           rect.right + reach, rect.bottom + reach + wanted.shadowDrop}
                         .cutTo(wanted.shadow > 0 ? context.getClipRect() : rect);
  const Place whole = placeOf(context, seen);
  if (whole.right <= whole.left || whole.bottom <= whole.top) return;
  Place box = placeOf(context, rect);
  box = {box.left - whole.left, box.top - whole.top, box.right - whole.left,
         box.bottom - whole.top};
  const bool sameBox = box.left == paintedBox.left && box.top == paintedBox.top &&
                       box.right == paintedBox.right && box.bottom == paintedBox.bottom;
  if (needsPaint(context, whole, sameBox && painted == wanted)) {
    painted = wanted;
    paintedBox = box;
    paint(box, context.getScale());
  }
  put(context, whole);
}

void BoxPicture::paint(const Place& box, float scale) const {
  const CRect edge{static_cast<float>(box.left), static_cast<float>(box.top),
                   static_cast<float>(box.right), static_cast<float>(box.bottom)};
  const float radius = painted.radius * scale;
  for (int k = 0; k < painted.shadow; ++k) {
    const float by = static_cast<float>(k) * scale;
    picture->roundBox(edge.inset(-by, -by).movedBy(0.0F, painted.shadowDrop * scale), radius + by,
                      true, true, kBlackCColor, painted.shadowAlpha);
  }
  const float line = painted.line.alpha != 0 ? std::max(1.0F, std::round(scale)) : 0.0F;
  if (line > 0.0F) {
    picture->roundFrame(edge, radius, painted.roundTop, painted.roundBottom, line, painted.line);
  }
  if (painted.fill.alpha != 0) {
    picture->roundBox(edge.inset(line, line), std::max(0.0F, radius - line), painted.roundTop,
                      painted.roundBottom, painted.fill);
  }
}

void IconPicture::draw(CDrawContext& context, CPoint centre, float size, Icon icon, CColor colour) {
  const float scale = context.getScale();
  const float half = 0.4F * size;
  Place place = placeOf(context, {centre.x - half, centre.y - half, centre.x, centre.y});
  // Alike at every place, so that one picture serves all rows.
  const int side = static_cast<int>(std::ceil(2.0F * half * scale));
  place.right = place.left + side;
  place.bottom = place.top + side;
  if (needsPaint(context, place, icon == painted && colour == paintedColour)) {
    painted = icon;
    paintedColour = colour;
    const float middle = 0.5F * static_cast<float>(side);
    const float unit = size * scale / kUnitsPerEm;
    std::vector<CPoint> outline = outlineOf(icon);
    for (CPoint& p : outline) p = {middle + p.x * unit, middle - p.y * unit};
    picture->polygon(outline, colour);
  }
  put(context, place);
}
