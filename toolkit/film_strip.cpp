#include "toolkit/film_strip.h"

#include <algorithm>
#include <cmath>

float FilmStrip::frameHeight(const CBitmap& bitmap) const {
  if (heightOfOneImage > 0.0F) return heightOfOneImage;
  return static_cast<float>(bitmap.getHeight()) / static_cast<float>(std::max(frames, 1));
}

int FilmStrip::frameAt(float place) const {
  const float last = static_cast<float>(frames - 1);
  return static_cast<int>(std::lround(std::clamp(place, 0.0F, 1.0F) * last));
}

void FilmStrip::draw(CDrawContext& context, const CBitmap* bitmap, const CRect& rect,
                     int frame) const {
  if (bitmap == nullptr || frame < 0 || frame >= frames) return;
  const float height = frameHeight(*bitmap);
  const CRect shown{rect.left, rect.top, rect.right, std::min(rect.bottom, rect.top + height)};
  context.drawBitmap(*bitmap, shown, {0.0F, static_cast<float>(frame) * height});
}
