#include "toolkit/cg_frame.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace {

int lengthInPixels(float length, float scale) {
  return std::max(1, static_cast<int>(length * scale));
}

}  // namespace

void CGFrame::idle() {
  const Held<CGFrame> stays(this);
  CFrame::idle();
  const std::lock_guard guard(treeLock());
  if (!isOpen() || window() == nullptr || !drawsItself()) return;
  const DeviceRect part = drawChanges();
  if (part.right <= part.left || part.bottom <= part.top) return;
  const CBitmap& shown = context->surface();
  window()->show({reinterpret_cast<const std::uint8_t*>(shown.pixels()), shown.getWidth(),
                  shown.getHeight(), shown.getStride()},
                 part);
}

const CBitmap* CGFrame::picture() {
  const std::lock_guard guard(treeLock());
  if (!isOpen()) return nullptr;
  drawChanges();
  return &context->surface();
}

void CGFrame::windowCloses() { context.reset(); }

void CGFrame::windowResized() { context.reset(); }

DeviceRect CGFrame::drawChanges() {
  const float scale = getScale();
  const CRect size = getSize();
  CRect part = takeDamage();
  if (context == nullptr) {
    context = std::make_unique<PlainContext>(lengthInPixels(size.width(), scale),
                                             lengthInPixels(size.height(), scale));
    context->setScale(scale);
    part = {0.0F, 0.0F, size.width(), size.height()};
  }
  if (part.isEmpty()) return {};
  // Whole pixels, with one more around for edges that are smoothed.
  const DeviceRect drawn{
      std::max(0, static_cast<int>(std::floor(part.left * scale)) - 1),
      std::max(0, static_cast<int>(std::floor(part.top * scale)) - 1),
      std::min(context->surface().getWidth(), static_cast<int>(std::ceil(part.right * scale)) + 1),
      std::min(context->surface().getHeight(),
               static_cast<int>(std::ceil(part.bottom * scale)) + 1)};
  context->beginPart(drawn);
  drawFrame(*context,
            {static_cast<float>(drawn.left) / scale, static_cast<float>(drawn.top) / scale,
             static_cast<float>(drawn.right) / scale, static_cast<float>(drawn.bottom) / scale});
  context->endPart();
  return drawn;
}
