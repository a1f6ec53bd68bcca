#include "editor/controls/tiled_buttons.h"

#include <utility>

#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr float kFrameHeight = 25.0F;
constexpr float kWordSize = 11.0F;
constexpr float kArrowSize = 14.0F;
constexpr float kPowerSize = 17.0F;
constexpr float kOutlineInside = 6.0F;
constexpr float kPadlockSize = 7.0F;
constexpr std::string_view kPower = "\xC4\x84";  // U+0104
constexpr CColor kRestColour = CColor::rgb(0x9A9A9A);
constexpr CColor kGrooveDark = CColor::rgb(0x0A0C0E);
constexpr CColor kGrooveLight = CColor::rgb(0x232A31);

float sizeOf(const std::string& title) {
  const bool isIcon = title.size() > 1 && nextEdge(title, 0) == title.size();
  if (!isIcon) return kWordSize;
  return title == kPower ? kPowerSize : kArrowSize;
}

}  // namespace

nTiledButton::nTiledButton(TileLook wanted)
    : tiles(std::move(wanted)), style(look::bold(sizeOf(tiles.title), kRestColour, kCenterText)) {}

void nTiledButton::drawTile(CDrawContext& context, const CRect& rect, Frame frame,
                            float hover) const {
  if (tiles.ground) context.drawBitmapTiled(*tiles.ground, rect);
  const auto put = [&](Frame which, float alpha) {
    const auto top = static_cast<float>(which) * kFrameHeight;
    context.drawBitmapTiled(*tiles.frames, rect, {0.0F, top},
                            static_cast<std::uint8_t>(alpha * 255.0F));
  };
  if (tiles.frames) {
    put(frame, 1.0F);
    if (hover > 0.0F && frame != kDisabled) put(kHovered, hover);
  }
  const float hair = context.hairline();
  const CRect groove{rect.left, rect.top + 5.0F, rect.left + hair, rect.top + 19.0F};
  context.fillRect(groove, kGrooveDark);
  context.fillRect(groove.movedBy(hair, 0.0F), kGrooveLight);
}

void nTiledButton::drawTitle(CDrawContext& context, const CRect& rect, CColor colour) {
  style.colour = colour;
  const CRect place{rect.left + 1.0F, rect.top + 2.0F, rect.right, rect.top + 22.0F};
  context.drawTextCached(tiles.title, place, style);
}

tiledButton::tiledButton(const ControlSetup& setup, TileLook look, bool invert)
    : ValuePart(setup, Held<CBitmap>()), nTiledButton(std::move(look)), isInverted(invert) {}

CColor tiledButton::titleColour(bool lights) const {
  if (marks().isLocked) return lights ? look::kLockedValue : look::kLocked;
  if (lights) return look::kLit;
  return mix(isInverted ? look::kLabel : kRestColour, look::kText, shownHover());
}

void tiledButton::draw(CDrawContext& context) {
  const bool lights = isOn() != isInverted;
  drawTile(context, size, lights && !isInverted ? kOn : kRest, shownHover());
  drawTitle(context, size, titleColour(lights));
  tileOutline.draw(context, size.inset(kOutlineInside, 2.0F), marks(),
                   {hasFocus(), false, blinkNow()});
  if (marks().isLocked) {
    padlock.draw(context, {size.left + 6.5F, size.top + 7.0F}, kPadlockSize, Icon::kLock,
                 look::kLockedValue);
  }
  setDirty(false);
}

CMouseEventResult tiledButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft() && !buttons.isRight()) return kMouseEventNotHandled;
  if (takesPress(buttons, false)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return COnOffButton::onMouseDown(where, CButtonState(buttons.buttons()));
}

std::optional<float> tiledButton::valueByKey(const KeyEvent& key) {
  return toggledByKey(key, {value, vmin, vmax, vmax - vmin, getDefaultValue(), true});
}

tiledMSButton::tiledMSButton(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledButton(setup, {std::move(frames), {}, "M/S"}) {}

tiledKickButton::tiledKickButton(const ControlSetup& setup, TileLook look)
    : WithKeys(setup, Held<CBitmap>()), nTiledButton(std::move(look)) {}

void tiledKickButton::draw(CDrawContext& context) {
  const bool lights = isOn() || isLit;
  drawTile(context, size, lights ? kOn : kRest, hoverShare());
  drawTitle(context, size, lights ? look::kLit : mix(kRestColour, look::kText, hoverShare()));
  drawFocus(context, size.inset(1.0F, 2.0F));
  setDirty(false);
}

void tiledKickButton::setLit(bool on) {
  if (std::exchange(isLit, on) != on) setDirty();
}

void tiledUndoRedoButton::setDisabled(bool on) {
  if (std::exchange(isDisabled, on) != on) setDirty();
}

void tiledUndoRedoButton::draw(CDrawContext& context) {
  if (!isDisabled) {
    tiledKickButton::draw(context);
    return;
  }
  drawTile(context, size, kDisabled, 0.0F);
  drawTitle(context, size, look::kOff);
  setDirty(false);
}

CMouseEventResult tiledUndoRedoButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (isDisabled) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return tiledKickButton::onMouseDown(where, buttons);
}
