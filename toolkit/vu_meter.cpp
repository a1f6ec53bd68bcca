#include "toolkit/vu_meter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/frame.h"

CVuMeter::CVuMeter(const ControlSetup& setup, Style howItLies, int howMany, Held<CBitmap> on,
                   Held<CBitmap> off)
    : CControl(setup),
      style(howItLies),
      lamps(std::max(howMany, 1)),
      lit(std::move(on)),
      unlit(std::move(off)) {}

void CVuMeter::setValue(float plain) {
  CControl::setValue(plain);
  bounceValue();
  level = std::max(level, value);
}

void CVuMeter::draw(CDrawContext& context) {
  const auto count = static_cast<float>(lamps);
  const float share = std::round(level * count) / count;
  if (unlit) context.drawBitmap(*unlit, size);
  if (lit && share > 0.0F) {
    CRect part = size;
    CPoint from;
    if (style == Style::kHorizontal) {
      part.right = part.left + size.width() * share;
    } else {
      part.top = part.bottom - size.height() * share;
      from.y = size.height() * (1.0F - share);
    }
    context.drawBitmap(*lit, part, from);
  }
  setDirty(false);
}

void CVuMeter::attached(CViewContainer& holder) {
  CControl::attached(holder);
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, true);
}

void CVuMeter::onIdle() {
  const float before = std::exchange(level, std::max(value, level - decrease));
  if (level != before) setDirty();
}

bool CVuMeter::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
