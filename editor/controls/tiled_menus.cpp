#include "editor/controls/tiled_menus.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr CColor kRestWord = CColor::rgb(0x9A9A9A);
constexpr float kMenuArrowSize = 8.0F;
constexpr float kArrowRoom = 9.0F;

}  // namespace

tiledMenu::tiledMenu(const ControlSetup& setup, TileLook wanted, std::string_view entries)
    : WithKeys(setup, kCheckStyle),
      nTiledButton(std::move(wanted)),
      style(look::bold(look::kTextSize, look::kLit, kCenterText)) {
  addEntries(entries);
}

std::string tiledMenu::shownText() const {
  return getTitle().empty() ? COptionMenu::shownText() : getTitle();
}

void tiledMenu::draw(CDrawContext& context) {
  drawTile(context, size, kRest, hoverShare());
  if (getTitle().empty()) {
    const CRect place{size.left + 1.0F, size.top + 2.0F, size.right - kArrowRoom, size.top + 22.0F};
    context.drawTextCached(shownText(), place, style);
    arrow.draw(context, {size.right - 7.0F, size.top + 12.5F}, kMenuArrowSize, Icon::kDown,
               mix(look::kLabel, look::kText, hoverShare()));
  } else {
    drawTitle(context, size, isPoppedUp() ? look::kLit : mix(kRestWord, look::kText, hoverShare()));
  }
  drawFocus(context, size.inset(1.0F, 2.0F));
  setDirty(false);
}

tiledSOptionMenu::tiledSOptionMenu(const ControlSetup& setup, TileLook look,
                                   std::string_view entries, std::int32_t other)
    : tiledMenu(setup, std::move(look), entries), alttag(other) {}

CMouseEventResult tiledSOptionMenu::onMouseDown(CPoint where, CButtonState buttons) {
  if (isMenuClick(buttons) || (buttons.isLeft() && isModifierClick(buttons))) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isRight() || alttag < 0 || getListener() == nullptr) {
    return tiledMenu::onMouseDown(where, buttons);
  }
  CTagUpdate::send(*getListener(), alttag, 1.0F);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

tiledCopyToMenu::tiledCopyToMenu(const ControlSetup& setup, TileLook look, std::string_view entries)
    : tiledSOptionMenu(setup, {std::move(look.frames), std::move(look.ground), "COPY TO"},
                       entries) {}

tiledGraphMenu::tiledGraphMenu(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""}, "Freq\\nTime\\nHistory") {}

tiledSCMenu::tiledSCMenu(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""},
                "S/C EQ\\nSPLIT\\nOUTPUT\\nPASS\\nDIFF\\nMIDI") {}

tiledLockMenuButton::tiledLockMenuButton(const ControlSetup& setup, Held<CBitmap> frames)
    : tiledMenu(setup, {std::move(frames), {}, ""}, "Gain\\nDither\\nClipper\\nLimiter") {}

void CTagUpdate::send(CControlListener& listener, std::int32_t tag, float value,
                      const CRect& place) {
  const auto update = Held<CTagUpdate>::adopt(new CTagUpdate({place, &listener, tag}));
  update->setValue(value);
  update->valueChanged();
}
