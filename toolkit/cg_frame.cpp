#include "toolkit/cg_frame.h"

#include <algorithm>
#include <cmath>
#include <mutex>

void CGFrame::idle() {
  const Held<CGFrame> stays(this);
  CFrame::idle();
  const std::lock_guard guard(treeLock());
  if (!isOpen() || window() == nullptr || !drawsItself()) return;
  const DeviceRect part = drawChanges();
  if (part.right <= part.left || part.bottom <= part.top) return;
  window()->show({reinterpret_cast<const std::uint8_t*>(surface->pixels()), surface->getWidth(),
                  surface->getHeight(), surface->getStride()},
                 part);
}

const CBitmap* CGFrame::picture() {
  const std::lock_guard guard(treeLock());
  if (!isOpen()) return nullptr;
  drawChanges();
  return surface.get();
}

void CGFrame::windowCloses() { forgetSurface(); }

void CGFrame::windowResized() { forgetSurface(); }

void CGFrame::forgetSurface() {
  context.reset();
  surface = {};
}

DeviceRect CGFrame::drawChanges() {
  const float scale = getScale();
  CRect part = takeDamage();
  const bool isNew = context == nullptr;
  if (isNew) {
    surface = Held<CBitmap>::adopt(new CBitmap(devicePixels(getSize().width(), scale),
                                               devicePixels(getSize().height(), scale)));
    context = std::make_unique<PlainContext>(*surface);
    context->setScale(scale);
    part = {0.0F, 0.0F, getSize().width(), getSize().height()};
  }
  if (part.isEmpty()) return {};
  // Whole pixels, with one more around for edges that are smoothed.
  const DeviceRect drawn{
      std::max(0, static_cast<int>(std::floor(part.left * scale)) - 1),
      std::max(0, static_cast<int>(std::floor(part.top * scale)) - 1),
      std::min(surface->getWidth(), static_cast<int>(std::ceil(part.right * scale)) + 1),
      std::min(surface->getHeight(), static_cast<int>(std::ceil(part.bottom * scale)) + 1)};
  const CRect pixels{static_cast<float>(drawn.left), static_cast<float>(drawn.top),
                     static_cast<float>(drawn.right), static_cast<float>(drawn.bottom)};
  if (isNew) {
    context->beginFrame();
  } else {
    context->beginFrame({&pixels, 1});
  }
  drawFrame(*context,
            {pixels.left / scale, pixels.top / scale, pixels.right / scale, pixels.bottom / scale});
  return drawn;
}
